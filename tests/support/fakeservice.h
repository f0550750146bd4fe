#pragma once

#include "host/network/parallelclient.h"
#include "host/network/restclient.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QQueue>
#include <QString>
#include <QUrl>
#include <QVariant>

namespace test_support {

/// Takes the place of every RestClient and ParallelClient made while it lives: records what is sent and gives
/// scripted answers, at once.
class FakeService
{
public:
    struct Request
    {
        QString method;
        QUrl url;
        QByteArray body;
        QHash<QString, QString> headers;
        int timeout = 0;
    };

    FakeService();
    ~FakeService();
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    /// The next request gets that JSON and error code; a ParallelClient's also that "Retry-After".
    void answer(const QByteArray& json, int errorCode = 0, std::chrono::seconds retryAfter = {});
    /// The next request throws that text as a std::runtime_error.
    void fail(const QString& what);

    [[nodiscard]] const QList<Request>& requests() const { return m_requests; }
    /// "GET http://…" of each request so far.
    [[nodiscard]] QStringList calls() const;
    /// How many of the clients it made still live.
    [[nodiscard]] int liveClients() const { return m_liveClients; }
    [[nodiscard]] int clients() const { return m_clients; }

private:
    class Double;
    class ParallelDouble;
    struct Answer
    {
        QVariant response;
        int errorCode = 0;
        QString exception;
        std::chrono::seconds retryAfter{0};
    };
    Answer take(const Request& request);

    QQueue<Answer> m_answers;
    QList<Request> m_requests;
    int m_clients = 0;
    int m_liveClients = 0;
};

} // namespace test_support
