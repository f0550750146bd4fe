#include "till/audit/recording.h"

#include "host/network/exchangeoutcome.h"
#include "host/utils/masking.h"
#include "till/audit/exchangetext.h"
#include "till/cli/usageerror.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <mutex>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Puts a number of its own in the place of each customer's.
class Disguise
{
public:
    QString standIn(const QString& number)
    {
        if (number.isEmpty())
            return number;
        QString& known = m_known[number];
        if (known.isEmpty())
            known = u'9' + QString::number(m_known.size()).rightJustified(number.size() - 1, u'0');
        return known;
    }

    /// A text that may repeat such a number.
    [[nodiscard]] QString text(QString text) const
    {
        for (auto known = m_known.begin(); known != m_known.end(); ++known) {
            if (text.contains(known.key()))
                text.replace(
                    QRegularExpression(u"(?<!\\d)%1(?!\\d)"_s.arg(QRegularExpression::escape(known.key()))),
                    known.value());
        }
        return text;
    }

    QString path(const QString& path)
    {
        QStringList parts = path.split(u'/');
        for (qsizetype i = 1; i < parts.size(); ++i) {
            if (parts[i - 1] == u"card"_s || parts[i - 1] == u"phone"_s)
                parts[i] = standIn(parts[i]);
        }
        return parts.join(u'/');
    }

    QJsonValue value(const QString& name, const QJsonValue& given)
    {
        if (given.isArray())
            return list(name, given.toArray());
        if (isSecret(name) || (isPersonal(name) && given.isString()))
            return given.isNull() ? given : QJsonValue(u"***"_s);
        if (given.isObject())
            return object(given.toObject());
        if (isCustomersNumber(name) && given.isString())
            return standIn(given.toString());
        if (isCustomersNumber(name) && given.isDouble())
            return standIn(given.toVariant().toString()).toDouble();
        if (!given.isString())
            return given;
        const QString shown = text(given.toString());
        return isOfReceipt(name) ? shown : utils::maskNumbers(shown);
    }

    QJsonObject object(const QJsonObject& given)
    {
        QJsonObject shown;
        for (auto member = given.begin(); member != given.end(); ++member)
            shown.insert(member.key(), value(member.key(), member.value()));
        return shown;
    }

    QJsonArray list(const QString& name, const QJsonArray& given)
    {
        QJsonArray shown;
        for (const auto& entry : given)
            shown.append(value(name, entry));
        return shown;
    }

private:
    /// Numbers, times and goods of a receipt say nothing of the customer, and a replay is found by them.
    static bool isOfReceipt(const QString& name)
    {
        static const QRegularExpression names(u"^(?:receipt_|refuse_|check_|prod_|position$|branch_id$)"_s);
        return names.match(name).hasMatch();
    }

    QHash<QString, QString> m_known;
};

QJsonObject line(const QDateTime& time, const QString& operation, int status, int code, qint64 milliseconds)
{
    return {{u"time"_s, time.toUTC().toString(Qt::ISODateWithMs)},
            {u"operation"_s, operation},
            {u"status"_s, status},
            {u"failure"_s, network::failureName(code)},
            {u"milliseconds"_s, milliseconds}};
}

/// The body as JSON under that name; of any other its size alone.
void insertBody(QJsonObject& line, const QString& name, const QByteArray& body, Disguise& disguise)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isObject())
        line.insert(name, disguise.object(document.object()));
    else if (document.isArray())
        line.insert(name, disguise.list({}, document.array()));
    else if (!body.isEmpty())
        line.insert(name + u"_bytes"_s, body.size());
}

} // namespace

/// Its own, since an exchange that is over may still come when the recording is gone.
class Recording::Writer
{
public:
    explicit Writer(const QString& fileName)
        : m_file(fileName)
    {
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered,
                         QFile::ReadOwner | QFile::WriteOwner))
            throw UsageError(u"till: --record %1: %2"_s.arg(fileName, m_file.errorString()));
    }

    void write(const RestExchange& exchange)
    {
        const std::lock_guard lock(m_mutex);
        const QString path = m_disguise.path(exchange.url.path());
        const QDateTime end = QDateTime::currentDateTimeUtc();
        QJsonObject told = line(end.addMSecs(-exchange.milliseconds), path.section(u'/', -1), exchange.status,
                                exchange.errorCode, exchange.milliseconds);
        told.insert(u"method"_s, exchange.method);
        told.insert(u"path"_s, path);
        insertBody(told, u"request"_s, exchange.requestBody, m_disguise);
        insertBody(told, u"answer"_s, exchange.answerBody, m_disguise);
        // A full disk must not stop the till for the sake of a recording.
        m_file.write(QJsonDocument(told).toJson(QJsonDocument::Compact) + '\n');
    }

private:
    std::mutex m_mutex;
    QFile m_file;
    Disguise m_disguise;
};

Recording::Recording(const QString& fileName)
{
    if (fileName.isEmpty())
        return;
    m_writer = std::make_shared<Writer>(fileName);
    m_observing =
        RestClient::observe([writer = m_writer](const RestExchange& exchange) { writer->write(exchange); });
}

Recording::~Recording() = default;

OptionKind recordOption()
{
    return {u"record"_s, u"FILE"_s,
            u"Write each exchange with the service to this new file, for the stand's --replay."_s};
}

QByteArray exchangesOf(const QList<ReceiptReport>& reports)
{
    static const QSet<QString> ends{u"answer"_s, u"attempt"_s, u"delivered"_s, u"parked"_s};
    QList<std::pair<QDateTime, QByteArray>> lines;
    for (const ReceiptReport& report : reports) {
        for (const storage::JournalEntry& entry : report.timeline) {
            if (!ends.contains(entry.event))
                continue;
            const int status = network::isErrorStatus(entry.code) ? entry.code : entry.code == 0 ? 200 : 0;
            QJsonObject told = line(entry.time, entry.operation, status, entry.code, entry.milliseconds);
            told.insert(u"receipt"_s, entry.receipt);
            lines.append({entry.time, QJsonDocument(told).toJson(QJsonDocument::Compact)});
        }
    }
    std::stable_sort(lines.begin(), lines.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    QByteArray all;
    for (const auto& [time, text] : lines)
        all += text + '\n';
    return all;
}

} // namespace till
