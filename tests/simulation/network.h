#pragma once

#include "tests/simulation/dice.h"
#include "tests/simulation/service.h"
#include "tests/support/stillclock.h"

#include <curl/curl.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>

#include <array>
#include <utility>

namespace simulation {

/// What comes back of a request, as libcurl tells it.
struct Heard
{
    CURLcode outcome = CURLE_OK;
    QByteArray head; ///< the status line and the headers, with the empty line; empty: not a byte came
    QByteArray body;
};

/// Between the till and its service, in time of the simulation: what libcurl is asked for goes this way.
class Network
{
public:
    /// There is one at a time. All stay the caller's.
    Network(Service& service, test_support::StillClock& clock);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    static Network& one();
    Heard carry(const stand::Request& request, std::chrono::milliseconds patience);

    /// Nobody listens at the service, or somebody does again.
    void setDown(bool isDown) { m_isDown = isDown; }
    /// The tills' clock was, by so much, and nobody else's.
    void clockWasSet(std::chrono::milliseconds by) { m_ahead -= by; }
    /// What the service's clock says.
    [[nodiscard]] QDateTime serviceTime() const { return m_clock.now().addMSecs(m_ahead.count()); }
    /// What the till and the program beside it sent at the same time, since this was asked for the last time.
    QStringList takeCrossed() { return std::exchange(m_crossed, {}); }
    /// What was late arrives now.
    void letArrive();
    /// How often the till has sent it.
    [[nodiscard]] int sent(const stand::Request& request) const;
    /// Whether it was fate that had it refused for good, and not what the service knows.
    [[nodiscard]] bool wasRefusedByChance(const stand::Request& request) const;
    /// Which of so many that are on their way at once arrives first.
    std::size_t first(std::size_t number) { return m_order.next() % number; }
    /// The service's operator does what is asked for, as often as it was done already; the answer's status.
    int settle(stand::Request request);

private:
    class UnderWay;
    Heard served(const stand::Request& request);

    Service& m_service;
    test_support::StillClock& m_clock;
    QList<stand::Request> m_late;
    QHash<QByteArray, int> m_sent; ///< how often, by all that a request says but its headers
    QSet<QByteArray> m_refused;    ///< by chance, likewise
    Dice m_order{1};
    QSet<QByteArray> m_done;              ///< by the service, by what a request is about
    std::chrono::milliseconds m_ahead{0}; ///< the service's clock of the tills'
    bool m_isDown = false;
    std::array<QByteArray, 2> m_underWay; ///< what each program sends just now
    QStringList m_crossed;
};

} // namespace simulation
