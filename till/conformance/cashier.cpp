#include "till/conformance/cashier.h"

#include "host/core/terminalfrontend.h"
#include "till/cli/console.h"

#include <QRandomGenerator>

#include <utility>

using namespace Qt::StringLiterals;

namespace till::conformance {

int Cashier::chooseFromList(const ChoiceRequest& request)
{
    for (qsizetype i = 0; i < request.items.size(); ++i) {
        if (request.items[i].ru() == m_card)
            return static_cast<int>(i);
    }
    return -1;
}

core::BasicDialog::Result Cashier::inputText(const TextInputRequest& request)
{
    if (const auto code = std::exchange(m_code, std::nullopt))
        return core::BasicDialog::Result::entered(*code);
    if (!Console::canAsk())
        return core::BasicDialog::Result::cancelled();
    QTextStream in(stdin);
    QTextStream err(stderr);
    return TerminalFrontend(in, err).inputText(request);
}

Clock::Clock()
{
    constexpr int week = 7 * 86'400;
    constexpr int run = 60; // is over before the present, whatever it plays
    m_now = QDateTime::currentDateTime().addSecs(-run - QRandomGenerator::global()->bounded(week));
    MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<StandingTime>::create(m_now); };
}

Clock::~Clock() { MockFactory<CurrentTime>::mocked = {}; }

} // namespace till::conformance
