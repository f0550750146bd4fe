#include "host/utils/masking.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/exchangetext.h"
#include "till/audit/queuereport.h"
#include "till/cli/usageerror.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

QJsonObject headersOf(const QueuedMessage& message)
{
    QJsonObject headers;
    const QVariantMap given = message.message.value(u"headers"_s).toMap();
    for (auto header = given.cbegin(); header != given.cend(); ++header) {
        const bool secret = header.key().compare("Authorization"_L1, Qt::CaseInsensitive) == 0;
        headers.insert(header.key(), secret ? u"***"_s : utils::maskNumbers(header.value().toString()));
    }
    return headers;
}

QJsonObject wholeJson(const QueuedMessage& message)
{
    QUrl url = message.message.value(u"url"_s).toUrl();
    url.setUserInfo({});
    QJsonObject whole = messageJson(message);
    whole.insert(u"method"_s, message.message.value(u"method"_s).toString());
    whole.insert(u"url"_s, utils::maskPath(url.toString()));
    whole.insert(u"headers"_s, headersOf(message));
    whole.insert(u"timeout"_s, message.message.value(u"timeout"_s).toInt());
    whole.insert(u"body"_s, redactedBody(message.message.value(u"body"_s).toByteArray()).join(u'\n'));
    return whole;
}

void print(Console& console, const QJsonObject& whole)
{
    const auto field = [&](const QString& name, const QString& value) {
        if (!value.isEmpty())
            console.line(name.leftJustified(12) + value);
    };
    field(u"message"_s, QString::number(whole[u"id"_s].toInteger()));
    for (const QString& name : {u"till"_s, u"receipt"_s, u"text"_s, u"enqueued"_s, u"state"_s, u"due"_s})
        field(name, whole[name].toString());
    field(u"attempts"_s, QString::number(whole[u"attempts"_s].toInt()));
    field(u"last error"_s, whole[u"lastError"_s].toString().replace(u'\n', u"; "_s));
    if (whole[u"damaged"_s].toBool())
        field(u"damaged"_s, u"the stored message is not what was put in"_s);
    field(u"request"_s, whole[u"method"_s].toString() + u' ' + whole[u"url"_s].toString());
    const QJsonObject headers = whole[u"headers"_s].toObject();
    for (auto header = headers.begin(); header != headers.end(); ++header)
        console.line(u"            "_s + header.key() + u": "_s + header.value().toString());
    const QStringList body = whole[u"body"_s].toString().split(u'\n', Qt::SkipEmptyParts);
    for (const QString& line : body)
        console.line(u"            "_s + line);
}

int run(const Invocation& invocation)
{
    Tool tool(invocation);
    const qint64 id = messageId(invocation.arguments.first());
    const auto message = queueOf(invocation, tool)->find(id);
    if (!message)
        throw UsageError(u"till: queue show: no message %1 in the queue; see till queue list"_s.arg(id));
    const QJsonObject whole = wholeJson(*message);
    tool.console.value(QJsonDocument(whole));
    if (!tool.console.json())
        print(tool.console, whole);
    return exitWell;
}

} // namespace

Command queueShowCommand()
{
    return {
        .name = u"queue show"_s,
        .arguments = u"ID"_s,
        .fewest = 1,
        .most = 1,
        .missing = u"which message?"_s,
        .about = u"Show one message: its headers, its body, and why it was not delivered."_s,
        .details = u"Card and phone numbers are masked, the numbers of receipts are shown whole; "
                   u"credentials, codes\n"
                   "and passwords are not shown.\n\n"
                   "With --json: the members of `queue list`, \"method\", \"url\", \"headers\", \"timeout\" "
                   "(seconds) and \"body\" (a text)."_s,
        .options = shopOptions(),
        .examples = {{u"till queue show 17"_s, u"the message of that number"_s}},
        .statuses = {{0, u"it was shown"_s}, {2, u"there is no such message, or the queue cannot be read"_s}},
        .run = run};
}

} // namespace till
