#include "host/core/terminalfrontend.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <future>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using testing::EndsWith;

namespace {

/// A terminal in place of standard input, with the test at its keyboard and screen.
class SecretAtTheTerminal : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(openpty(&m_keyboard, &m_terminal, nullptr, nullptr, nullptr), 0)
            << "this machine gives no pseudo-terminals: is /dev/pts mounted?";
        m_formerInput = dup(STDIN_FILENO);
        ASSERT_EQ(dup2(m_terminal, STDIN_FILENO), STDIN_FILENO);
        m_in = fdopen(dup(m_terminal), "r");
        m_out = fdopen(dup(m_terminal), "w");
    }

    void TearDown() override
    {
        close(m_keyboard); // hangs up: whoever still reads finds the end of the input
        if (m_asking.valid())
            m_asking.wait();
        if (m_formerInput >= 0) {
            dup2(m_formerInput, STDIN_FILENO);
            close(m_formerInput);
        }
        close(m_terminal);
        for (FILE* stream : {m_in, m_out}) {
            if (stream)
                static_cast<void>(fclose(stream));
        }
    }

    void ask(bool hidden)
    {
        m_asking = std::async(std::launch::async, [this, hidden] {
            QTextStream in(m_in);
            QTextStream out(m_out);
            TextInputRequest request({}, tr::Tr(u"code"_s, u"Code"_s));
            request.hidden = hidden;
            return TerminalFrontend(in, out).inputText(request).getData();
        });
    }

    void type(const std::string& text)
    {
        ASSERT_EQ(write(m_keyboard, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// What is on the screen once it ends with `end`, or after ten seconds.
    std::string screenUntil(const std::string& end)
    {
        while (!QString::fromStdString(m_screen).endsWith(QString::fromStdString(end))) {
            pollfd screen{.fd = m_keyboard, .events = POLLIN, .revents = 0};
            std::array<char, 256> buffer{};
            if (poll(&screen, 1, 10'000) != 1)
                break;
            const ssize_t length = read(m_keyboard, buffer.data(), buffer.size());
            if (length <= 0)
                break;
            m_screen.append(buffer.data(), static_cast<std::size_t>(length));
        }
        return m_screen;
    }

    /// The text that the front end returned, once it has.
    QString answer()
    {
        if (m_asking.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
            ADD_FAILURE() << "the front end does not return";
            return {};
        }
        return m_asking.get();
    }

    [[nodiscard]] bool echoes() const
    {
        termios state{};
        EXPECT_EQ(tcgetattr(m_terminal, &state), 0);
        return (state.c_lflag & ECHO) != 0;
    }

    int m_keyboard = -1;
    int m_terminal = -1;
    int m_formerInput = -1;
    FILE* m_in = nullptr;
    FILE* m_out = nullptr;
    std::string m_screen;
    std::future<QString> m_asking;
};

TEST_F(SecretAtTheTerminal, IsNotShownWhileItIsTyped)
{
    ask(true);
    ASSERT_THAT(screenUntil("Code: "), EndsWith("Code: "));
    EXPECT_FALSE(echoes()) << "whoever answers the prompt at once must not be shown either";
    type("1234\n");
    EXPECT_EQ(answer(), u"1234"_s);
    EXPECT_EQ(screenUntil("\n"), "Code: \r\n") << "only the end of the line is shown";
}

TEST_F(SecretAtTheTerminal, LeavesTheTerminalAsItWas)
{
    ASSERT_TRUE(echoes());
    ask(true);
    screenUntil("Code: ");
    type("1234\n");
    answer();
    EXPECT_TRUE(echoes());
}

TEST_F(SecretAtTheTerminal, IsToldFromAnOpenAnswerWhichIsShown)
{
    ask(false);
    ASSERT_THAT(screenUntil("Code: "), EndsWith("Code: "));
    EXPECT_TRUE(echoes());
    type("1234\n");
    EXPECT_EQ(answer(), u"1234"_s);
    EXPECT_EQ(screenUntil("\n"), "Code: 1234\r\n");
}

} // namespace
