#include "tests/journey/till/conformance.h"
#include "tests/support/lossyproxy.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

#include <csignal>

using namespace Qt::StringLiterals;
using test_support::LossyProxy;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

// Whatever goes wrong while a service is checked: the card has what it had, or the report says what is left.

namespace tilltest {

// What goes wrong once in the middle, where something is to be given back.
TEST_F(TillConformance, GivesBackWhateverGoesWrong)
{
    const QList<QJsonObject> faults{
        {{u"operation"_s, u"confirm-payment-c2b"_s}, {u"fault"_s, u"apply-then-drop"_s}, {u"nth"_s, 3}},
        {{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"apply-then-drop"_s}},
        {{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"status"_s}, {u"code"_s, 422}},
        {{u"operation"_s, u"refuse-payment"_s}, {u"fault"_s, u"apply-then-drop"_s}, {u"count"_s, 2}},
        {{u"operation"_s, u"refuse-payment"_s}, {u"fault"_s, u"status"_s}, {u"code"_s, 422}},
        {{u"operation"_s, u"refuse-payment"_s}, {u"fault"_s, u"status"_s}, {u"code"_s, 401}},
        {{u"operation"_s, u"cancel-payment"_s}, {u"fault"_s, u"drop"_s}, {u"nth"_s, 2}, {u"count"_s, 3}},
        {{u"operation"_s, u"any"_s}, {u"fault"_s, u"drop"_s}, {u"nth"_s, 40}, {u"count"_s, 4}},
    };
    for (const QJsonObject& fault : faults) {
        SCOPED_TRACE(QJsonDocument(fault).toJson().toStdString());
        service.arm(fault);
        const Said said = conform();
        EXPECT_EQ(said.ran.status, 1);
        EXPECT_GE(service.fired(), 1);
        EXPECT_THAT(said.report[u"not_given_back"_s].toArray(), IsEmpty());
        service.disarm();
        service.expectUntouched();
    }
}

TEST_F(TillConformance, NamesWhatItCouldNotGiveBackAndSpendsNoMore)
{
    service.arm({{u"operation"_s, u"cancel-payment"_s},
                 {u"fault"_s, u"drop"_s},
                 {u"nth"_s, 2},
                 {u"count"_s, u"all"_s}});
    const Said said = conform();
    EXPECT_EQ(said.ran.status, 1);
    const QJsonArray operations = service.page("ledger")[u"operations"_s].toArray();
    QStringList spent;
    for (const auto& operation : operations) {
        if (operation[u"operation"_s] == u"spending"_s)
            spent.append(operation[u"receipt_number"_s].toString());
    }
    ASSERT_EQ(spent.size(), 1);
    const QJsonArray left = said.report[u"not_given_back"_s].toArray();
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(left[0][u"operation"_s], u"cancel-payment"_s);
    EXPECT_EQ(left[0][u"receipt"_s], spent.first());
    EXPECT_EQ(said.finding(u"balance"_s), "the card has 290.00 points, where it should have 300.00");
    EXPECT_EQ(said.verdict(u"earn"_s), u"not judged"_s);
}

TEST_F(TillConformance, GivesBackWhenItIsInterrupted)
{
    // The points go at once; the answer leaves the time to interrupt.
    service.arm({{u"operation"_s, u"force-payment-c2b"_s}, {u"fault"_s, u"late"_s}, {u"ms"_s, 800}});
    QProcess till;
    start(till, arguments() + QStringList{u"--json"_s});
    QElapsedTimer time;
    time.start();
    while (service.balance() != "290.00" && time.elapsed() < patienceMs)
        QThread::msleep(5);
    ASSERT_EQ(service.balance(), "290.00");
    ::kill(static_cast<pid_t>(till.processId()), SIGINT);
    ASSERT_TRUE(till.waitForFinished(patienceMs));
    const Said said = read({till.exitCode(), till.readAllStandardOutput(), till.readAllStandardError()});
    EXPECT_EQ(said.ran.status, 1);
    EXPECT_TRUE(said.report[u"interrupted"_s].toBool());
    EXPECT_EQ(said.verdict(u"spend-again"_s), u"not judged"_s);
    EXPECT_EQ(said.verdict(u"balance"_s), u"kept"_s);
    EXPECT_THAT(said.report[u"not_given_back"_s].toArray(), IsEmpty());
    service.expectUntouched();
}

TEST_F(TillConformance, GivesALateSpendingBackToo)
{
    LossyProxy proxy(service.url().toLatin1());
    // Of a cancellation it knows only when the spending is there.
    proxy.passOnAs([spent = QSet<QByteArray>()](QByteArray request) mutable {
        static const QRegularExpression spending(u"\"receipt_number\":\"(\\d+)\""_s);
        static const QRegularExpression cancellation(u"\"receipt_to_cancel\":\"(\\d+)\""_s);
        const QString text = QString::fromUtf8(request);
        if (request.contains("payment-c2b"))
            spent.insert(spending.match(text).captured(1).toLatin1());
        const QByteArray canceled = cancellation.match(text).captured(1).toLatin1();
        if (!canceled.isEmpty() && !spent.contains(canceled))
            request.replace(canceled, QByteArray(canceled.size(), '7'));
        return request;
    });
    const Said said = conformAt(arguments(proxy.url()));
    EXPECT_THAT(said.of(u"differs"_s), UnorderedElementsAre("spend-late", "balance"));
    service.expectUntouched();
}

namespace {

/// Of the faults that the stand knows, those whose number leaves that remainder by three: a third of the time
/// for each.
struct Struck
{
    const char* name;
    QString operation;
    int third;
};

void PrintTo(const Struck& struck, std::ostream* out) { *out << struck.name; }

class TillConformanceFaults : public TillConformance, public testing::WithParamInterface<Struck>
{};

} // namespace

TEST_P(TillConformanceFaults, FailEachOnSomePromiseAndLeaveTheCardAsItWas)
{
    const QJsonArray kinds = service.page("overview")[u"kinds"_s].toArray();
    ASSERT_GT(kinds.size(), 3);
    for (qsizetype i = GetParam().third; i < kinds.size(); i += 3) {
        const QString fault = kinds[i][u"name"_s].toString();
        SCOPED_TRACE(fault.toStdString());
        const Service struck;
        struck.arm({{u"operation"_s, GetParam().operation}, {u"fault"_s, fault}});
        const Said said = read(run(arguments(struck.url()) + QStringList{u"--json"_s}));
        EXPECT_EQ(said.ran.status, 1);
        struck.waitUntilOpen();
        EXPECT_EQ(struck.fired(), 1);
        const auto differ = said.of(u"differs"_s);
        EXPECT_THAT(differ, Not(IsEmpty()));
        for (const std::string& id : differ)
            EXPECT_NE(said.finding(QString::fromStdString(id)), "") << id;
        EXPECT_THAT(said.report[u"not_given_back"_s].toArray(), IsEmpty());
        struck.expectUntouched();
    }
}

INSTANTIATE_TEST_SUITE_P(
    OfTheStand, TillConformanceFaults,
    testing::Values(Struck{"FirstCallA", u"any"_s, 0}, Struck{"FirstCallB", u"any"_s, 1},
                    Struck{"FirstCallC", u"any"_s, 2}, Struck{"SpendingA", u"force-payment-c2b"_s, 0},
                    Struck{"SpendingB", u"force-payment-c2b"_s, 1},
                    Struck{"SpendingC", u"force-payment-c2b"_s, 2}, Struck{"EarningA", u"payment-b2c"_s, 0},
                    Struck{"EarningB", u"payment-b2c"_s, 1}, Struck{"EarningC", u"payment-b2c"_s, 2}),
    [](const auto& struck) { return struck.param.name; });

} // namespace tilltest
