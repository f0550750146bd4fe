#include "tests/simulation/beside.h"

#include "tests/simulation/dice.h"

#include <atomic>
#include <thread>
#include <utility>

namespace simulation::beside {

namespace {

enum Program : int { First, Second };

std::atomic<int> turn = First; // all that is below belongs to the one whose turn it is
bool isThere = false;
bool isOver = false;
int left = 0; // points until it is the other's turn
int uninterrupted = 0;
const std::function<void()>* errand = nullptr;

struct Turns
{
    Dice dice{0};
    std::stop_source stop;
    std::thread thread;
};

Turns& turns()
{
    static Turns made;
    return made;
}

void waitForTurn(Program mine) { turn.wait(mine == First ? Second : First); }

void handOver(Program to)
{
    turn = to;
    turn.notify_one();
}

/// Few points as often as many: what goes wrong between two steps, and what does only after a long pause.
int span(Dice& dice) { return dice.oneIn(2) ? dice.between(1, 4) : dice.between(1, 40); }

} // namespace

void begin(std::uint64_t dice, std::function<void(const std::stop_token&)> program)
{
    turns().dice = Dice(dice);
    turns().stop = {};
    left = span(turns().dice);
    isOver = false;
    turns().thread = std::thread([program = std::move(program)] {
        waitForTurn(Second);
        program(turns().stop.get_token());
        isOver = true;
        handOver(First);
    });
    isThere = true;
}

void end()
{
    turns().stop.request_stop();
    while (isThere)
        pass();
}

bool isOn() { return isThere; }

bool isSecond() { return turn == Second; }

void point()
{
    if (isThere && uninterrupted == 0 && --left <= 0)
        pass();
}

Uninterrupted::Uninterrupted() { ++uninterrupted; }

Uninterrupted::~Uninterrupted() { --uninterrupted; }

void pass()
{
    if (!isThere)
        return;
    const Program mine = isSecond() ? Second : First;
    left = span(turns().dice);
    handOver(mine == First ? Second : First);
    waitForTurn(mine);
    while (errand) { // the second one waits for it
        (*std::exchange(errand, nullptr))();
        handOver(Second);
        waitForTurn(First);
    }
    if (isOver) { // its thread ends before anything else goes on
        isThere = false;
        turns().thread.join();
    }
}

void atHome(const std::function<void()>& wanted)
{
    if (!isSecond()) {
        wanted();
        return;
    }
    errand = &wanted;
    handOver(First);
    waitForTurn(Second);
}

} // namespace simulation::beside
