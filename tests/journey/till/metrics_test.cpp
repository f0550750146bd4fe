#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <csignal>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

/// A data directory, and what a monitor is told of it.
class TillMetrics : public testing::Test
{
protected:
    ~TillMetrics() override { storage::setDataDirectory({}); }

    void fill() const
    {
        storage::setDataDirectory(directory);
        MessageQueue queue;
        const auto put = [&queue](const QString& receipt) {
            return queue.enqueue(u"kyrloyalty"_s, receipt,
                                 {{u"method"_s, u"POST"_s},
                                  {u"url"_s, QUrl(u"http://127.0.0.1:1/v2/payment-b2c"_s)},
                                  {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic aHVzaA=="_s}}},
                                  {u"body"_s, QByteArray(R"({"card":"2000000000017"})")}},
                                 u"2000000000017"_s);
        };
        queue.delivered(put(u"R-1"_s), {});
        queue.park(put(u"R-2"_s), {.code = 409, .error = u"2000000000017"_s});
        queue.failed(put(u"R-3"_s), {.code = 503, .error = u"HTTP 503"_s}, QDateTime::currentDateTime());
        put(u"R-4"_s);
        storage::setDataDirectory({});
    }

    [[nodiscard]] Ran metrics(const QStringList& more = {}) const
    {
        return run(QStringList{u"metrics"_s, u"--data-dir"_s, directory} + more);
    }
    [[nodiscard]] QJsonObject values() const
    {
        return QJsonDocument::fromJson(metrics({u"--json"_s}).out).object();
    }

    /// Lines that OpenMetrics does not allow, or not there.
    static QStringList faultsOf(const QByteArray& text)
    {
        static const QRegularExpression described(
            u"^# (?:TYPE (\\w+) (?:gauge|counter)|UNIT (\\w+_(\\w+)) \\3|"
            "HELP (\\w+) \\S.*)$"_s);
        static const QRegularExpression sample(
            u"^(\\w+?)(?:_total)?(?:\\{\\w+=\"\\w+\"(?:,\\w+=\"\\w+\")*\\})? -?\\d+(?:\\.\\d+)?$"_s);
        QStringList faults;
        QStringList lines = QString::fromUtf8(text).split(u'\n');
        if (lines.takeLast() != QString() || lines.takeLast() != u"# EOF"_s)
            faults.append(u"no end"_s);
        QString family;
        for (const QString& line : lines) {
            if (line.startsWith(u"# TYPE "_s))
                family = line.section(u' ', 2, 2);
            const auto match = (line.startsWith(u'#') ? described : sample).match(line);
            const QString name = line.startsWith(u'#') ? line.section(u' ', 2, 2) : match.captured(1);
            if (!match.hasMatch() || name != family)
                faults.append(line);
        }
        return faults;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
};

} // namespace

TEST_F(TillMetrics, TellHowTheQueueIsDoing)
{
    fill();
    const QJsonObject told = values();
    EXPECT_EQ(told[u"kyr_till_queue_messages{state=\"waiting\"}"_s].toInt(), 2);
    EXPECT_EQ(told[u"kyr_till_queue_messages{state=\"parked\"}"_s].toInt(), 1);
    EXPECT_GT(told[u"kyr_till_queue_oldest_age_seconds"_s].toDouble(), 0);
    EXPECT_LT(told[u"kyr_till_queue_oldest_age_seconds"_s].toDouble(), 60);
    EXPECT_EQ(told[u"kyr_till_attempts_last_day{outcome=\"delivered\"}"_s].toInt(), 1);
    EXPECT_EQ(told[u"kyr_till_attempts_last_day{outcome=\"rejected\"}"_s].toInt(), 1);
    EXPECT_EQ(told[u"kyr_till_attempts_last_day{outcome=\"failing\"}"_s].toInt(), 1);
    EXPECT_EQ(told[u"kyr_till_attempts_last_day{outcome=\"no_answer\"}"_s].toInt(-1), 0);
    const double now = static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000;
    EXPECT_NEAR(told[u"kyr_till_last_delivery_timestamp_seconds"_s].toDouble(), now, 60);
    EXPECT_NEAR(told[u"kyr_till_measured_timestamp_seconds"_s].toDouble(), now, 60);
    EXPECT_EQ(told[u"kyr_till_credentials_refused"_s].toInt(-1), 0);
    EXPECT_EQ(told[u"kyr_till_store_size_bytes{file=\"store\"}"_s].toInteger(),
              QFileInfo(directory + u"/till.sqlite"_s).size());
    EXPECT_GE(told[u"kyr_till_store_size_bytes{file=\"log\"}"_s].toInt(-1), 0);
}

TEST_F(TillMetrics, TellThatTheCredentialsAreRefused)
{
    fill();
    storage::setDataDirectory(directory);
    const QDateTime later = QDateTime::currentDateTime().addSecs(60);
    MessageQueue().refused(4, {.code = 401, .error = u"HTTP 401"_s}, later, later);
    EXPECT_EQ(values()[u"kyr_till_credentials_refused"_s].toInt(), 1);
}

TEST_F(TillMetrics, AreOpenMetricsAndTellNothingOfACustomer)
{
    fill();
    const Ran ran = metrics();
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(faultsOf(ran.out), QStringList());
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr("# TYPE kyr_till_queue_messages gauge\n# HELP kyr_till_queue_messages "),
                      HasSubstr("\nkyr_till_queue_messages{state=\"parked\"} 1\n"),
                      HasSubstr("\n# UNIT kyr_till_store_size_bytes bytes\n"), Not(HasSubstr("R-1")),
                      Not(HasSubstr("0017")), Not(HasSubstr("aHVzaA"))));
}

TEST_F(TillMetrics, OfAFolderInWhichNothingWasKeptBeginNothing)
{
    QDir().mkdir(directory);
    QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const Ran ran = metrics();
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(faultsOf(ran.out), QStringList());
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("\nkyr_till_queue_messages{state=\"waiting\"} 0\n"));
    EXPECT_THAT(ran.out.toStdString(), Not(HasSubstr("\nkyr_till_last_delivery_timestamp_seconds ")));
    EXPECT_TRUE(QDir(directory).isEmpty());
    EXPECT_EQ(run({u"metrics"_s, u"--data-dir"_s, files.path(u"none"_s)}).status, 2);
}

TEST_F(TillMetrics, AreKeptInAFileByTheDelivery)
{
    fill();
    const QString file = files.path(u"till.prom"_s);
    QProcess service;
    start(service, {u"deliver"_s, u"--data-dir"_s, directory, u"--metrics-file"_s, file, u"--config"_s,
                    files.write(u"till.toml"_s, "[Till]\nmetricsFile = \"other.prom\"\n")});
    while (!QFile::exists(file) && service.state() != QProcess::NotRunning)
        service.waitForReadyRead(50);
    kill(static_cast<pid_t>(service.processId()), SIGTERM);
    ASSERT_TRUE(service.waitForFinished(patienceMs));
    EXPECT_EQ(service.readAllStandardError(), "");
    const QByteArray text = contentOf(file);
    EXPECT_EQ(faultsOf(text), QStringList());
    EXPECT_THAT(text.toStdString(), AllOf(HasSubstr("\nkyr_till_queue_messages{state=\"parked\"} 1\n"),
                                          HasSubstr("\n# TYPE kyr_till_service_commits counter\n"),
                                          testing::ContainsRegex("\nkyr_till_service_commits_total [1-9]")));
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(file).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644U);
    EXPECT_FALSE(QFile::exists(files.path(u"other.prom"_s))) << "the option goes over the settings";
    EXPECT_EQ(QDir(files.path({})).entryList({u"till.prom*"_s}), QStringList{u"till.prom"_s});
}

TEST_F(TillMetrics, ThatCannotBeWrittenStopNoDelivery)
{
    fill();
    QProcess service;
    start(service, {u"deliver"_s, u"--data-dir"_s, directory, u"--metrics-file"_s, u"/nowhere/till.prom"_s});
    QByteArray said;
    while (!said.contains('\n') && service.state() != QProcess::NotRunning) {
        service.setReadChannel(QProcess::StandardError);
        service.waitForReadyRead(patienceMs);
        said += service.readAllStandardError();
    }
    EXPECT_THAT(said.toStdString(), HasSubstr("/nowhere/till.prom: the metrics cannot be written: "));
    kill(static_cast<pid_t>(service.processId()), SIGTERM);
    ASSERT_TRUE(service.waitForFinished(patienceMs));
    EXPECT_EQ(service.exitCode(), 0);
    EXPECT_EQ(service.readAllStandardError(), "") << "said once";
}

} // namespace tilltest
