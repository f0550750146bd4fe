#include "tests/crash/world.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace story;

namespace crashtest {

namespace {

const Step card = identifyByCard("2000000000055");
const Step spend = spendPoints(100).withCode("1234");

Step sale(const char* id) { return openSale(id, {tea(150, 2), honey(99.9)}); }

Step returnOf(const char* id) { return openReturn(id, "R-1", {position(1)}); }

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("a file of the test cannot be written");
}

} // namespace

const QList<Scenario>& scenarios()
{
    using test_support::LossyProxy;
    static const QList<Scenario> all{
        {"Sale", sale("R-1") + card + request() + spend + pay() + deliver()},
        {"SaleWithCode",
         sale("R-1") + card + spend + pay() + deliver(),
         {{u"KYRLoyalty:smsVerification"_s, true}}},
        {"Returns",
         sale("R-1") + card + spend + pay() + returnOf("V-1") + pay() + returnOf("V-2") + pay() + deliver()},
        {"Rollback", sale("R-1") + card + spend + rollback() + sale("R-2") + card + pay() + deliver()},
        {"Anonymous", sale("R-1") + pay() + returnOf("V-1") + pay() + deliver()},
        {"OfflineEarning",
         sale("R-1") + card + spend + pay() + deliver(),
         {},
         [](LossyProxy& proxy) { proxy.answerInstead("/payment-b2c", 503); }},
        {"OfflineRollback",
         sale("R-1") + card + spend + rollback() + deliver(),
         {},
         [](LossyProxy& proxy) { proxy.answerInstead("/cancel-payment", 503); }},
        {"LostSpending",
         sale("R-1") + card + spend.mayFail() + spend.mayFail() + pay() + deliver(),
         {},
         [](LossyProxy& proxy) { proxy.loseAnswer("/force-payment-c2b"); }},
    };
    return all;
}

World::World(const Scenario& scenario)
    : m_scenario(scenario)
    , m_stand({u"--sms-code"_s, u"1234"_s})
    , m_standUrl(QString::fromLatin1(m_stand.url()) + u'/')
    , m_proxy(m_standUrl.toLatin1())
{
    if (scenario.faults)
        scenario.faults(m_proxy);
    write(m_directory.filePath(u"till.toml"_s),
          "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\n"
          "serverUrl = \"" +
              m_proxy.url().toUtf8() + "\"\n");
}

QStringList World::arguments(qsizetype firstStep)
{
    moveClockOn();
    const QList<Step>& all = m_scenario.steps.list();
    QList<Step> steps = all.sliced(qMin(firstStep, all.size() - 1));
    if (m_runs > 1)
        steps.first() = steps.first().mayFail();
    const QString file = m_directory.filePath(u"scenario%1.json"_s.arg(m_runs));
    write(file, scenario(steps, m_scenario.config));
    return {u"run"_s,        file,           u"--json"_s, u"--config"_s, m_directory.filePath(u"till.toml"_s),
            u"--data-dir"_s, dataDirectory()};
}

// In a run receipts are ten minutes apart, though none of them passes: the next run begins well after.
void World::moveClockOn()
{
    if (m_runs++ == 0)
        return;
    const QDateTime later = QDateTime::currentDateTimeUtc().addDays(m_runs);
    QDir().mkpath(dataDirectory());
    write(dataDirectory() + u"/scenario-clock"_s, later.toString(Qt::ISODate).toLatin1() + '\n');
}

} // namespace crashtest
