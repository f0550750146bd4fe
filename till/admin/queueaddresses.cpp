#include "till/admin/queueaddresses.h"

#include "till/setup/serviceurls.h"

using namespace Qt::StringLiterals;

namespace till {

QMap<QString, qsizetype> queuedAddresses(const OutgoingQueue& queue)
{
    constexpr int atOnce = 500;
    QMap<QString, qsizetype> addresses;
    for (auto page = queue.messages(atOnce); !page.isEmpty(); page = queue.messages(atOnce, page.last().id)) {
        for (const QueuedMessage& message : page) {
            const QUrl url = message.message.value(u"url"_s).toUrl();
            if (!url.host().isEmpty())
                ++addresses[addressIn(url)];
        }
    }
    return addresses;
}

} // namespace till
