#include "tests/journey/till/tillprocess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const QString tour = QStringLiteral(SCENARIOS "/01-identify.json");

/// The lines that hold none of these texts.
QStringList without(const QByteArray& text, const QStringList& marks)
{
    QStringList lines = QString::fromUtf8(text).split(u'\n');
    for (const QString& mark : marks)
        lines.removeIf([&mark](const QString& line) { return line.contains(mark); });
    return lines;
}

} // namespace

TEST(TillRun, TheTourOfIdentificationGoesAsPlanned)
{
    const Ran ran = run({u"run"_s, tour});
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    EXPECT_EQ(ran.err, "");
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("01-identify.json: 13 steps, 2 failed as allowed\n"));
}

TEST(TillRun, EachStepAndTheSummaryAreLinesOfJsonWithExactlyTheirMembers)
{
    const Files files;
    const QString file = files.write(
        u"s.json"_s,
        scenario(sale + identifyByCard("2000000000017") + identifyByCard("2000000000048").mayFail() +
                 identifyByPhone("79001234567") + identifyByPhone("79005550001").choosing(0)));
    const Ran ran = run({u"run"_s, file, u"--json"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(
        ran.out.toStdString(),
        R"({"step":1,"do":"openSale","ok":true,"value":null,"error":"","points":0,"balance":null,"impacts":[],"queued":0,"unknown":null}
{"step":2,"do":"identifyByCard","ok":true,"value":"2000000000017","error":"","points":0,"balance":1234.5,"impacts":[],"queued":0,"unknown":null}
{"step":3,"do":"identifyByCard","ok":false,"value":"2000000000048","error":"Карта заблокирована","points":0,"balance":1234.5,"impacts":[],"queued":0,"unknown":null}
{"step":4,"do":"identifyByPhone","ok":true,"value":null,"error":"","points":0,"balance":1234.5,"impacts":[],"queued":0,"unknown":null}
{"step":5,"do":"identifyByPhone","ok":true,"value":"2000000000055","error":"","points":0,"balance":300,"impacts":[],"queued":0,"unknown":null}
{"summary":{"file":")" +
            file.toStdString() +
            R"(","steps":5,"failed":1,"allowed":1,"receipts":0,"spent":0,"earned":0,"queued":0,"delivered":0,"waiting":0,"parked":0,"differences":[],"alarms":[]}}
)");
}

TEST(TillRun, StepsAreNumberedFromOneInEachFile)
{
    const Ran ran = run({u"run"_s, tour, tour, u"--json"_s});
    EXPECT_EQ(ran.status, 0);
    const QList<QByteArray> lines = ran.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 28);
    // Each file has a stand of its own, so the new card is new again.
    EXPECT_EQ(lines.first(14), lines.last(14));
}

TEST(TillRun, AnUnexpectedFailureDoesNotStopTheStepsAfterIt)
{
    const Ran ran = runSteps(sale + identifyByCard("2000000000048") +
                             identifyByPhone("79009999999").mayFail() + identifyByCard("2000000000017"));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Баланс: 1 234,50"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("s.json: 4 steps, 2 failed, 1 of them as allowed\n"));
}

TEST(TillRun, AStepWithoutItsReceiptOrCardFailsWithAReason)
{
    const Ran ran = runSteps(identifyByCard("2000000000017") + openSale("R-1") + getCardInfo());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Чек не открыт"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("В чеке нет карты"));
}

TEST(TillRun, AChoiceOutsideTheListFailsTheStep)
{
    const Ran ran = runSteps(sale + identifyByPhone("79001234567").choosing(3));
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("нет строки с индексом 3"));
}

TEST(TillRun, TheAccountShowsWhatTheCashierSeesAndTheLogBehindIt)
{
    const std::string out = run({u"run"_s, tour}).out.toStdString();
    EXPECT_THAT(out, HasSubstr("Узнаём покупателя: карты, телефоны и отказы"));
    EXPECT_THAT(out, HasSubstr("     1  Молоко 3,2 %              2 ×    89,90  179,80\n"
                               "     2  Хлеб бородинский          1 ×    54,50   54,50\n"
                               "          скидка                                 −5,00\n"
                               "     3  Сыр твёрдый, весовой  0,352 × 1 149,00  404,45\n"
                               "        Итого                                   633,75\n"));
    EXPECT_THAT(out, HasSubstr("     Покупатель: Соколова Мария Андреевна\n     Баланс: 1 234,50\n"));
    EXPECT_THAT(out, HasSubstr("     ▸ 3. …0031\n"));
    EXPECT_THAT(out, HasSubstr("     Список закрыт\n     Карта не выбрана\n"));
    EXPECT_THAT(out, HasSubstr("     Карта …0062, регистрация не завершена\n"));
    EXPECT_THAT(out, HasSubstr("          info     Получение информации о карте\n"));
    EXPECT_THAT(out, HasSubstr("          error    Карта заблокирована\n"));
    EXPECT_THAT(out, Not(HasSubstr("debug")));
    EXPECT_THAT(out, Not(HasSubstr("http ")));
}

TEST(TillRun, VerboseShowsTheExchangesAndDebugLines)
{
    const std::string out = run({u"run"_s, tour, u"--verbose"_s}).out.toStdString();
    EXPECT_THAT(out, HasSubstr("          debug    Получение статуса карты\n"));
    EXPECT_THAT(out, HasSubstr("http     GET /v2/partner/card/…0017/card-info  200, "));
    EXPECT_THAT(out, HasSubstr(R"(< {)"));
    EXPECT_THAT(out, HasSubstr(R"("mobile": "…4567")"));
}

TEST(TillRun, NumbersAreMaskedOutsideThePluginsTextsAndThePasswordIsNeverShown)
{
    const Ran ran = run({u"run"_s, tour, u"--verbose"_s});
    for (const QByteArray& secret :
         {QByteArray("secret-of-the-shop"), QByteArray("secret-of-the-shop").toBase64(),
          QByteArray("shop:secret-of-the-shop").toBase64(), QByteArray("Basic ")})
        EXPECT_FALSE(ran.out.contains(secret)) << secret.toStdString();
    const QStringList lines = without(ran.out, {u"по номеру телефона '"_s, u"Нет карт для телефона '"_s});
    for (const QString& line : lines)
        EXPECT_FALSE(line.contains(QRegularExpression(u"[0-9]{7}"_s))) << line.toStdString();
}

TEST(TillRun, WithJsonTheLogGoesToTheErrorsAndOnlyWhenAskedFor)
{
    const Ran ran = run({u"run"_s, tour, u"--json"_s, u"--verbose"_s});
    EXPECT_EQ(ran.out.count('\n'), 14);
    for (const QByteArray& line : ran.out.trimmed().split('\n'))
        EXPECT_TRUE(QJsonDocument::fromJson(line).isObject()) << line.toStdString();
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("debug    Получение статуса карты\n"));
}

} // namespace tilltest
