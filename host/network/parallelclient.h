#pragma once

#include "host/network/request.h"
#include "host/utils/export.h"
#include "host/utils/mockfactory.h"

#include <QList>
#include <QVariant>

#include <chrono>
#include <memory>

/// Sends requests as RestClient does, guards and observers included, but side by side, and keeps connections
/// for the next request to the same server. Names are looked up once for all connections, anew after a
/// minute. An object belongs to one thread at a time.
///
/// A connection that was closed while it lay idle is no failure: the request goes on another one, within its
/// time. So does one that was sent on a kept connection of which not a byte came back: the server has most
/// likely closed it at that very moment. It may have acted on the request all the same, so only what a server
/// tells from its repetition may be sent here. A kept connection on which something came that nobody asked
/// for is not used again: that would be taken for the next answer.
class HOST_EXPORT ParallelClient
{
public:
    /// What came of a request.
    struct Finished
    {
        qint64 id = 0;                      ///< that it was begun with
        int code = 0;                       ///< as RestClient::getErrorCode() has it
        QVariant response = {};             ///< as RestClient::getResponse() has it
        qint64 milliseconds = 0;            ///< from its beginning to the last byte of the answer
        std::chrono::seconds retryAfter{0}; ///< how long the server asks to be left alone; 0: it does not
    };

    ParallelClient();
    /// Abandons what is under way.
    virtual ~ParallelClient();
    ParallelClient(const ParallelClient&) = delete;
    ParallelClient& operator=(const ParallelClient&) = delete;

    /// Begins the exchange and does not wait for it. `timeout` is as RestClient::timeoutOf() says it. What a
    /// guard throws goes on; then nothing was begun.
    virtual void begin(qint64 id, network::Request request);
    /// Those that are over, each told once. Waits until there is one, but no longer than that, and not at all
    /// when none is under way; beside the thread's IdleWork where it has one.
    [[nodiscard]] virtual QList<Finished> finished(std::chrono::milliseconds longest);
    /// Ends all that are under way, which are not told any more. The server may act on them all the same.
    virtual void abandon();
    /// How many connections may stay open while they are idle; each exchange that ends closes one that is
    /// more.
    virtual void keepConnections(int most);

private:
    class Exchange;
    struct Connections;
    std::unique_ptr<Connections> m;
};

extern template class HOST_EXPORT MockFactory<ParallelClient>;
