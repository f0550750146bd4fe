#include "host/core/terminalfrontend.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using core::BasicDialog;

namespace {

class Terminal : public testing::Test
{
protected:
    template <class Ask>
    auto run(QString typed, Ask ask)
    {
        m_printed.clear();
        QTextStream in(&typed);
        QTextStream out(&m_printed);
        TerminalFrontend terminal(in, out);
        auto result = ask(terminal);
        m_unread = in.readAll();
        return result;
    }

    /// The index chosen when the cashier types these lines.
    int choice(const QString& typed, bool closable = true)
    {
        ChoiceRequest request;
        request.title = tr::Tr(u"title"_s, u"Карты клиента"_s);
        request.message = tr::Tr(u"message"_s, u"Выберите карту"_s);
        request.comment = tr::Tr(u"comment"_s, u"Найдено 2"_s);
        request.items = tr::TrList(QList<QString>{u"…0017 Анна"_s, u"…0024 %1"_s});
        request.closable = closable;
        return run(typed,
                   [&request](TerminalFrontend& terminal) { return terminal.chooseFromList(request); });
    }

    BasicDialog::Result answer(const QString& typed)
    {
        return run(typed, [this](TerminalFrontend& terminal) { return terminal.inputText(m_question); });
    }

    TextInputRequest m_question{tr::Tr(u"title"_s, u"Поиск"_s), tr::Tr(u"message"_s, u"Телефон"_s)};
    QString m_printed;
    QString m_unread;
};

TEST_F(Terminal, PrintsAChoiceAsNumberedLines)
{
    choice(u"1\n"_s);
    EXPECT_EQ(m_printed, u"Карты клиента\nВыберите карту\n  1. …0017 Анна\n  2. …0024 %1\nНайдено 2\n"
                         "Номер строки (пусто — закрыть): "_s);
}

TEST_F(Terminal, PrintsNothingThatATerminalObeys)
{
    ChoiceRequest request;
    request.title = tr::Tr::untranslated(u"a\x1b[2J"_s);
    request.message = tr::Tr::untranslated(u"b\nc\u202E"_s);
    request.items = tr::TrList(QList<QString>{u"d\ne\a"_s});
    run(u"1\n"_s, [&request](TerminalFrontend& terminal) { return terminal.chooseFromList(request); });
    EXPECT_EQ(m_printed, u"a\uFFFD[2J\nb\nc\uFFFD\n  1. d\uFFFDe\uFFFD\n"
                         "Номер строки (пусто — закрыть): "_s);
    m_question.message = tr::Tr::untranslated(u"f\r"_s);
    answer(u"1\n"_s);
    EXPECT_EQ(m_printed, u"Поиск\nf\uFFFD: "_s);
}

TEST_F(Terminal, TakesTheNumberOfAnItem)
{
    EXPECT_EQ(choice(u"1\n"_s), 0);
    EXPECT_EQ(choice(u" 2 \n"_s), 1);
    EXPECT_EQ(choice(u"2"_s), 1) << "the last line may lack its end";
}

TEST_F(Terminal, AsksAgainUntilTheNumberIsOneOfTheItems)
{
    for (const QString& wrong : {u"0"_s, u"3"_s, u"-1"_s, u"x"_s, u"1x"_s, u"99999999999"_s}) {
        EXPECT_EQ(choice(wrong + u"\n2\nrest"_s), 1);
        EXPECT_EQ(m_printed.count(u"Введите число от 1 до 2\n"_s), 1);
        EXPECT_EQ(m_unread, u"rest"_s);
    }
}

TEST_F(Terminal, ClosesAChoiceOnAnEmptyLine)
{
    EXPECT_EQ(choice(u"\n1\n"_s), -1);
    EXPECT_EQ(choice(u"  \n1\n"_s), -1);
}

TEST_F(Terminal, IgnoresAnEmptyLineWhenTheChoiceMustNotBeClosed)
{
    EXPECT_EQ(choice(u"\n\n2\n"_s, false), 1);
    EXPECT_EQ(m_printed.count(u"Номер строки: "_s), 3);
    EXPECT_FALSE(m_printed.contains(u"закрыть"_s));
}

TEST_F(Terminal, ClosesAChoiceAtTheEndOfTheInput)
{
    EXPECT_EQ(choice({}), -1);
    EXPECT_EQ(choice(u"7\n"_s), -1);
    EXPECT_EQ(choice({}, false), -1);
}

TEST_F(Terminal, PrintsTheQuestionAndTakesTheLineAsTyped)
{
    const auto result = answer(u"  Анна  Петрова \nrest"_s);
    EXPECT_FALSE(result.canceled());
    EXPECT_EQ(result.getData(), u"  Анна  Петрова "_s);
    EXPECT_EQ(m_printed, u"Поиск\nТелефон: "_s);
    EXPECT_EQ(m_unread, u"rest"_s);
}

TEST_F(Terminal, DropsTheBlanksAroundATextThatIsToBeTrimmed)
{
    m_question.trimmed = true;
    EXPECT_EQ(answer(u"  Анна  Петрова \n"_s).getData(), u"Анна  Петрова"_s);
}

TEST_F(Terminal, MakesTheLettersCapitalWhenAsked)
{
    m_question.uppercased = true;
    EXPECT_EQ(answer(u"анна k1\n"_s).getData(), u"АННА K1"_s);
}

TEST_F(Terminal, TakesAnEmptyTextWhereItIsAllowed)
{
    const auto result = answer(u"\n"_s);
    EXPECT_FALSE(result.canceled());
    EXPECT_EQ(result.getData(), QString());
}

TEST_F(Terminal, TakesAnEmptyTextThatIsNotAllowedForACancellation)
{
    m_question.emptyAllowed = false;
    EXPECT_TRUE(answer(u"\n7\n"_s).canceled());
}

TEST_F(Terminal, AsksAgainWhenNeitherEmptyNorCancelled)
{
    m_question.emptyAllowed = false;
    m_question.cancelAllowed = false;
    const auto result = answer(u"\n\n7\n"_s);
    EXPECT_FALSE(result.canceled());
    EXPECT_EQ(result.getData(), u"7"_s);
    EXPECT_EQ(m_printed.count(u"Телефон: "_s), 3);
}

TEST_F(Terminal, TakesBlanksForAnEmptyTextWhenTheyAreTrimmed)
{
    m_question.emptyAllowed = false;
    m_question.cancelAllowed = false;
    m_question.trimmed = true;
    EXPECT_EQ(answer(u"   \n7\n"_s).getData(), u"7"_s);
    m_question.trimmed = false;
    EXPECT_EQ(answer(u"   \n7\n"_s).getData(), u"   "_s);
}

TEST_F(Terminal, CancelsATextAtTheEndOfTheInput)
{
    EXPECT_TRUE(answer({}).canceled());
    m_question.emptyAllowed = false;
    m_question.cancelAllowed = false;
    EXPECT_TRUE(answer(u"\n"_s).canceled());
}

TEST_F(Terminal, TakesAHiddenTextFromAnInputThatIsNoTerminal)
{
    m_question.hidden = true;
    EXPECT_EQ(answer(u"1234\n"_s).getData(), u"1234"_s);
    EXPECT_FALSE(m_printed.contains(u"1234"_s));
}

} // namespace
