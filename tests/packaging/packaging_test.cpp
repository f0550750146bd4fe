#include "stand/program/options.h"
#include "till/audit/metrics.h"
#include "till/cli/options.h"
#include "till/commands.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

namespace {

const QString packaging = QStringLiteral(KYR_PACKAGING_DIR);
const QString pages = QStringLiteral(KYR_PAGES_DIR);

QString contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// What the manual says of a command: from its entry to that of the next.
QString manualOf(const till::Command& command)
{
    const QString manual = contentOf(pages + u"/till.1"_s);
    const qsizetype begin = manual.indexOf(u"\n.It Cm %1"_s.arg(command.name));
    const qsizetype end = manual.indexOf(u"\n.It Cm "_s, begin + 1);
    return begin < 0 ? QString() : manual.sliced(begin, (end < 0 ? manual.size() : end) - begin);
}

/// What bash offers in place of the last of these words.
std::vector<std::string> completions(const QStringList& words)
{
    static const QString script = u"source \"$0\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); \"_$1\"; "
                                  "for offer in \"${COMPREPLY[@]}\"; do echo \"$offer\"; done"_s;
    QProcess bash;
    bash.start(u"bash"_s, QStringList{u"--norc"_s, u"-euc"_s, script, pages + u'/' + words.first()} + words);
    EXPECT_TRUE(bash.waitForFinished());
    EXPECT_EQ(bash.exitCode(), 0) << bash.readAllStandardError().toStdString();
    std::vector<std::string> offers;
    for (const QByteArray& line : bash.readAllStandardOutput().split('\n')) {
        if (!line.isEmpty())
            offers.push_back(line.toStdString());
    }
    return offers;
}

} // namespace

TEST(Packaging, TheManualNamesEveryCommandWithItsOptions)
{
    for (const till::Command& command : till::commands()) {
        const QString manual = manualOf(command);
        EXPECT_FALSE(manual.isEmpty()) << command.name.toStdString();
        for (const till::OptionKind& option : command.options)
            EXPECT_TRUE(manual.contains(u"Fl \\-%1"_s.arg(option.name)))
                << command.name.toStdString() << " --" << option.name.toStdString();
    }
}

TEST(Packaging, TheManualNamesEveryGeneralOptionAndVariable)
{
    const QString manual = contentOf(pages + u"/till.1"_s);
    for (const till::OptionKind& option : till::generalOptions()) {
        EXPECT_TRUE(manual.contains(u"Fl \\-%1"_s.arg(option.name))) << option.name.toStdString();
        EXPECT_TRUE(option.variable.isEmpty() || manual.contains(u".It Ev %1\n"_s.arg(option.variable)))
            << option.variable.toStdString();
    }
    for (const till::Variable& variable : till::furtherVariables())
        EXPECT_TRUE(manual.contains(u".It Ev %1\n"_s.arg(variable.name))) << variable.name.toStdString();
}

TEST(Packaging, TheManualNamesNoCommandThatIsNone)
{
    const QStringList lines = contentOf(pages + u"/till.1"_s).split(u'\n');
    qsizetype named = 0;
    for (const QString& line : lines)
        named += line.startsWith(u".It Cm "_s) ? 1 : 0;
    EXPECT_EQ(named, till::commands().size());
}

TEST(Packaging, CompletionOffersEveryCommand)
{
    for (const till::Command& command : till::commands()) {
        QStringList words = command.name.split(u' ');
        const std::string last = words.last().toStdString();
        words.last().clear();
        EXPECT_THAT(completions(QStringList{u"till"_s} + words), Contains(last));
        EXPECT_THAT(completions(QStringList{u"till"_s, u"help"_s} + words), Contains(last));
    }
}

TEST(Packaging, CompletionOffersEveryOptionOfACommandAndNoOther)
{
    for (const till::Command& command : till::commands()) {
        std::vector<std::string> expected;
        for (const till::OptionKind& option : till::generalOptions() + command.options)
            expected.push_back("--" + option.name.toStdString());
        EXPECT_THAT(completions(QStringList{u"till"_s} + command.name.split(u' ') + QStringList{u"--"_s}),
                    testing::UnorderedElementsAreArray(expected))
            << command.name.toStdString();
    }
}

TEST(Packaging, CompletionKnowsWhatAnOptionTakes)
{
    EXPECT_THAT(completions({u"till"_s, u"--log-level"_s, u"w"_s}), ElementsAre("warning"));
    EXPECT_THAT(completions({u"till"_s, u"--config"_s, packaging + u"/man/till."_s}),
                ElementsAre((packaging + u"/man/till.1.in"_s).toStdString()));
    EXPECT_THAT(completions({u"till"_s, u"--data-dir"_s, packaging + u"/m"_s}),
                ElementsAre((packaging + u"/man"_s).toStdString()));
    EXPECT_THAT(completions({u"till"_s, u"--data-dir"_s, u"queue"_s, u"queue"_s, u"l"_s}),
                ElementsAre("list"))
        << "an option's value is no command";
    EXPECT_THAT(completions({u"till"_s, u"queue"_s, u"list"_s, u"--limit"_s, u""_s}), testing::IsEmpty());
}

TEST(Packaging, TheManualOfTheStandNamesEveryOptionAndFault)
{
    const QString manual = contentOf(pages + u"/stand.1"_s);
    for (const QCommandLineOption& option : stand::optionKinds())
        EXPECT_TRUE(manual.contains(u"Fl \\-%1"_s.arg(option.names().constLast())))
            << option.names().constLast().toStdString();
    for (const QString& fault : stand::faultNames())
        EXPECT_TRUE(manual.contains(u"\n  %1 "_s.arg(fault))) << fault.toStdString();
}

TEST(Packaging, CompletionOfTheStandOffersEveryOptionAndFilesWhereOneIsTaken)
{
    std::vector<std::string> expected;
    for (const QCommandLineOption& option : stand::optionKinds())
        expected.push_back("--" + option.names().constLast().toStdString());
    EXPECT_THAT(completions({u"stand"_s, u"--"_s}), testing::UnorderedElementsAreArray(expected));
    EXPECT_THAT(completions({u"stand"_s, u"--faults"_s, packaging + u"/man/stand."_s}),
                ElementsAre((packaging + u"/man/stand.1.in"_s).toStdString()));
    EXPECT_THAT(completions({u"stand"_s, u"--port"_s, u""_s}), testing::IsEmpty());
}

TEST(Packaging, EveryServiceKeepsItsSecretsToItself)
{
    const QStringList common =
        contentOf(packaging + u"/systemd/kyr-loyalty-.service.d/10-common.conf"_s).split(u'\n');
    EXPECT_GE(common.indexOf(u"[Service]"_s), 0);
    for (const QString& line :
         {u"UMask=0077"_s, u"LimitCORE=0"_s, u"StateDirectoryMode=0700"_s, u"LogsDirectoryMode=0700"_s})
        EXPECT_GT(common.indexOf(line), common.indexOf(u"[Service]"_s)) << line.toStdString();
    // The drop-in is that of the units whose names begin so; none takes it back.
    const QDir units(packaging + u"/systemd"_s);
    const QStringList services = units.entryList({u"*.service.in"_s});
    EXPECT_GE(services.size(), 2);
    for (const QString& service : services) {
        EXPECT_TRUE(service.startsWith(u"kyr-loyalty-"_s)) << service.toStdString();
        EXPECT_FALSE(contentOf(units.filePath(service)).contains(u"LimitCORE"_s)) << service.toStdString();
    }
}

TEST(Packaging, TheLogsThatAreRotatedLieWhereTheServicesMayWriteThem)
{
    const QString rotated = contentOf(packaging + u"/logrotate/kyr-loyalty-till"_s);
    const QString common = contentOf(packaging + u"/systemd/kyr-loyalty-.service.d/10-common.conf"_s);
    const QString user = contentOf(packaging + u"/sysusers/kyr-loyalty.conf"_s);
    EXPECT_TRUE(common.contains(u"\nLogsDirectory=kyr-loyalty\n"_s));
    EXPECT_TRUE(rotated.contains(u"\n/var/log/kyr-loyalty/*.log {\n"_s));
    EXPECT_TRUE(user.contains(u"\nu kyr-loyalty "_s));
    EXPECT_TRUE(rotated.contains(u"\n    su kyr-loyalty kyr-loyalty\n"_s));
    EXPECT_EQ(contentOf(packaging + u"/debian/conffiles"_s), u"/etc/logrotate.d/kyr-loyalty-till\n"_s);
}

namespace {

/// The rest of each line that begins with that key, after the key.
QStringList valuesOf(const QString& text, const QString& key)
{
    QStringList values;
    QRegularExpression lines(u"^ *(?:- )?%1: (?:>-\\n)?((?:.|\\n {10,})*)$"_s.arg(key),
                             QRegularExpression::MultilineOption);
    for (const auto& match : lines.globalMatch(text))
        values.append(match.captured(1).simplified());
    return values;
}

const QString alertRules = contentOf(packaging + u"/prometheus/kyr-loyalty-till.rules.yml"_s);
const QString operations = contentOf(packaging + u"/../docs/operations.md"_s);

} // namespace

TEST(Packaging, TheAlertsAreOnMetricsThatThereAre)
{
    till::Measures some;
    some.health.lastDelivered = QDateTime::currentDateTimeUtc();
    some.sizes = {{u"store"_s, 1}};
    till::Measures ofShop = some;
    ofShop.of = u"shop"_s;
    const QJsonObject samples =
        till::metricsJson(till::metricsOf(some) + till::metricsOf(ofShop) + till::ownMetrics());
    const QStringList known = samples.keys();
    const QStringList expressions = valuesOf(alertRules, u"expr"_s);
    ASSERT_EQ(expressions.size(), valuesOf(alertRules, u"alert"_s).size());
    static const QRegularExpression selector(u"\\b(kyr_\\w+)(\\{[^}]*\\})?"_s);
    for (const QString& expression : expressions) {
        EXPECT_TRUE(selector.match(expression).hasMatch()) << expression.toStdString();
        for (const auto& match : selector.globalMatch(expression)) {
            const QString name = match.captured(0);
            const auto isOne = [&name](const QString& sample) {
                return sample == name || sample.startsWith(name + u'{');
            };
            EXPECT_TRUE(std::any_of(known.begin(), known.end(), isOne)) << name.toStdString();
        }
    }
}

TEST(Packaging, EachAlertIsOnThePageThatSaysWhatToDo)
{
    const QStringList alerts = valuesOf(alertRules, u"alert"_s);
    ASSERT_GT(alerts.size(), 5);
    for (const QString& alert : alerts)
        EXPECT_TRUE(operations.contains(u"\n| %1 | "_s.arg(alert))) << alert.toStdString();
    QStringList anchors;
    static const QRegularExpression heading(u"^#+ (.*)$"_s, QRegularExpression::MultilineOption);
    for (const auto& match : heading.globalMatch(operations))
        anchors.append(u"docs/operations.md#"_s + match.captured(1).toLower().replace(u' ', u'-'));
    const QStringList named = valuesOf(alertRules, u"page"_s);
    EXPECT_EQ(named.size(), alerts.size());
    for (const QString& page : named)
        EXPECT_TRUE(anchors.contains(page)) << page.toStdString();
}

TEST(Packaging, ThePageTellsOfEveryMetric)
{
    for (const till::Metric& metric : till::metricsOf({}) + till::ownMetrics())
        EXPECT_TRUE(operations.contains(u"\n| `%1"_s.arg(metric.name))) << metric.name.toStdString();
}
