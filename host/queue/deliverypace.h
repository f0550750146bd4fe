#pragma once

#include "host/utils/export.h"

namespace network {

/// How many messages may be on their way at once: one at first, one more after each that was delivered, up to
/// four. Whenever one has to be tried again, it is one, and from then on it takes ten for each more: a
/// service in trouble is not to be met by more than it can bear.
class HOST_EXPORT DeliveryPace
{
public:
    static constexpr int most = 4;

    [[nodiscard]] int sideBySide() const { return m_sideBySide; }
    /// A message was delivered.
    void wentWell();
    /// A message has to be tried again.
    void wentWrong();

private:
    int m_sideBySide = 1;
    int m_delivered = 0; // since the last change
    int m_forOneMore = 1;
};

} // namespace network
