#include "tests/support/fakeservice.h"

#include "host/utils/mockfactory.h"

#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace test_support {

class FakeService::Double : public RestClient
{
public:
    explicit Double(FakeService& service)
        : m_service(service)
    {
        ++m_service.m_clients;
        ++m_service.m_liveClients;
    }
    ~Double() override { --m_service.m_liveClients; }
    Double(const Double&) = delete;
    Double& operator=(const Double&) = delete;

    void setTimeout(int seconds) override { m_timeout = seconds; }
    void get(const QUrl& url, const QJsonDocument& document, const QHash<QString, QString>& headers) override
    {
        exchange(u"GET"_s, url, document.isEmpty() ? QByteArray() : document.toJson(), headers);
    }
    void post(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers) override
    {
        exchange(u"POST"_s, url, body, headers);
    }
    void put(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers) override
    {
        exchange(u"PUT"_s, url, body, headers);
    }
    [[nodiscard]] QVariant getResponse() const override { return m_answer.response; }
    [[nodiscard]] int getErrorCode() const override { return m_answer.errorCode; }

private:
    void exchange(const QString& method, const QUrl& url, const QByteArray& body,
                  const QHash<QString, QString>& headers)
    {
        m_answer = m_service.take({method, url, body, headers, m_timeout});
    }

    FakeService& m_service;
    int m_timeout = -1;
    Answer m_answer;
};

class FakeService::ParallelDouble : public ParallelClient
{
public:
    explicit ParallelDouble(FakeService& service)
        : m_service(service)
    {}

    void begin(qint64 id, network::Request request) override
    {
        const Answer answer = m_service.take({QString::fromLatin1(request.method), request.url, request.body,
                                              request.headers, request.timeout});
        m_finished.append({id, answer.errorCode, answer.response, 0, answer.retryAfter});
    }
    [[nodiscard]] QList<Finished> finished(std::chrono::milliseconds /*longest*/) override
    {
        return std::exchange(m_finished, {});
    }
    void abandon() override { m_finished.clear(); }

private:
    FakeService& m_service;
    QList<Finished> m_finished;
};

FakeService::FakeService()
{
    MockFactory<RestClient>::mocked = [this] { return QSharedPointer<RestClient>(new Double(*this)); };
    MockFactory<ParallelClient>::mocked = [this] {
        return QSharedPointer<ParallelClient>(new ParallelDouble(*this));
    };
}

FakeService::~FakeService()
{
    MockFactory<RestClient>::mocked = nullptr;
    MockFactory<ParallelClient>::mocked = nullptr;
}

void FakeService::answer(const QByteArray& json, int errorCode, std::chrono::seconds retryAfter)
{
    m_answers.enqueue({QJsonDocument::fromJson(json).toVariant(), errorCode, {}, retryAfter});
}

void FakeService::fail(const QString& what) { m_answers.enqueue({{}, 0, what}); }

FakeService::Answer FakeService::take(const Request& request)
{
    m_requests.append(request);
    if (m_answers.isEmpty())
        throw std::logic_error("no answer was scripted for " + request.url.toString().toStdString());
    Answer answer = m_answers.dequeue();
    if (!answer.exception.isEmpty())
        throw std::runtime_error(answer.exception.toStdString());
    return answer;
}

QStringList FakeService::calls() const
{
    QStringList result;
    for (const Request& request : m_requests)
        result.append(request.method + u' ' + request.url.toString());
    return result;
}

} // namespace test_support
