#include "till/trace.h"

#include "host/utils/masking.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaEnum>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QJsonValue withoutSecrets(const QJsonValue& value)
{
    if (value.isArray()) {
        QJsonArray list = value.toArray();
        for (auto entry : list) // a reference of Qt's own kind
            entry = withoutSecrets(entry);
        return list;
    }
    if (!value.isObject())
        return value;
    QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const bool secret = member.key().compare("code"_L1, Qt::CaseInsensitive) == 0 ||
                            member.key().compare("password"_L1, Qt::CaseInsensitive) == 0;
        member.value() = secret ? QJsonValue(u"***"_s) : withoutSecrets(member.value());
    }
    return object;
}

QStringList marked(const QString& mark, QStringList lines)
{
    for (QString& line : lines)
        line.prepend(mark + u' ');
    return lines;
}

} // namespace

QStringList headedLines(const TraceEntry& entry)
{
    QString heading = entry.source.isEmpty() ? u"http   "_s : levelText(entry.level).leftJustified(7);
    if (!entry.source.isEmpty() && entry.source != u"kyrloyalty"_s)
        heading += u" ["_s + entry.source + u']';
    QStringList lines;
    for (const QString& line : entry.lines) {
        lines.append(heading + u"  "_s + line);
        heading.fill(u' ');
    }
    return lines;
}

QStringList redacted(const RestExchange& exchange)
{
    const QString status = exchange.status > 0 ? QString::number(exchange.status) : u"no answer"_s;
    QString outcome = u"%1 %2  %3, %4 ms"_s.arg(exchange.method, utils::maskNumbers(exchange.url.path()),
                                                status, QString::number(exchange.milliseconds));
    const char* name = QMetaEnum::fromType<RestClient::ErrorCode>().valueToKey(exchange.errorCode);
    if (exchange.errorCode != 0 && name)
        outcome += u" (%1)"_s.arg(QString::fromLatin1(name));
    return QStringList{outcome} + marked(u">"_s, redactedBody(exchange.requestBody)) +
           marked(u"<"_s, redactedBody(exchange.answerBody));
}

QStringList redactedBody(const QByteArray& body)
{
    if (body.trimmed().isEmpty())
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isNull())
        return {u"%1 bytes that are not a JSON object or list"_s.arg(body.size())};
    const QJsonDocument shown = document.isArray()
                                    ? QJsonDocument(withoutSecrets(document.array()).toArray())
                                    : QJsonDocument(withoutSecrets(document.object()).toObject());
    return utils::maskNumbers(QString::fromUtf8(shown.toJson()).trimmed()).split(u'\n');
}

Trace::Trace(LogLevel least)
    : m_least(least)
    , m_log([this](const LogLine& line) { add(line); })
{
    if (least == LogLevel::Debug)
        RestClient::setObserver([this](const RestExchange& exchange) { add(exchange); });
}

Trace::~Trace()
{
    RestClient::setObserver({});
    QTextStream err(stderr);
    for (const TraceEntry& entry : take()) {
        if (entry.level >= LogLevel::Warning)
            err << u"till: %1: %2: %3\n"_s.arg(entry.source, levelText(entry.level), entry.lines.join(u'\n'));
    }
}

QList<TraceEntry> Trace::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_entries, {});
}

void Trace::add(const LogLine& line)
{
    // The network's debug lines tell less of an exchange than is shown of it anyway.
    if (line.level < m_least || (line.level == LogLevel::Debug && line.logger == u"network"_s))
        return;
    const std::lock_guard lock(m_mutex);
    m_entries.append({line.level, line.logger, line.text.split(u'\n')});
}

void Trace::add(const RestExchange& exchange)
{
    const std::lock_guard lock(m_mutex);
    m_entries.append({LogLevel::Debug, {}, redacted(exchange)});
}

} // namespace till
