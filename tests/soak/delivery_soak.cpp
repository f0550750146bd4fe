// A till's queue against a service that is down for days, and then goes wrong in every way there is. What
// came of it is told by the service's own books, held against those of a service with which nothing went
// wrong.

#include "host/storage/datadirectory.h"
#include "tests/soak/books.h"
#include "tests/soak/simulation.h"
#include "tests/soak/tills.h"
#include "tests/soak/weather.h"
#include "tests/support/nosettings.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <gmock/gmock.h>

#include <iostream>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace soaktest {

namespace {

int numberFrom(const char* variable, int usual)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && number > 0 ? number : usual;
}

int receipts() { return numberFrom("KYR_SOAK_RECEIPTS", 6); }
int daysDown() { return numberFrom("KYR_SOAK_DAYS", 1); }

std::string textOf(const QStringList& lines) { return lines.join(u'\n').toStdString(); }

/// What the books say when nothing goes wrong.
QStringList undisturbed()
{
    const Service service;
    const TillThere till(service);
    EXPECT_TRUE(till.play(receipts()));
    EXPECT_TRUE(till.deliver());
    return booksOf(service);
}

const QString nothingPasses = u"any:status:count=all"_s;

class Ordeal
{
public:
    Ordeal()
        : m_till(m_service)
        , m_simulation(QDateTime::currentDateTimeUtc())
    {
        storage::setDataDirectory(m_till.dataDirectory());
    }
    ~Ordeal() { storage::setDataDirectory({}); }
    Ordeal(const Ordeal&) = delete;
    Ordeal& operator=(const Ordeal&) = delete;

    /// The cashier's day: what earns and cancels at once fails, now and then only by its answer.
    void fillTheQueue()
    {
        m_service.arm({u"payment-b2c:apply-then-drop:nth=2,every=3,count=all"_s,
                       u"cancel-payment:apply-then-drop:nth=2,every=2,count=all"_s,
                       u"payment-b2c:status:count=all"_s, u"cancel-payment:status:count=all"_s});
        EXPECT_TRUE(m_till.play(receipts()));
        m_service.disarm();
        m_queued = MessageQueue().waitingCount();
        m_before = operationsIn(m_service);
    }

    void beDown(std::chrono::seconds time)
    {
        m_service.kill();
        m_simulation.pass(time);
        m_service.start();
        m_service.setTime(m_simulation.now());
    }

    /// The weather strikes some calls and nothing else passes.
    void endure(const Weather& weather)
    {
        m_service.setTime(m_simulation.now());
        const int often = weather.slow || weather.parks ? 1 : std::max(2, m_queued / 4);
        m_service.arm({weather.fault + (weather.fault.count(u':') > 1 ? u',' : u':') + u"count="_s +
                           QString::number(often),
                       nothingPasses});
        m_simulation.pass(10min);
        m_service.disarm();
        m_retried += Simulation::retryParked();
    }

    /// A moment in which a few messages get through.
    void clearUp()
    {
        m_service.arm({nothingPasses + u",nth="_s + QString::number(1 + std::max(1, m_queued / 20))});
        m_simulation.pass(5min);
        m_service.disarm();
    }

    /// The delivery dies while the service has done what it was asked, but its answer has not come.
    void killTheDelivery()
    {
        m_service.arm({u"any:late:ms=600,when=after"_s, nothingPasses});
        m_till.killADelivery(m_service);
        m_service.disarm();
        ++m_kills;
    }

    /// The service dies in the midst of an exchange, and the delivery soon after.
    void killBoth()
    {
        m_service.arm({u"any:late:ms=600,when=after"_s, nothingPasses});
        m_till.killADelivery(m_service, [this] { m_service.kill(); });
        m_service.start();
        ++m_kills;
    }

    void endWell()
    {
        m_simulation.pass(1h);
        m_service.setTime(m_simulation.now());
    }

    [[nodiscard]] const Service& service() const { return m_service; }
    [[nodiscard]] int queued() const { return m_queued; }
    [[nodiscard]] int before() const { return m_before; }
    [[nodiscard]] int retried() const { return m_retried; }
    [[nodiscard]] int kills() const { return m_kills; }
    [[nodiscard]] int attempts() const { return m_simulation.attempts(); }

private:
    Service m_service;
    TillThere m_till;
    Simulation m_simulation;
    int m_queued = 0;
    int m_before = 0; ///< operations that the books held then
    int m_retried = 0;
    int m_kills = 0;
};

void goThroughIt(Ordeal& ordeal)
{
    ordeal.fillTheQueue();
    ordeal.beDown(std::chrono::days(daysDown()));
    int number = 0;
    for (const Weather& weather : weathers()) {
        ordeal.endure(weather);
        ++number;
        if (number % 3 == 0)
            ordeal.clearUp();
        if (number % 8 == 0)
            ordeal.beDown(30min);
        if (number % 10 == 0)
            ordeal.killTheDelivery();
        if (number % 14 == 0)
            ordeal.killBoth();
    }
    ordeal.endWell();
}

} // namespace

TEST(DeliverySoak, AServiceThatIsDownForDaysRefusesDripsAndLiesGetsEverythingOnceAndInOrder)
{
    const QStringList books = undisturbed();
    Ordeal ordeal;
    goThroughIt(ordeal);

    const Service& service = ordeal.service();
    EXPECT_EQ(textOf(booksOf(service)), textOf(books));
    EXPECT_GT(operationsIn(service), ordeal.before()) << "most was not there before the delivery";
    for (const Weather& weather : weathers())
        EXPECT_GT(service.strikes().value(weather.name), 0) << weather.name.toStdString() << " never struck";
    EXPECT_GT(ordeal.retried(), 0);
    EXPECT_EQ(MessageQueue().parkedCount(), 0);
    EXPECT_LE(needlessRepeats(service), ordeal.kills()) << "what was answered is not sent again";
    std::cout << receipts() << " receipts, " << ordeal.queued() << " messages, " << ordeal.attempts()
              << " attempts in simulated time; down for " << daysDown() << " days; the delivery killed "
              << ordeal.kills() << " times; " << ordeal.retried() << " parked and retried" << std::endl;
}

} // namespace soaktest

int main(int argc, char* argv[])
{
    test_support::hideSettings();
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*=false"_s); // every attempt in a week that fails is a line
    return RUN_ALL_TESTS();
}
