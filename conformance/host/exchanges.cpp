#include "host/network/restclient.h"
#include "promise.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

/// A service that answers each request with the same, and keeps the last one. On a thread of its own, since
/// the client blocks.
class Service
{
public:
    explicit Service(const QByteArray& answer)
    {
        m_server.moveToThread(&m_thread);
        QObject::connect(
            &m_thread, &QThread::finished, &m_server, [this] { m_server.close(); }, Qt::DirectConnection);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer] {
            auto* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, answer] {
                m_request += socket->readAll();
                const auto end = m_request.indexOf("\r\n\r\n");
                const auto length = m_request.toLower().indexOf("content-length: ");
                const auto expected =
                    length < 0
                        ? 0
                        : m_request.mid(length + 16, m_request.indexOf('\r', length) - length - 16).toInt();
                if (end < 0 || m_request.size() < end + 4 + expected || answer.isEmpty())
                    return;
                socket->write(answer);
                socket->disconnectFromHost();
            });
        });
        m_thread.start();
        QMetaObject::invokeMethod(
            &m_server, [this] { m_server.listen(QHostAddress::LocalHost); }, Qt::BlockingQueuedConnection);
    }
    ~Service()
    {
        m_thread.quit();
        m_thread.wait();
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    [[nodiscard]] QUrl url() const { return QUrl(u"http://127.0.0.1:%1/v2/x"_s.arg(m_server.serverPort())); }
    /// After the exchange is over.
    [[nodiscard]] QByteArray request() const { return m_request; }

private:
    QThread m_thread;
    QTcpServer m_server;
    QByteArray m_request;
};

QByteArray answer(const QByteArray& status, const QByteArray& body)
{
    return "HTTP/1.1 " + status +
           "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

const QHash<QString, QString> headers{{u"Authorization"_s, u"Basic c2hvcDpzZWNyZXQ="_s},
                                      {u"Content-Type"_s, u"application/json"_s}};

} // namespace

QList<Promise> exchanges()
{
    return {
        {u"post() sends the body byte for byte, with the headers, and gives the parsed answer"_s,
         u"the service refuses, or books something else"_s,
         [] {
             const Service service(answer("200 OK", "{\"data\":{\"paymentBonus\":12.5}}"));
             const auto client = MockFactory<RestClient>::create();
             client->post(service.url(), "{\"n\": 1.50}", headers);
             require(client->getErrorCode() <= 0,
                     u"a success has the error code %1"_s.arg(client->getErrorCode()));
             const auto data = client->getResponse().toMap().value(u"data"_s).toMap();
             require(data.value(u"paymentBonus"_s).toDouble() == 12.5, u"the answer is another"_s);
             const QByteArray sent = service.request();
             require(sent.startsWith("POST /v2/x ") && sent.endsWith("{\"n\": 1.50}"),
                     u"the request is another"_s);
             require(sent.toLower().contains("authorization: basic c2hvcdpzzwnyzxq="),
                     u"a header is missing"_s);
         }},
        {u"get() and put() use their methods"_s, u"no customer is found"_s,
         [] {
             for (const bool puts : {false, true}) {
                 const Service service(answer("200 OK", "{\"data\":{}}"));
                 const auto client = MockFactory<RestClient>::create();
                 puts ? client->put(service.url(), "{}", headers) : client->get(service.url(), {}, headers);
                 require(client->getErrorCode() <= 0 && service.request().startsWith(puts ? "PUT " : "GET "),
                         u"the method is another"_s);
             }
         }},
        {u"a refusal has an error code above 0, and its body can be read"_s,
         u"a refused spending counts as done, or the cashier is not told why"_s,
         [] {
             const Service service(answer("422 Unprocessable", "{\"data\":[{\"message\":\"Нет\"}]}"));
             const auto client = MockFactory<RestClient>::create();
             client->post(service.url(), "{}", headers);
             require(client->getErrorCode() > 0, u"its code is %1"_s.arg(client->getErrorCode()));
             const auto texts = client->getResponse().toMap().value(u"data"_s).toList();
             require(texts.value(0).toMap().value(u"message"_s).toString() == u"Нет"_s,
                     u"its body is another"_s);
         }},
        {u"no answer is an error code above 0, within the time that was set"_s,
         u"the cashier waits for ever, or a lost answer counts as done"_s,
         [] {
             const Service service({});
             const auto client = MockFactory<RestClient>::create();
             client->setTimeout(1);
             QElapsedTimer clock;
             clock.start();
             client->post(service.url(), "{}", headers);
             require(client->getErrorCode() > 0, u"its code is %1"_s.arg(client->getErrorCode()));
             require(clock.elapsed() < 3000, u"it took %1 ms with a limit of 1 s"_s.arg(clock.elapsed()));
         }},
        {u"a service that is not there is an error code above 0"_s, u"what did not happen counts as done"_s,
         [] {
             const auto client = MockFactory<RestClient>::create();
             client->setTimeout(2);
             client->post(QUrl(u"http://127.0.0.1:1/v2/x"_s), "{}", headers);
             require(client->getErrorCode() > 0, u"its code is %1"_s.arg(client->getErrorCode()));
         }},
    };
}
