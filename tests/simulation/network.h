#pragma once

#include "tests/simulation/service.h"
#include "tests/support/stillclock.h"

#include <curl/curl.h>

#include <QByteArray>
#include <QList>
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
    /// What the till and the program beside it sent at the same time, since this was asked for the last time.
    QStringList takeCrossed() { return std::exchange(m_crossed, {}); }
    /// What was late arrives now.
    void letArrive();

private:
    class UnderWay;
    Heard served(const stand::Request& request);

    Service& m_service;
    test_support::StillClock& m_clock;
    QList<stand::Request> m_late;
    bool m_isDown = false;
    std::array<QByteArray, 2> m_underWay; ///< what each program sends just now
    QStringList m_crossed;
};

} // namespace simulation
