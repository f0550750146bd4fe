#include "host/queue/messagequeue.h"
#include "tests/journey/till/kepttill.h"

#include <QDir>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace tilltest {

namespace {

const char* const gone = "удалены или подменены во время работы";

/// A till at work under whose hands something is taken away.
class TillAtWork : public ::testing::Test
{
protected:
    TillAtWork() { till.startShell(shell); }
    ~TillAtWork() override
    {
        shell.kill();
        shell.waitForFinished(patienceMs);
    }

    [[nodiscard]] QString path(const QString& name) const { return till.directory() + u'/' + name; }
    void expectPlayed(const Step& step)
    {
        const QJsonObject line = play(shell, step);
        EXPECT_TRUE(line[u"ok"_s].toBool()) << errorOf(line);
    }
    void expectGone(const Step& step)
    {
        const QJsonObject line = play(shell, step);
        EXPECT_FALSE(line[u"ok"_s].toBool()) << step;
        EXPECT_THAT(errorOf(line), HasSubstr(gone));
    }

    const KeptTill till;
    QProcess shell;
};

} // namespace

TEST_F(TillAtWork, ClosesNoReceiptWithoutItsStoreAndBeginsNoOther)
{
    for (const Step& step : {sale, card})
        expectPlayed(step);
    ASSERT_TRUE(QFile::rename(path(u"till.sqlite"_s), path(u"aside"_s)));
    for (int i = 0; i < 2; ++i)
        expectGone(pay());
    EXPECT_FALSE(QFile::exists(path(u"till.sqlite"_s)));
    ASSERT_TRUE(QFile::rename(path(u"aside"_s), path(u"till.sqlite"_s)));
    EXPECT_TRUE(till.hasOpenReceipt()) << "the receipt is still open";
    expectPlayed(pay());
}

TEST(TillShell, SaysAtEachStepThatItsStoreIsGone)
{
    const KeptTill till;
    QProcess shell;
    start(shell, QStringList{u"shell"_s} + till.arguments());
    const auto said = [&shell](const QByteArray& step, const char* until) {
        shell.write(step + '\n');
        QByteArray all;
        while (!all.contains(until) && shell.waitForReadyRead(patienceMs))
            all += shell.readAllStandardOutput();
        return all.toStdString();
    };
    EXPECT_THAT(said("openSale id=R-1 positions=[]", "Чек R-1"), HasSubstr("R-1"));
    ASSERT_TRUE(QFile::remove(till.directory() + u"/till.sqlite"_s));
    EXPECT_THAT(said("identifyByCard card=2000000000055", gone), HasSubstr(gone));
    shell.closeWriteChannel();
    EXPECT_TRUE(shell.waitForFinished(patienceMs));
}

TEST_F(TillAtWork, WritesNothingIntoAFolderThatTookThePlaceOfItsOwn)
{
    expectPlayed(sale);
    ASSERT_TRUE(QDir().rename(till.directory(), till.directory() + u"-aside"_s));
    expectGone(card);
    ASSERT_TRUE(QDir().mkdir(till.directory()));
    for (const Step& step : {card, pay(), deliver()})
        expectGone(step);
    EXPECT_THAT(QDir(till.directory()).entryList(QDir::Files | QDir::Hidden), IsEmpty());
}

TEST_F(TillAtWork, DoesNothingMoreOnceItsLockIsGone)
{
    expectPlayed(sale);
    ASSERT_TRUE(QFile::remove(path(u"till.lock"_s)));
    expectGone(card);
}

TEST(TillDelivery, SaysThatItsStoreIsGoneAndBeginsNoOther)
{
    const KeptTill till;
    QProcess delivery;
    start(delivery, QStringList{u"deliver"_s} + till.arguments());
    const auto waitFor = [&delivery](const char* text) {
        QByteArray said;
        while (!said.contains(text) && delivery.waitForReadyRead(patienceMs))
            said += delivery.readAllStandardOutput();
        EXPECT_THAT(said.toStdString(), HasSubstr(text));
    };
    waitFor("delivering");
    ASSERT_TRUE(QFile::remove(till.directory() + u"/till.sqlite"_s));
    waitFor(gone);
    EXPECT_FALSE(QFile::exists(till.directory() + u"/till.sqlite"_s));
    delivery.terminate();
    EXPECT_TRUE(delivery.waitForFinished(patienceMs));
}

} // namespace tilltest
