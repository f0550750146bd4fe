#include "tests/pages/stagings.h"
#include "tests/support/leftout.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace pagetest {

namespace {

QList<Block> blocksOf(const QString& page) { return blocksIn(contentOf(page), page); }

QString named(const QString& page, const QString& heading) { return page + u": "_s + heading; }

QList<Block> blocksFor(const Section& section)
{
    QList<Block> blocks;
    for (const Block& block : blocksOf(section.page)) {
        if (block.heading == section.heading && block.isForTests())
            blocks.append(block);
    }
    return blocks;
}

std::string together(const QStringList& lines) { return lines.join(u'\n').toStdString(); }

/// Expects the lines of the page among what was said, in that order.
void expectSaid(const Block& block, const QString& said)
{
    QStringList rest = comparable(said);
    for (const QString& line : comparable(block.lines.join(u'\n'))) {
        const auto at = rest.indexOf(QRegularExpression(u".*"_s + QRegularExpression::escape(line)));
        EXPECT_GE(at, 0) << block.place().toStdString() << ": " << line.toStdString() << "\nnot said in:\n"
                         << said.toStdString();
        rest = rest.mid(at + 1);
    }
}

/// Expects the answers of the page: all of what a "console" says, and the last that is said in a "sh" block.
void expectAnswers(const Block& block, const QStringList& said)
{
    const QList<Exchange> exchanges = exchangesOf(block);
    ASSERT_EQ(said.size(), exchanges.size() + 1) << block.place().toStdString() << ": a command failed:\n"
                                                 << together(said);
    for (qsizetype i = 0; i < exchanges.size(); ++i) {
        const QStringList answer = comparable(exchanges[i].answer.join(u'\n'));
        QStringList seen = comparable(said[i]);
        if (block.language == u"sh")
            seen = seen.last(qMin(answer.size(), seen.size()));
        EXPECT_EQ(together(seen), together(answer))
            << block.place().toStdString() << ": " << together(exchanges[i].commands) << "\nsaid:\n"
            << said[i].toStdString();
    }
}

class Typed : public testing::TestWithParam<Section>
{};

} // namespace

TEST_P(Typed, AnswersAsThePageSays)
try {
    const Section& section = GetParam();
    const QList<Block> blocks = blocksFor(section);
    ASSERT_EQ(blocks.size(), section.blocks.size()) << "the section has other blocks than are staged";
    World world;
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        const QString said = section.blocks[i](world);
        if (blocks[i].language == u"text")
            expectSaid(blocks[i], said);
        else
            expectAnswers(blocks[i], world.typeBlock(blocks[i]));
    }
    if (section.after)
        section.after(world);
} catch (const CannotBeMade& reason) {
    LEAVE_OUT(reason.what());
}

INSTANTIATE_TEST_SUITE_P(Pages, Typed, testing::ValuesIn(sections()), [](const auto& section) {
    static const QRegularExpression other(u"\\W+"_s);
    return named(section.param.page, section.param.heading).replace(other, u"_"_s).toStdString();
});

TEST(Pages, EveryBlockOfCommandsIsTypedOrSaysWhyNot)
{
    QStringList staged;
    for (const Section& section : sections())
        staged.append(named(section.page, section.heading));
    for (const QString& page : pages()) {
        for (const Block& block : blocksOf(page)) {
            EXPECT_TRUE(!block.isForTests() || staged.contains(named(page, block.heading)))
                << block.place().toStdString() << ": nobody types this block. Stage the section \""
                << block.heading.toStdString()
                << "\" in tests/pages, or say before it: <!-- not typed by the tests: WHY -->";
        }
    }
}

TEST(Pages, EveryBlockSaysWhatItIs)
{
    const QStringList known{u"sh"_s,   u"console"_s, u"text"_s, u"till"_s,  u"plain"_s,
                            u"json"_s, u"csv"_s,     u"toml"_s, u"cmake"_s, u"cpp"_s};
    for (const QString& page : pages()) {
        EXPECT_EQ(together(indentedIn(contentOf(page), page)), "")
            << "use fences, and say what is between them";
        for (const Block& block : blocksOf(page))
            EXPECT_TRUE(known.contains(block.language)) << block.place().toStdString();
    }
}

TEST(Pages, TheReceiptsOfTheFirstStepsCanBePlayed)
{
    World world;
    int played = 0;
    for (const Block& block : blocksOf(u"docs/getting-started.md"_s)) {
        if (block.language != u"json" && block.language != u"till")
            continue;
        world.write(u"typed"_s, block.lines.join(u'\n'));
        const bool isShell = block.language == u"till";
        const QString said =
            world.type((isShell ? u"till shell < typed"_s : u"till run typed"_s) + u" && echo well"_s);
        EXPECT_THAT(said.toStdString(), testing::HasSubstr(isShell ? "Покупатель: " : "Карта заблокирована"));
        EXPECT_THAT(said.toStdString(), testing::EndsWith("well\n"));
        ++played;
    }
    EXPECT_EQ(played, 2);
}

TEST(Pages, EveryConfigurationOnThemIsTaken)
{
    const World world;
    world.write(u"password"_s, u"secret\n"_s);
    int taken = 0;
    for (const QString& page : pages()) {
        for (const Block& block : blocksOf(page)) {
            if (block.language != u"toml")
                continue;
            world.write(u"till.toml"_s, block.lines.join(u'\n'));
            EXPECT_EQ(world.type(u"till receipts list --config till.toml --data-dir data"_s).toStdString(),
                      "no receipts yet\n")
                << block.place().toStdString();
            ++taken;
        }
    }
    EXPECT_GE(taken, 3);
}

TEST(Pages, WhatTheyQuoteIsInTheSources)
{
    QString sources;
    for (QDirIterator at(QStringLiteral(KYR_SOURCE_DIR "/till/checkout"), {u"*.h"_s, u"*.cpp"_s});
         at.hasNext();) {
        QFile source(at.next());
        ASSERT_TRUE(source.open(QIODevice::ReadOnly));
        sources += QString::fromUtf8(source.readAll()).simplified();
    }
    int quoted = 0;
    for (const Block& block : blocksOf(u"CONTRIBUTING.md"_s)) {
        if (block.language != u"cpp")
            continue;
        EXPECT_TRUE(sources.contains(block.lines.join(u'\n').simplified())) << block.place().toStdString();
        ++quoted;
    }
    EXPECT_EQ(quoted, 3);
}

TEST(Pages, EveryCommandOfTheTillThatTheyNameHasItsOptions)
{
    static const QRegularExpression inText(u"`till ([a-z][a-z-]*(?: [a-z]+)?)([^`]*)`"_s);
    static const QRegularExpression option(u"--[a-z-]+"_s);
    QHash<QString, QSet<QString>> named;
    for (const QString& page : pages()) {
        for (auto at = inText.globalMatch(contentOf(page)); at.hasNext();) {
            const auto match = at.next();
            QSet<QString>& options = named[match.captured(1)];
            for (auto each = option.globalMatch(match.captured(2)); each.hasNext();)
                options.insert(each.next().captured());
        }
    }
    named.remove(u"help"_s); // explains itself in no other way than all
    EXPECT_GE(named.size(), 15);
    const World world;
    for (auto command = named.cbegin(); command != named.cend(); ++command) {
        const QString help = world.type(u"till help "_s + command.key());
        EXPECT_TRUE(help.startsWith(u"Usage: till "_s + command.key())) << help.toStdString();
        for (const QString& each : command.value())
            EXPECT_TRUE(help.contains(QRegularExpression(each + u"[ ,]"_s)))
                << command.key().toStdString() << ' ' << each.toStdString();
    }
}

TEST(PageBlocks, HaveTheirSectionAndTheirReason)
{
    const QList<Block> blocks = blocksIn(u"# A\n```sh\n# no heading\n```\n## B b\n"
                                         "<!-- not typed by the tests: needs root -->\n  ```sh\n  ls\n  ```\n"
                                         "<!-- not typed by the tests -->\n```sh\n```\n"_s,
                                         u"p.md"_s);
    ASSERT_EQ(blocks.size(), 3);
    EXPECT_EQ(blocks[0].heading, u"A"_s);
    EXPECT_EQ(blocks[0].place(), u"p.md:2"_s);
    EXPECT_EQ(blocks[1].heading, u"B b"_s);
    EXPECT_EQ(blocks[1].lines, QStringList{u"ls"_s});
    EXPECT_FALSE(blocks[1].isForTests());
    EXPECT_TRUE(blocks[2].isForTests()) << "a reason is wanted";
    EXPECT_EQ(indentedIn(u"- a\n\n      ls\n\n```sh\n\n    x\n```\n"_s, u"p.md"_s), QStringList{u"p.md:3"_s});
}

} // namespace pagetest

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv); // for QProcess
    return RUN_ALL_TESTS();
}
