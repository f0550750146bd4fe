#include "tests/stand/standprocess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

#include <csignal>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

constexpr int patienceMs = 30'000;

/// The window as a program of its own, on data in which a message waits for the service.
class WindowErrorOutput : public testing::Test
{
protected:
    ~WindowErrorOutput() override
    {
        m_window.kill();
        m_window.waitForFinished(patienceMs);
    }
    Q_DISABLE_COPY_MOVE(WindowErrorOutput)
    WindowErrorOutput() = default;

    void start(const QByteArray& password, const QStringList& options = {})
    {
        write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"" + password +
                                  "\"\nserverUrl = \"" + m_stand.url() + "\"\n");
        // What a receipt without a card has to tell goes through the queue.
        write(u"sale.json"_s, R"({ "steps": [ { "do": "openSale", "id": "R-1", "positions": [
            { "articul": "1", "name": "Чай", "price": 10, "quantity": 1 } ] }, { "do": "pay" } ] })");
        const QStringList common{u"--config"_s, path(u"till.toml"_s), u"--data-dir"_s, path(u"data"_s)};
        QProcess sale;
        sale.start(QStringLiteral(TILL_PROGRAM), QStringList{u"run"_s, path(u"sale.json"_s)} + common);
        ASSERT_TRUE(sale.waitForFinished(patienceMs));
        ASSERT_EQ(sale.exitCode(), 0) << sale.readAllStandardError().toStdString();
        m_window.start(QStringLiteral(TILL_PROGRAM), QStringList{u"window"_s} + common + options);
    }
    /// Waits until the window has written that, and still runs.
    [[nodiscard]] bool saysMeanwhile(const QByteArray& text)
    {
        const auto isSaid = [&] {
            m_said += m_window.readAllStandardError();
            return m_said.contains(text);
        };
        return QTest::qWaitFor(isSaid, patienceMs) && m_window.state() == QProcess::Running;
    }
    [[nodiscard]] std::string said() const { return m_said.toStdString(); }
    void hangUp() const { kill(static_cast<pid_t>(m_window.processId()), SIGHUP); }

    [[nodiscard]] QString path(const QString& name) const { return m_kept.filePath(name); }
    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

private:
    QTemporaryDir m_kept;
    standtest::StandProcess m_stand;
    QProcess m_window;
    QByteArray m_said;
};

} // namespace

TEST_F(WindowErrorOutput, ShowsAnExchangeAsItHappensWhenItIsVerbose)
{
    start("secret-of-the-shop", {u"--verbose"_s});
    EXPECT_TRUE(saysMeanwhile("http     POST /v2/partner/operation/receipt  200")) << said();
    EXPECT_TRUE(saysMeanwhile("\"receipt_number\": \"R-1\"")) << said();
}

TEST_F(WindowErrorOutput, TellsOfTroubleAsItHappensAndOfNothingElse)
{
    start("forgotten");
    EXPECT_TRUE(saysMeanwhile("error   [network]  Queue: the service refuses the credentials")) << said();
    EXPECT_THAT(said(), Not(HasSubstr("http ")));
    EXPECT_THAT(said(), Not(HasSubstr("info ")));
}

TEST_F(WindowErrorOutput, GoesOnInTheLogFileThatItsSettingsNameWhenItIsToldToReadThemAnew)
{
    start("forgotten", {u"--log-level"_s, u"info"_s});
    ASSERT_TRUE(saysMeanwhile("the service refuses the credentials")) << said();
    write(u"till.toml"_s, "[Till]\nlogFile = \"till.log\"\n");
    hangUp();
    EXPECT_TRUE(saysMeanwhile("info    [till]  The settings were read anew from ")) << said();
    QFile log(path(u"till.log"_s));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_THAT(log.readAll().toStdString(), HasSubstr("The settings were read anew"));
}

} // namespace windowtest
