#pragma once

#include "host/network/curlexchange.h"
#include "host/network/request.h"
#include "host/network/restclient.h"
#include "host/utils/registration.h"

#include <QElapsedTimer>

#include <memory>
#include <vector>

namespace network {

/// What an answer comes to.
struct Judged
{
    int code = 0;      ///< as RestClient::getErrorCode() has it
    QVariant response; ///< as RestClient::getResponse() has it
    qint64 milliseconds = 0;
    std::chrono::seconds retryAfter{0}; ///< how long the server asks to be left alone; 0: it does not
};

/// One exchange with everybody who looks after it or on, whoever carries it out: guards, log and observers.
class WatchedExchange
{
public:
    /// Asks the thread's guards. What one of them throws goes on, and nothing may be sent.
    explicit WatchedExchange(Request request);

    /// With the shortest time that is allowed to it.
    [[nodiscard]] const Request& request() const { return m_request; }
    /// Judges the answer, and tells of it.
    [[nodiscard]] Judged finish(Answer answer) const;

    static utils::Registration observe(std::function<void(const RestExchange&)> observer);
    /// Of the thread that calls this.
    static utils::Registration guard(RestGuard guard);

private:
    struct ThreadsGuard;
    static utils::Registry<ThreadsGuard>& allGuards();

    std::vector<std::shared_ptr<const ThreadsGuard>> m_guards;
    Request m_request;
    QString m_receipt; ///< of the log when it began; when it ends, others may be worked on
    QElapsedTimer m_clock;
};

} // namespace network
