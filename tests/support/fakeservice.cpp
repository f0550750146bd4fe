#include "tests/support/fakeservice.h"

#include "host/utils/mockfactory.h"

#include <stdexcept>

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
        m_service.m_requests.append({method, url, body, headers, m_timeout});
        if (m_service.m_answers.isEmpty())
            throw std::logic_error("no answer was scripted for " + url.toString().toStdString());
        m_answer = m_service.m_answers.dequeue();
        if (!m_answer.exception.isEmpty())
            throw std::runtime_error(m_answer.exception.toStdString());
    }

    FakeService& m_service;
    int m_timeout = -1;
    Answer m_answer;
};

FakeService::FakeService()
{
    MockFactory<RestClient>::mocked = [this] { return QSharedPointer<RestClient>(new Double(*this)); };
}

FakeService::~FakeService() { MockFactory<RestClient>::mocked = nullptr; }

void FakeService::answer(const QByteArray& json, int errorCode)
{
    m_answers.enqueue({QJsonDocument::fromJson(json).toVariant(), errorCode, {}});
}

void FakeService::fail(const QString& what) { m_answers.enqueue({{}, 0, what}); }

QStringList FakeService::calls() const
{
    QStringList result;
    for (const Request& request : m_requests)
        result.append(request.method + u' ' + request.url.toString());
    return result;
}

} // namespace test_support
