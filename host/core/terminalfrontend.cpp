#include "host/core/terminalfrontend.h"

#include "host/utils/printable.h"

#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Switches the terminal's echo off while it lives; does nothing when standard input is no terminal.
class EchoOff
{
public:
    explicit EchoOff(bool wanted)
    {
        if (!wanted || tcgetattr(STDIN_FILENO, &m_before) != 0)
            return;
        termios quiet = m_before;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL; // or what comes next would stand on the same line
        m_active = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~EchoOff()
    {
        if (m_active)
            tcsetattr(STDIN_FILENO, TCSADRAIN,
                      &m_before); // keeps what is already typed for the next question
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios m_before{};
    bool m_active = false;
};

} // namespace

void TerminalFrontend::print(const tr::Tr& text)
{
    if (!text.isEmpty())
        m_out << utils::printableLines(text.shown()) << '\n';
}

int TerminalFrontend::chooseFromList(const ChoiceRequest& request)
{
    print(request.title);
    print(request.message);
    for (qsizetype i = 0; i < request.items.size(); ++i)
        m_out << u"  %1. %2\n"_s.arg(QString::number(i + 1), utils::printable(request.items[i].shown()));
    print(request.comment);

    const QString prompt = request.closable
                               ? tr::shown(u"hostAskLineOrNone"_s, u"Номер строки (пусто — закрыть): "_s)
                               : tr::shown(u"hostAskLine"_s, u"Номер строки: "_s);
    QString line;
    while (true) {
        m_out << prompt << Qt::flush;
        if (!m_in.readLineInto(&line) || (line.trimmed().isEmpty() && request.closable))
            return -1;
        bool isNumber = false;
        const int number = line.trimmed().toInt(&isNumber);
        if (isNumber && number >= 1 && number <= request.items.size())
            return number - 1;
        m_out << tr::shown(u"hostAskNumber"_s, u"Введите число от 1 до %1"_s).arg(request.items.size())
              << '\n';
    }
}

core::BasicDialog::Result TerminalFrontend::inputText(const TextInputRequest& request)
{
    print(request.title);
    const EchoOff quiet(request.hidden); // before the prompt, or a quick answer to it would be shown or lost
    QString line;
    while (true) {
        m_out << utils::printableLines(request.message.shown()) << u": "_s << Qt::flush;
        if (!m_in.readLineInto(&line))
            return core::BasicDialog::Result::cancelled();
        if (request.trimmed)
            line = line.trimmed();
        if (request.uppercased)
            line = line.toUpper();
        if (!line.isEmpty() || request.emptyAllowed)
            return core::BasicDialog::Result::entered(line);
        if (request.cancelAllowed)
            return core::BasicDialog::Result::cancelled();
    }
}
