#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::StrEq;

namespace {

const QString ours = QStringLiteral(KYR_PLUGIN);
const QString stamps = QStringLiteral(KYR_EXAMPLES "/plugin/libstamps.so");
const QString card = u"2000000000055"_s;

/// The example host, once for each step, on data and a configuration of this test.
class SdkExamples : public testing::Test
{
protected:
    struct Step
    {
        int status;
        std::string output;
        std::string errors;
    };

    Step host(const QString& plugin, const QStringList& step)
    {
        QProcess process;
        process.start(QStringLiteral(KYR_EXAMPLES "/host/example-host"),
                      QStringList{plugin, m_folder.filePath(u"host.toml"_s), dataDirectory} + step);
        EXPECT_TRUE(process.waitForFinished()) << process.errorString().toStdString();
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    void configure(const QByteArray& toml) const
    {
        QFile file(m_folder.filePath(u"host.toml"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(toml);
    }

    QTemporaryDir m_folder;
    QString dataDirectory = m_folder.filePath(u"data"_s);
};

class SdkExamplesWithTheService : public SdkExamples
{
protected:
    void SetUp() override
    {
        configure("[KYRLoyalty]\nserverUrl = \"" + m_url +
                  "/\"\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\n");
    }

    QString balance()
    {
        const auto reply =
            standtest::send({.url = m_url + "/v2/partner/operation/user/card/2000000000055/user-info",
                             .login = standtest::Login()});
        return reply.data()["accounts_data"_L1].toArray().at(0)["avialable"_L1].toString();
    }

private:
    standtest::StandProcess m_stand;
    QByteArray m_url = m_stand.url();
};

} // namespace

TEST_F(SdkExamplesWithTheService, TheHostSpendsPointsAndPaysTheReceiptInAProcessOfItsOwn)
{
    const Step begun = host(ours, {u"begin"_s, card, u"20"_s});
    EXPECT_EQ(begun.status, 0) << begun.errors;
    EXPECT_THAT(begun.output, StrEq("balance 300, to pay 225.3\nspending 20\nto pay 205.3\n"));
    EXPECT_EQ(balance(), u"280.00"_s);

    const Step paid = host(ours, {u"pay"_s});
    EXPECT_EQ(paid.status, 0) << paid.errors;
    EXPECT_THAT(paid.output, StrEq("to pay 205.3\nearned 10.26\nclosed\n"));
    EXPECT_EQ(balance(), u"290.26"_s);
}

#ifdef KYR_FORWARDED_PLUGIN // not built with Log4Qt itself: the made-up host stands on the drop-in
TEST_F(SdkExamplesWithTheService, ThePluginBuiltByForwardingHeadersServesTheHostAsWell)
{
    const QString forwarded = QStringLiteral(KYR_FORWARDED_PLUGIN);
    EXPECT_EQ(host(forwarded, {u"begin"_s, card, u"20"_s}).status, 0);
    EXPECT_EQ(host(forwarded, {u"pay"_s}).status, 0);
    EXPECT_EQ(balance(), u"290.26"_s);
}

#endif

TEST_F(SdkExamplesWithTheService, TheHostSaysWhyACardIsNotTaken)
{
    const Step refused = host(ours, {u"begin"_s, u"2999999999999"_s, u"20"_s});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.errors, HasSubstr("example-host: Карта не найдена"));
}

TEST_F(SdkExamples, AnotherLoyaltySystemServesTheSameHostWithoutAService)
{
    configure("");
    const Step begun = host(stamps, {u"begin"_s, card, u"30"_s});
    EXPECT_EQ(begun.status, 0) << begun.errors;
    EXPECT_THAT(begun.output, StrEq("balance 50, to pay 225.3\nspending 30\nto pay 195.3\n"));
    const Step paid = host(stamps, {u"pay"_s});
    EXPECT_EQ(paid.status, 0) << paid.errors;
    EXPECT_THAT(paid.output, StrEq("to pay 195.3\nearned 9.77\nclosed\n"));
    EXPECT_THAT(host(stamps, {u"begin"_s, card, u"0"_s}).output, HasSubstr("balance 29.77,"));
}

TEST_F(SdkExamples, AHostWithoutADataDirectoryIsToldToNameOne)
{
    configure("");
    dataDirectory = u""_s;
    const Step begun = host(stamps, {u"begin"_s, card, u"30"_s});
    EXPECT_EQ(begun.status, 1);
    EXPECT_THAT(begun.errors, HasSubstr("storage::setDataDirectory"));
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv); // for QProcess
    return RUN_ALL_TESTS();
}
