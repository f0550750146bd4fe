#include "tests/stand/standprocess.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace {

/// A block of a page between fences, without its indent.
struct Block
{
    QString language;
    QStringList lines;
    int line;     ///< of the page, where it begins
    bool isTyped; ///< false: the page says that the tests leave it alone
};

QList<Block> blocksOf(const QString& page)
{
    QFile file(QStringLiteral(KYR_SOURCE_DIR "/") + page);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << page.toStdString();
    static const QRegularExpression fence(u"^( *)```(\\w*)$"_s);
    QList<Block> blocks;
    bool isInside = false;
    qsizetype indent = 0;
    QString before;
    int number = 0;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        ++number;
        const auto match = fence.match(line);
        if (match.hasMatch() && !isInside)
            blocks.append(
                {match.captured(2), {}, number, !before.contains(u"<!-- not typed by the tests -->"_s)});
        else if (!match.hasMatch() && isInside)
            blocks.last().lines.append(line.sliced(qMin(indent, line.size())));
        if (match.hasMatch()) {
            isInside = !isInside;
            indent = match.capturedLength(1);
        }
        before = line;
    }
    EXPECT_FALSE(isInside) << page.toStdString() << " ends within a block";
    return blocks;
}

/// Commands, and what the page says that the last of them answers.
struct Exchange
{
    QStringList commands;
    QStringList answer;
};

QList<Exchange> exchangesOf(const Block& block)
{
    QList<Exchange> exchanges{{}};
    for (const QString& line : block.lines) {
        const bool isAnswer = line.startsWith(u"# "_s);
        if (!isAnswer && !exchanges.last().answer.isEmpty())
            exchanges.append(Exchange{});
        if (isAnswer)
            exchanges.last().answer.append(line.sliced(2));
        else
            exchanges.last().commands.append(line);
    }
    return exchanges;
}

/// With room for what is different each time.
QStringList comparable(const QString& text)
{
    static const QRegularExpression time(u"\\d{4}-\\d\\d-\\d\\dT[\\d:.]+Z"_s);
    return QString(text).replace(time, u"TIME"_s).split(u'\n', Qt::SkipEmptyParts);
}

/// What the program says on both of its outputs, for that input.
QString outputOf(const QString& program, const QStringList& arguments, const QString& folder,
                 const QString& input = {})
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.write(input.toUtf8());
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished()) << process.errorString().toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    const QString output = QString::fromUtf8(process.readAll());
    EXPECT_TRUE(program == u"bash"_s || process.exitCode() == 0) << output.toStdString();
    return output;
}

} // namespace

TEST(Pages, TheCommandsOfTheServicesPageAnswerWhatItSays)
{
    int typed = 0;
    for (const Block& block : blocksOf(u"docs/service.md"_s)) {
        if (block.language != u"sh"_s || !block.isTyped)
            continue;
        standtest::StandProcess stand;
        const QString url = QString::fromUtf8(stand.url());
        const QTemporaryDir folder;
        for (const Exchange& exchange : exchangesOf(block)) {
            QString script = exchange.commands.join(u'\n');
            script.replace(u"http://127.0.0.1:8080"_s, url);
            script.prepend(u"curl() { command curl --silent --show-error --write-out '\\n' \"$@\"; }\n"_s);
            EXPECT_FALSE(script.contains(u" -d "_s)) << "curl would say that it sends a form";
            const QStringList output = comparable(outputOf(u"bash"_s, {u"-c"_s, script}, folder.path()));
            const QStringList answer = comparable(exchange.answer.join(u'\n'));
            EXPECT_EQ(output.last(qMin(answer.size(), output.size())).join(u'\n').toStdString(),
                      answer.join(u'\n').toStdString())
                << "docs/service.md:" << block.line << ": " << output.join(u'\n').toStdString();
            ++typed;
        }
    }
    EXPECT_GE(typed, 8);
}

TEST(Pages, TheReceiptsOfTheFirstStepsCanBePlayed)
{
    const QTemporaryDir folder;
    const QString till = QStringLiteral(KYR_PROGRAMS "/till");
    int played = 0;
    for (const Block& block : blocksOf(u"docs/getting-started.md"_s)) {
        if (block.language == u"json"_s) {
            QFile scenario(folder.filePath(u"scenario.json"_s));
            ASSERT_TRUE(scenario.open(QIODevice::WriteOnly));
            scenario.write(block.lines.join(u'\n').toUtf8());
            scenario.close();
            outputOf(till, {u"run"_s, scenario.fileName()}, folder.path());
        } else {
            const QString typed = block.lines.join(u'\n') + u"\nquit\n"_s;
            EXPECT_THAT(outputOf(till, {u"shell"_s}, folder.path(), typed).toStdString(),
                        testing::HasSubstr("Покупатель: "));
        }
        ++played;
    }
    EXPECT_EQ(played, 2);
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv); // for QProcess
    return RUN_ALL_TESTS();
}
