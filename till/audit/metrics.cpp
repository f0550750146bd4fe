#include "till/audit/metrics.h"

#include "host/queue/queueactivity.h"
#include "host/storage/database.h"
#include "host/storage/datadirectory.h"
#include "host/utils/currenttime.h"

#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using network::ExchangeOutcome;
using Type = Metric::Type;

constexpr double thousand = 1000;

// As monitors know them.
const std::array<std::pair<ExchangeOutcome, const char*>, 12> outcomes{{
    {ExchangeOutcome::Accepted, "delivered"},
    {ExchangeOutcome::Unsendable, "unsendable"},
    {ExchangeOutcome::NeverSent, "never_sent"},
    {ExchangeOutcome::NoAnswer, "no_answer"},
    {ExchangeOutcome::NotTheService, "not_the_service"},
    {ExchangeOutcome::Rejected, "rejected"},
    {ExchangeOutcome::Unauthorized, "unauthorized"},
    {ExchangeOutcome::Forbidden, "forbidden"},
    {ExchangeOutcome::Denied, "denied"},
    {ExchangeOutcome::Unfinished, "unfinished"},
    {ExchangeOutcome::Throttled, "throttled"},
    {ExchangeOutcome::Failing, "failing"},
}};

QString label(const QString& name, const QString& value) { return u"%1=\"%2\""_s.arg(name, value); }

double secondsOf(const QDateTime& time) { return static_cast<double>(time.toMSecsSinceEpoch()) / thousand; }

Metric attemptsMetric(const Measures& measures)
{
    Metric metric{.name = u"kyr_till_attempts_last_day"_s,
                  .unit = {},
                  .help = u"Attempts to deliver a message within the last 24 hours, by what came of them."_s};
    for (const auto& [outcome, name] : outcomes)
        metric.samples.append({label(u"outcome"_s, QString::fromLatin1(name)),
                               static_cast<double>(measures.attempts.value(outcome))});
    return metric;
}

QString sampleName(const Metric& metric, const Metric::Sample& sample)
{
    const QString name = metric.type == Type::Counter ? metric.name + u"_total"_s : metric.name;
    return sample.label.isEmpty() ? name : u"%1{%2}"_s.arg(name, sample.label);
}

} // namespace

Measures measured()
{
    Measures measures;
    measures.time = MockFactory<CurrentTime>::create()->currentDateTime();
    const QString store = storage::dataFile(u"till.sqlite"_s);
    if (!QFileInfo::exists(store)) // who only looks begins none
        return measures;
    const MessageQueue queue;
    measures.health = queue.health();
    measures.attempts = network::attemptsSince(measures.time.addDays(-1));
    measures.storeSize = QFileInfo(store).size();
    measures.logSize = QFileInfo(store + u"-wal"_s).size();
    return measures;
}

QList<Metric> metricsOf(const Measures& measures)
{
    const QueueHealth& health = measures.health;
    const qint64 age =
        health.oldestWaiting.isValid() ? health.oldestWaiting.msecsTo(measures.time) : qint64{0};
    Metric delivered{.name = u"kyr_till_last_delivery_timestamp_seconds"_s,
                     .unit = u"seconds"_s,
                     .help = u"When a message was delivered last; nothing before the first."_s};
    if (health.lastDelivered.isValid())
        delivered.samples.append({{}, secondsOf(health.lastDelivered)});
    return {
        {.name = u"kyr_till_queue_messages"_s,
         .unit = {},
         .help = u"Messages in the outgoing queue: to be sent, or refused and set aside."_s,
         .samples = {{label(u"state"_s, u"waiting"_s), static_cast<double>(health.waiting)},
                     {label(u"state"_s, u"parked"_s), static_cast<double>(health.parked)}}},
        {.name = u"kyr_till_queue_oldest_age_seconds"_s,
         .unit = u"seconds"_s,
         .help = u"How long the message has waited that waits longest; 0 when none does."_s,
         .samples = {{{}, static_cast<double>(std::max<qint64>(0, age)) / thousand}}},
        attemptsMetric(measures),
        delivered,
        {.name = u"kyr_till_credentials_refused"_s,
         .unit = {},
         .help = u"1 while the service refuses user or password, which holds up all messages."_s,
         .samples = {{{}, health.credentialsSuspended.isValid() ? 1.0 : 0.0}}},
        {.name = u"kyr_till_store_size_bytes"_s,
         .unit = u"bytes"_s,
         .help = u"Size of the store, and of the log that it has not taken in yet."_s,
         .samples = {{label(u"file"_s, u"store"_s), static_cast<double>(measures.storeSize)},
                     {label(u"file"_s, u"log"_s), static_cast<double>(measures.logSize)}}},
        {.name = u"kyr_till_measured_timestamp_seconds"_s,
         .unit = u"seconds"_s,
         .help = u"When all of this was so."_s,
         .samples = {{{}, secondsOf(measures.time)}}},
    };
}

QList<Metric> ownMetrics()
{
    return {{.name = u"kyr_till_service_commits"_s,
             .type = Type::Counter,
             .unit = {},
             .help = u"Commits of the delivery service since its start; each waits for the disk."_s,
             .samples = {{{}, static_cast<double>(storage::Database::commits())}}}};
}

QByteArray openMetrics(const QList<Metric>& metrics)
{
    QString text;
    for (const Metric& metric : metrics) {
        text +=
            u"# TYPE %1 %2\n"_s.arg(metric.name, metric.type == Type::Counter ? u"counter"_s : u"gauge"_s);
        if (!metric.unit.isEmpty())
            text += u"# UNIT %1 %2\n"_s.arg(metric.name, metric.unit);
        text += u"# HELP %1 %2\n"_s.arg(metric.name, metric.help);
        for (const Metric::Sample& sample : metric.samples)
            text += sampleName(metric, sample) + u' ' +
                    QString::number(sample.value, 'f', QLocale::FloatingPointShortest) + u'\n';
    }
    return (text + u"# EOF\n"_s).toUtf8();
}

QJsonObject metricsJson(const QList<Metric>& metrics)
{
    QJsonObject json;
    for (const Metric& metric : metrics) {
        for (const Metric::Sample& sample : metric.samples)
            json.insert(sampleName(metric, sample), sample.value);
    }
    return json;
}

} // namespace till
