#include "till/window/losses.h"

#include "host/utils/basicexception.h"
#include "host/utils/printable.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace till::window {

QString lossText(Till& till)
{
    if (till.keepsData())
        return {};
    try {
        QStringList lost;
        for (auto next = till.queue().after(0); next; next = till.queue().after(next->id))
            lost.append(u"%1 of %2"_s.arg(next->operation(), next->group));
        return lost.isEmpty()
                   ? QString()
                   : utils::printable(u"no data directory keeps what was not sent: "_s + lost.join(u", "_s));
    } catch (const BasicException& failure) {
        return u"the queue cannot be read: "_s + failure.tr().ru();
    }
}

} // namespace till::window
