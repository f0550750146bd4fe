#include "host/queue/deliverypace.h"

namespace network {

void DeliveryPace::wentWell()
{
    if (m_sideBySide == most || ++m_delivered < m_forOneMore)
        return;
    ++m_sideBySide;
    m_delivered = 0;
}

void DeliveryPace::wentWrong()
{
    constexpr int slowly = 10;
    m_sideBySide = 1;
    m_delivered = 0;
    m_forOneMore = slowly;
}

} // namespace network
