#include "tests/journey/till/conformance.h"
#include "tests/support/lossyproxy.h"
#include "till/conformance/promises.h"

#include <QFile>
#include <QSet>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;
using test_support::LossyProxy;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

// What the check of a service finds, and how it says so.

namespace tilltest {

TEST_F(TillConformance, IsPassedByTheStand)
{
    const Said said = conform();
    EXPECT_EQ(said.ran.status, 0) << said.ran.err.constData();
    EXPECT_EQ(said.of(u"kept"_s).size(), till::conformance::promises().size());
    EXPECT_TRUE(said.report[u"ok"_s].toBool());
    service.expectUntouched();
    // Every operation of the service was asked for.
    QSet<QString> operations;
    const QJsonArray exchanges = service.page("exchanges")[u"exchanges"_s].toArray();
    for (const auto& exchange : exchanges)
        operations.insert(exchange[u"method"_s].toString() + u' ' +
                          exchange[u"path"_s].toString().section(u'/', -1));
    for (const QString& operation :
         {u"GET card-info"_s, u"GET user-info"_s, u"POST pre-payment"_s, u"POST force-payment-c2b"_s,
          u"POST payment-c2b"_s, u"POST confirm-payment-c2b"_s, u"POST payment-b2c"_s,
          u"POST refuse-payment"_s, u"POST cancel-payment"_s, u"POST receipt"_s, u"PUT receipt"_s})
        EXPECT_TRUE(operations.contains(operation)) << operation.toStdString();
}

TEST_F(TillConformance, MayBeRepeatedWithTheSameCard)
{
    const QStringList patient = arguments(service.url(), "timeout = 10\n");
    for (int i = 0; i < 2; ++i) {
        const Said said = conformAt(patient, {u"--slowest"_s, u"9000"_s});
        EXPECT_EQ(said.ran.status, 0) << said.ran.out.toStdString();
    }
    service.expectUntouched();
}

TEST_F(TillConformance, LeavesOpenWhatItWasNotGivenTheMeansToJudge)
{
    const Said said = read(run(arguments() + QStringList{u"--json"_s}));
    EXPECT_EQ(said.ran.status, 0);
    EXPECT_THAT(said.of(u"not judged"_s), UnorderedElementsAre("phone", "code", "code-again"));
    EXPECT_EQ(said.finding(u"phone"_s), "no --phone was given");
    service.expectUntouched();
}

TEST_F(TillConformance, SpendsNothingThatTheCardDoesNotHave)
{
    const Said said = conform({u"--points"_s, u"301"_s});
    EXPECT_EQ(said.ran.status, 0);
    EXPECT_EQ(said.finding(u"spend"_s), "the card has only 300.00 points");
    EXPECT_EQ(said.verdict(u"earn"_s), u"kept"_s);
    service.expectUntouched();
}

TEST_F(TillConformance, SaysWhatTheServiceDidAndWhatItMeansAtTheTill)
{
    service.arm({{u"operation"_s, u"force-payment-c2b"_s}, {u"fault"_s, u"apply-then-drop"_s}});
    const Ran ran = run(arguments());
    EXPECT_EQ(ran.status, 1);
    const std::string text = ran.out.toStdString();
    EXPECT_THAT(text, HasSubstr("\nkept        cancel-unseen    The cancellation of a spending that never"));
    EXPECT_THAT(text, HasSubstr("\ndiffers     spend            A spending takes the points"));
    EXPECT_THAT(text, HasSubstr("\n    the cashier reads: Ошибка обращения к серверу\n"));
    EXPECT_THAT(text, HasSubstr("\n    → The cashier reads that the outcome is not known"));
    EXPECT_THAT(text, HasSubstr("\n    | POST /v2/partner/operation/force-payment-c2b  no answer"));
    EXPECT_THAT(text, HasSubstr("\n    | >     \"receipt_bonus_amount\": \"10.00\""));
    EXPECT_THAT(text, Not(HasSubstr("\x1b"))); // nobody looks at it
    EXPECT_THAT(text, HasSubstr("\n32 kept, 2 differ, 5 not judged\n"));
    EXPECT_EQ(ran.err, "Playing receipts with card …0055 at 127.0.0.1; all points are given back\n");
    service.expectUntouched();
}

TEST_F(TillConformance, FindsAServiceThatTakesARepeatForAnother)
{
    LossyProxy proxy(service.url().toLatin1());
    proxy.passOnAs([seen = QSet<QByteArray>()](QByteArray request) mutable {
        static const QByteArray name = "\"receipt_number\":\"";
        if (!request.contains("force-payment-c2b"))
            return request;
        const QByteArray body = request.sliced(request.indexOf("\r\n\r\n"));
        if (seen.contains(body))
            request[request.indexOf(name) + name.size()] = '9';
        seen.insert(body);
        return request;
    });
    const Said said = conformAt(arguments(proxy.url()));
    EXPECT_EQ(said.ran.status, 1);
    EXPECT_THAT(said.of(u"differs"_s), UnorderedElementsAre("spend-again", "cancel", "balance"));
    EXPECT_EQ(said.finding(u"balance"_s), "the card has 290.00 points, where it should have 300.00");
    EXPECT_THAT(said.report[u"asked"_s].toArray(), Not(IsEmpty()));
}

TEST_F(TillConformance, FindsAServiceThatKeepsTheCashierWaiting)
{
    const QStringList patient = arguments(service.url(), "timeout = 10\n");
    service.arm({{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"late"_s}});
    const Said said = conformAt(patient);
    EXPECT_THAT(said.of(u"differs"_s), UnorderedElementsAre("in-time"));
    EXPECT_THAT(said.finding(u"in-time"_s), HasSubstr("payment-b2c took 2"));
    service.disarm();
    service.arm({{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"late"_s}});
    EXPECT_EQ(conformAt(patient, {u"--slowest"_s, u"9000"_s}).ran.status, 0);
}

TEST_F(TillConformance, FindsAServiceThatDoesNotTakeTheCredentials)
{
    const Said said = conformAt(arguments(service.url(), "timeout = 1\nuser=\"x\"\n"));
    EXPECT_EQ(said.ran.status, 2); // a key twice
    const Said other = conformAt({u"conformance"_s, u"--config"_s,
                                  files.write(u"no.toml"_s, "[KYRLoyalty]\nuser = \"nobody\"\n"),
                                  u"--server-url"_s, service.url(), u"--card"_s, number});
    EXPECT_EQ(other.ran.status, 1);
    EXPECT_THAT(other.finding(u"card"_s), HasSubstr("HTTP 401"));
    EXPECT_EQ(other.verdict(u"spend"_s), u"not judged"_s);
}

TEST_F(TillConformance, WritesJUnitWithACaseForEachPromise)
{
    service.arm(
        {{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"status"_s}, {u"text"_s, u"<\u0001&\"> Сбой"_s}});
    const QString path = files.path(u"report.xml"_s);
    EXPECT_EQ(run(arguments() + QStringList{u"--junit"_s, path}).status, 1);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QHash<QString, int> elements;
    QXmlStreamAttributes suite;
    QStringList names;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        ++elements[xml.name().toString()];
        if (xml.name() == u"testsuite"_s)
            suite = xml.attributes();
        if (xml.name() == u"testcase"_s)
            names.append(xml.attributes().value(u"name"_s).toString());
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    const auto promises = till::conformance::promises();
    EXPECT_EQ(elements[u"testcase"_s], promises.size());
    EXPECT_EQ(names.first(), promises.first().id + u": "_s + promises.first().sentence);
    EXPECT_EQ(suite.value(u"tests"_s).toInt(), promises.size());
    EXPECT_EQ(suite.value(u"failures"_s).toInt(), 2); // the earning, and that each answer is the service's
    EXPECT_EQ(elements[u"failure"_s], 2);
    EXPECT_EQ(suite.value(u"skipped"_s).toInt(), 4);
    EXPECT_EQ(elements[u"skipped"_s], 4);
}

TEST_F(TillConformance, TellsNoSecretAndNoWholeNumber)
{
    const QString path = files.path(u"report.xml"_s);
    // The service repeats the card number in its own words.
    service.arm({{u"operation"_s, u"user-info-by-phone"_s},
                 {u"fault"_s, u"status"_s},
                 {u"count"_s, 2},
                 {u"text"_s, u"Карта 2000000000055, код 490517"_s}});
    QByteArray all;
    for (const QString& form : {u"--json"_s, u"--verbose"_s}) {
        const Ran ran =
            run(arguments() + QStringList{u"--phone"_s, phone, u"--code"_s, code, u"--junit"_s, path, form});
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        all += ran.out + ran.err + file.readAll();
    }
    EXPECT_THAT(all.toStdString(), HasSubstr("…0055"));
    EXPECT_THAT(all.toStdString(), HasSubstr("confirm-payment-c2b"));
    const QByteArray basic = QByteArray("shop:secret-of-the-shop").toBase64();
    for (const QByteArray& secret :
         {number.toLatin1(), phone.toLatin1(), code.toLatin1(), QByteArray("secret-of-the-shop"), basic})
        EXPECT_THAT(all.toStdString(), Not(HasSubstr(secret.toStdString())));
}

TEST(TillConformancePage, HasARowForEachPromise)
{
    QFile page(QStringLiteral(SCENARIOS "/../docs/conformance.md"));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const std::string text = page.readAll().toStdString();
    for (const auto& promise : till::conformance::promises())
        EXPECT_THAT(text,
                    HasSubstr(u"\n| `%1` | %2 | %3 |\n"_s.arg(promise.id, promise.sentence, promise.meaning)
                                  .toStdString()));
}

TEST_F(TillConformance, IsMisusedWithoutCardOrServiceOrWithAFileThatCannotBeWritten)
{
    const QString url = service.url();
    EXPECT_EQ(run({u"conformance"_s, u"--card"_s, number}).status, 2);
    EXPECT_EQ(run({u"conformance"_s, u"--server-url"_s, url}).status, 2);
    EXPECT_EQ(run(arguments() + QStringList{u"--junit"_s, u"/nowhere/report.xml"_s}).status, 2);
    EXPECT_EQ(run(arguments() + QStringList{u"--points"_s, u"0"_s}).status, 2);
    EXPECT_THAT(service.page("exchanges")[u"exchanges"_s].toArray(), IsEmpty());
}

} // namespace tilltest
