#include "host/queue/readdressing.h"
#include "till/admin/commands.h"
#include "till/admin/queueaddresses.h"
#include "till/admin/tool.h"
#include "till/cli/serviceaddress.h"
#include "till/cli/usageerror.h"
#include "till/setup/serviceurls.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// With a "/" at its end.
QString addressSaid(const Invocation& invocation, const QString& option)
{
    const QString address = invocation.own.value(option);
    if (address.isEmpty())
        throw UsageError(
            u"till: queue readdress: expected --from URL and --to URL; see till help queue readdress"_s);
    if (const auto fault = faultOfAddress(address))
        throw UsageError(u"till: queue readdress: --%1: %2"_s.arg(option, fault->toString()));
    return address.endsWith(u'/') ? address : address + u'/';
}

std::optional<QUrl> moved(const QUrl& url, const QString& from, const QString& to)
{
    const QString address = addressIn(url);
    if (!isSameAddress(address, from))
        return std::nullopt;
    return QUrl(to + url.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo).mid(address.size()));
}

void askBefore(Tool& tool, const Invocation& invocation, const QString& what)
{
    if (invocation.has(u"yes"_s))
        return;
    if (!Console::canAsk())
        throw UsageError(u"till: queue readdress: %1, but nobody can be asked here; say --yes to do it "
                         "without asking"_s.arg(what));
    if (!tool.console.confirmed(what + u". Do it?"_s))
        throw UsageError(u"till: queue readdress: nothing was changed"_s);
}

int run(const Invocation& invocation)
{
    const QString from = addressSaid(invocation, u"from"_s);
    const QString to = addressSaid(invocation, u"to"_s);
    if (isSameAddress(from, to))
        throw UsageError(u"till: queue readdress: --from and --to are the same address"_s);
    Tool tool(invocation);
    tool.useDataDirectory();
    const QMap<QString, qsizetype> addresses = queuedAddresses(MessageQueue());
    qsizetype count = 0;
    for (auto address = addresses.cbegin(); address != addresses.cend(); ++address)
        count += isSameAddress(address.key(), from) ? *address : 0;
    if (count > 0) {
        askBefore(tool, invocation,
                  u"%1 put in for %2 would go to %3"_s.arg(QString::number(count), from, to));
        count = network::readdress([&](const QUrl& url) { return moved(url, from, to); });
        tool.console.line(u"%1 readdressed to %2"_s.arg(QString::number(count), to));
    } else {
        const QString others = QStringList(addresses.keys()).join(u", "_s);
        tool.console.line(u"no message is for %1; %2"_s.arg(
            from, others.isEmpty() ? u"the queue is empty"_s : u"there are some for "_s + others));
    }
    tool.console.value(QJsonDocument(QJsonObject{{u"readdressed"_s, count}}));
    return count > 0 ? exitWell : exitFailed;
}

const QString details =
    uR"(Messages keep the address that they were put in with, whatever is configured since. This gives
those of one address another one, waiting and parked, in one step; nothing else of them changes.
An address is what KYRLoyalty:serverUrl says. Asks first; where nobody can be asked, it says how
many there are, and --yes is needed. The present credentials go to the configured address only.

With --json: {"readdressed": how many}.)"_s;

} // namespace

Command queueReaddressCommand()
{
    return {.name = u"queue readdress"_s,
            .about = u"Send what waits to another address: the service has moved."_s,
            .details = details,
            .options = {{u"from"_s, u"URL"_s, u"The address that they are for."_s},
                        {u"to"_s, u"URL"_s, u"The address that they are to go to."_s},
                        {u"yes"_s, {}, u"Do not ask."_s, u"y"_s}},
            .examples = {{u"till queue readdress --from https://old.example.com/ --to "
                          "https://loyalty.example.com/"_s,
                          u"asks, then does it"_s}},
            .statuses = {{0, u"they go there now"_s},
                         {1, u"no message is for the old address"_s},
                         {2, u"wrong usage, the answer was no, or the queue cannot be used"_s}},
            .run = run};
}

} // namespace till
