#include "till/audit/metrics.h"

#include "host/queue/queueactivity.h"
#include "host/shop/schema.h"
#include "host/shop/shopjournal.h"
#include "host/shop/shopqueue.h"
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

QString nameOf(const Measures& measures, const QString& what)
{
    return u"kyr_%1_%2"_s.arg(measures.of, what);
}

Metric attemptsMetric(const Measures& measures)
{
    Metric metric{.name = nameOf(measures, u"attempts_last_day"_s),
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
    measures.sizes = {{u"store"_s, 0}, {u"log"_s, 0}};
    if (!QFileInfo::exists(store)) // who only looks begins none
        return measures;
    const MessageQueue queue;
    measures.health = queue.health();
    measures.attempts = network::attemptsSince(measures.time.addDays(-1));
    measures.sizes = {{u"store"_s, QFileInfo(store).size()}, {u"log"_s, QFileInfo(store + u"-wal"_s).size()}};
    return measures;
}

Measures measuredInShop(const QString& address, const QString& till)
{
    Measures measures;
    measures.of = u"shop"_s;
    measures.time = MockFactory<CurrentTime>::create()->currentDateTime();
    shop::ShopQueue queue(address);
    queue.setTill(till);
    measures.health = queue.health();
    shop::Connection database(address);
    measures.attempts = shop::ShopJournal(database, till).attemptsSince(measures.time.addDays(-1));
    measures.sizes = {{u"database"_s, shop::sizeOf(database)}};
    return measures;
}

QList<Metric> metricsOf(const Measures& measures)
{
    const QueueHealth& health = measures.health;
    const qint64 age =
        health.oldestWaiting.isValid() ? health.oldestWaiting.msecsTo(measures.time) : qint64{0};
    Metric delivered{.name = nameOf(measures, u"last_delivery_timestamp_seconds"_s),
                     .unit = u"seconds"_s,
                     .help = u"When a message was delivered last; nothing before the first."_s};
    if (health.lastDelivered.isValid())
        delivered.samples.append({{}, secondsOf(health.lastDelivered)});
    QList<Metric::Sample> sizes;
    for (auto size = measures.sizes.cbegin(); size != measures.sizes.cend(); ++size)
        sizes.append({label(u"file"_s, size.key()), static_cast<double>(*size)});
    return {
        {.name = nameOf(measures, u"queue_messages"_s),
         .unit = {},
         .help = u"Messages in the outgoing queue: to be sent, or refused and set aside."_s,
         .samples = {{label(u"state"_s, u"waiting"_s), static_cast<double>(health.waiting)},
                     {label(u"state"_s, u"parked"_s), static_cast<double>(health.parked)}}},
        {.name = nameOf(measures, u"queue_oldest_age_seconds"_s),
         .unit = u"seconds"_s,
         .help = u"How long the message has waited that waits longest; 0 when none does."_s,
         .samples = {{{}, static_cast<double>(std::max<qint64>(0, age)) / thousand}}},
        attemptsMetric(measures),
        delivered,
        {.name = nameOf(measures, u"credentials_refused"_s),
         .unit = {},
         .help = u"1 while the service refuses user or password, which holds up all messages."_s,
         .samples = {{{}, health.credentialsSuspended.isValid() ? 1.0 : 0.0}}},
        {.name = nameOf(measures, u"store_size_bytes"_s),
         .unit = u"bytes"_s,
         .help = u"Size of what is kept, by what it is."_s,
         .samples = sizes},
        {.name = nameOf(measures, u"measured_timestamp_seconds"_s),
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
