#include "till/admin/queueaddresses.h"

#include "till/setup/serviceurls.h"

using namespace Qt::StringLiterals;

namespace till {

QMap<QString, qsizetype> queuedAddresses(const MessageQueue& queue)
{
    QMap<QString, qsizetype> addresses;
    for (auto next = queue.after(0); next; next = queue.after(next->id)) {
        const QUrl url = next->message.value(u"url"_s).toUrl();
        if (!url.host().isEmpty())
            ++addresses[addressIn(url)];
    }
    return addresses;
}

} // namespace till
