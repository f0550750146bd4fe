#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/retention.h"
#include "host/storage/store.h"
#include "tests/support/stillclock.h"
#include "tests/support/syncs.h"
#include "till/checkout/till.h"
#include "till/setup/settings.h"
#include "till/setup/standprocess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLoggingCategory>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// A busy till, day after day by a clock of its own, with the real plug-in and the stand, on the file system
// of the current folder: how its store grows, what a start costs, and what a receipt costs at the end against
// one of a till that has just begun. Each evening it is checked that all is kept that is still needed, and
// nothing that is not.

namespace {

constexpr double bound = 1.1;
constexpr auto day = 24h;

enum Kind { Anonymous, Card, Points };
constexpr std::array kinds{Anonymous, Card, Points};
constexpr std::array names{"without a card", "with a card", "with card and points"};

/// What this thread has computed so far, in microseconds: neither the service nor other programs count.
double computed()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return values.empty() ? 0 : *middle;
}

void require(bool holds, const char* what)
{
    if (!holds)
        qFatal("%s", what);
}

void requireDone(const till::Result& result)
{
    if (!result.ok)
        qFatal("%s", qPrintable(result.error));
}

class NoCashier : public DialogFrontend
{
public:
    int chooseFromList(const ChoiceRequest& /*request*/) override { return -1; }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        return core::BasicDialog::Result::cancelled();
    }
};

struct Cost
{
    std::vector<double> microseconds;
    int syncs = 0;
};
using Costs = std::array<Cost, kinds.size()>;

/// A till at work on a data directory.
class Shop
{
public:
    Shop(const QString& directory, const Config& config)
        : m_till({QStringLiteral(PLUGIN_FILE), {}, directory}, config, m_cashier)
    {}

    /// Returns its identifier, named after the second as the window does it.
    QString sell(Kind kind, Costs& costs)
    {
        till::Checkout& checkout = m_till.checkout();
        QString identifier = named();
        const test_support::Syncs syncs;
        const double before = computed();
        requireDone(checkout.openSale(
            identifier,
            {{.articul = u"4601"_s, .name = u"Молоко 3,2 %"_s, .price = 89.9, .quantity = 2, .discount = 0},
             {.articul = u"4602"_s, .name = u"Хлеб"_s, .price = 54, .quantity = 1, .discount = 0},
             {.articul = u"4605"_s, .name = u"Яблоки"_s, .price = 119, .quantity = 1.25, .discount = 0}}));
        if (kind != Anonymous) {
            requireDone(checkout.identifyByCard(u"2000000000031"_s));
            requireDone(checkout.requestLimit());
        }
        if (kind == Points)
            requireDone(checkout.spend(1));
        requireDone(checkout.pay());
        costs.at(kind).microseconds.push_back(computed() - before);
        costs.at(kind).syncs += syncs.count();
        return identifier;
    }
    QString giveBack(const QString& sale)
    {
        QString identifier = named();
        requireDone(m_till.checkout().openReturn(identifier, sale, {{.posnum = 2, .quantity = 1}}));
        requireDone(m_till.checkout().pay());
        return identifier;
    }
    void deliver()
    {
        static_cast<void>(m_till.deliver());
        require(m_till.queue().waitingCount() == 0, "not everything was delivered");
    }
    [[nodiscard]] till::Till& till() { return m_till; }

private:
    static QString named()
    {
        return MockFactory<CurrentTime>::create()->currentDateTime().toUTC().toString(u"yyMMdd-hhmmss"_s);
    }

    NoCashier m_cashier;
    till::Till m_till;
};

struct Plan
{
    int days = 5;
    int receipts = 20; ///< a day
    storage::KeepingTimes keep{.receipts = 4, .journal = 3};
};

/// One till from its first day on.
class Year
{
public:
    Year(const Plan& plan, QString directory, const Config& config, test_support::StillClock& clock)
        : m_plan(plan)
        , m_directory(std::move(directory))
        , m_config(config)
        , m_clock(clock)
        , m_start(clock.now())
    {}

    void work()
    {
        Shop shop(m_directory, m_config);
        std::printf("%5s %9s %9s %10s %6s %9s %9s\n", "day", "closed", "kept", "store KiB", "free",
                    "start us", "step us");
        for (int today = 0; today < m_plan.days; ++today) {
            workADay(shop, today);
            evening(shop);
            const int shown = std::max(1, m_plan.days / 12);
            if (today % shown == shown - 1 || today == m_plan.days - 1)
                report(shop, today + 1);
        }
    }

private:
    void workADay(Shop& shop, int today)
    {
        QStringList sales;
        Costs costs;
        for (int i = 0; i < m_plan.receipts; ++i) {
            m_clock.moveTo(m_start.addMSecs(today * ms(day) + i * ms(10h) / m_plan.receipts));
            constexpr std::array mix{Anonymous, Card, Anonymous, Card, Anonymous,
                                     Points,    Card, Anonymous, Card, Anonymous};
            sales.append(shop.sell(mix.at(static_cast<std::size_t>(i) % mix.size()), costs));
            note(sales.last(), sales.last());
            m_clock.move(2s);
            if (i % 10 == 3 && i < m_yesterday.size())
                note(shop.giveBack(m_yesterday[i]), m_yesterday[i]);
            if (i % 20 == 19)
                shop.deliver();
        }
        if (today == 0)
            park(shop, sales.first());
        m_yesterday = sales;
    }
    /// Somebody would have to look after that one, and nobody does.
    void park(Shop& shop, const QString& sale)
    {
        MessageQueue& queue = shop.till().queue();
        queue.park(queue.enqueue(u"bench"_s, sale, {{u"url"_s, u"http://127.0.0.1/"_s}}, {}),
                   {.code = 400, .error = u"no"_s});
        m_parked = sale;
    }
    void evening(Shop& shop)
    {
        shop.deliver();
        const QDateTime now = m_clock.now();
        m_clock.moveTo(QDateTime(now.date(), QTime(22, 0), now.timeZone()));
        bool isMore = true;
        while (isMore) {
            const double before = computed();
            isMore = m_retention.step();
            m_longestStep = std::max(m_longestStep, computed() - before);
        }
        check();
    }
    void check()
    {
        const qint64 now = m_clock.now().toMSecsSinceEpoch();
        const auto forgets = [now](qint64 youngest, int days) {
            return days > 0 && youngest < now - days * ms(day);
        };
        QSet<QString> needed;
        for (auto receipt = m_families.begin(); receipt != m_families.end();) {
            const bool isOld = forgets(m_youngest.value(*receipt), m_plan.keep.receipts);
            if (isOld && *receipt != m_parked) {
                receipt = m_families.erase(receipt);
            } else {
                needed.insert(receipt.key());
                ++receipt;
            }
        }
        require(texts(u"SELECT identifier FROM documents"_s) == needed,
                "what is kept is not what is needed, all of it and nothing else");
        if (m_plan.keep.journal > 0) {
            const qint64 oldest = now - m_plan.keep.journal * ms(day);
            const QSet<QString> old = texts(u"SELECT receipt FROM journal WHERE time < %1"_s.arg(oldest)) +
                                      texts(u"SELECT receipt FROM history WHERE finished < %1"_s.arg(oldest));
            require(QSet<QString>{m_parked}.contains(old), "journal or history are kept for too long");
        }
        require(number(u"PRAGMA freelist_count"_s) <= 512, "the store keeps too much room");
    }
    void report(Shop& shop, int days)
    {
        m_clock.move(1min);
        const double before = computed();
        static_cast<void>(shop.till().restart());
        const double start = computed() - before;
        std::printf("%5d %9lld %9lld %10lld %6d %9.0f %9.0f\n", days, static_cast<long long>(m_closed),
                    static_cast<long long>(m_families.size()),
                    static_cast<long long>(QFileInfo(m_directory + u"/till.sqlite"_s).size() / 1024),
                    number(u"PRAGMA freelist_count"_s), start, m_longestStep);
        static_cast<void>(std::fflush(stdout));
        m_longestStep = 0;
    }

    void note(const QString& receipt, const QString& family)
    {
        ++m_closed;
        m_families.insert(receipt, family);
        m_youngest.insert(family, m_clock.now().toMSecsSinceEpoch());
    }
    static qint64 ms(std::chrono::milliseconds time) { return time.count(); }
    static QSet<QString> texts(const QString& sql)
    {
        const auto store = storage::store();
        QSqlQuery query = store->prepared(sql);
        QSet<QString> found;
        for (const QVariantList& row : store->rows(query))
            found.insert(row[0].toString());
        return found;
    }
    static int number(const QString& sql)
    {
        const auto store = storage::store();
        QSqlQuery query = store->prepared(sql);
        return store->rows(query).value(0).value(0).toInt();
    }

    Plan m_plan;
    QString m_directory;
    Config m_config;
    test_support::StillClock& m_clock;
    QDateTime m_start;
    storage::Retention m_retention{m_plan.keep};
    QHash<QString, QString> m_families; ///< of each receipt that is to be kept
    QHash<QString, qint64> m_youngest;  ///< of each family
    QStringList m_yesterday;            ///< the sales
    QString m_parked;
    qint64 m_closed = 0;
    double m_longestStep = 0; ///< of removal, in microseconds of computing
};

/// Sells at a till that has just begun and at the one that has worked all the time, in turns, so that
/// whatever else the machine does hits both.
bool compare(const QString& young, const QString& old, const Config& config, test_support::StillClock& clock,
             int rounds)
{
    constexpr int warm = 5; // receipts until what is read again and again is in memory
    constexpr int receipts = 20;
    std::array<Costs, 2> costs;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t which = 0; which < costs.size(); ++which) {
            Shop shop(which == 0 ? young : old, config);
            Costs unused;
            for (const Kind kind : kinds) {
                for (int i = 0; i < warm + receipts; ++i) {
                    clock.move(2s);
                    static_cast<void>(shop.sell(kind, i < warm ? unused : costs.at(which)));
                }
            }
            shop.deliver();
        }
    }
    bool holds = true;
    for (const Kind kind : kinds) {
        const double before = median(costs[0].at(kind).microseconds);
        const double after = median(costs[1].at(kind).microseconds);
        const auto each = [&](const Costs& some) {
            return some.at(kind).syncs / static_cast<double>(some.at(kind).microseconds.size());
        };
        std::printf(
            "%-22s %.3f of what it took at the beginning (bound %.1f); syncs %.2f, at the beginning %.2f\n",
            names.at(kind), after / before, bound, each(costs[1]), each(costs[0]));
        holds &= after / before <= bound;
    }
    return holds;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*.debug=false\n*.info=false"_s);
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool check = arguments.removeAll(u"--check"_s) > 0;
    Plan plan;
    for (int* value : {&plan.days, &plan.receipts, &plan.keep.receipts, &plan.keep.journal}) {
        if (!arguments.isEmpty())
            *value = arguments.takeFirst().toInt();
    }
    const auto isToTheDay = [](int days) { return days == 0 || days >= 3; }; // a clock is doubted for as long
    if (!arguments.isEmpty() || plan.days < 1 || plan.receipts < 1 || !isToTheDay(plan.keep.receipts) ||
        !isToTheDay(plan.keep.journal)) {
        qWarning("usage: bench_year [--check] [DAYS [RECEIPTS_A_DAY [KEEP_DAYS [KEEP_JOURNAL_DAYS]]]]");
        return 2;
    }
    const QTemporaryDir directory(QDir::current().filePath(u"bench_year-XXXXXX"_s));
    const till::StandProcess service({.program = QStringLiteral(STAND_PROGRAM),
                                      .dataFile = directory.filePath(u"stand.sqlite"_s),
                                      .logFile = directory.filePath(u"stand.log"_s),
                                      .ratio = {}});
    Config config = till::loadSettings({});
    till::setServerUrl(config, service.url());
    till::setCredentials(config, till::StandProcess::user(), till::StandProcess::password());
    test_support::StillClock clock(QDateTime::fromString(u"2026-01-01T08:00:00Z"_s, Qt::ISODate));
    const QString old = directory.filePath(u"old"_s);
    Year(plan, old, config, clock).work();
    const int rounds = std::clamp(plan.days / 10, 1, 20);
    const bool holds = compare(directory.filePath(u"young"_s), old, config, clock, rounds);
    return check && !holds ? 1 : 0;
}
