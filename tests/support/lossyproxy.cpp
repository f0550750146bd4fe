#include "tests/support/lossyproxy.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

constexpr int patienceMs = 20'000;
constexpr int tickMs = 20;

struct Fault
{
    QByteArray pathEnd;
    bool passOn = true;
    QByteArray answer; ///< Empty: none comes.
};

QByteArray answerOf(int status, const QByteArray& body)
{
    return "HTTP/1.1 " + QByteArray::number(status) +
           " Scripted\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// A message whose body is as long as its head says.
bool isWhole(const QByteArray& message)
{
    const auto head = message.indexOf("\r\n\r\n");
    if (head < 0)
        return false;
    const QByteArray name = "\r\ncontent-length:";
    const auto at = message.first(head).toLower().indexOf(name);
    const auto value = at + name.size();
    const auto length =
        at < 0 ? 0 : message.mid(value, message.indexOf('\r', value) - value).trimmed().toInt();
    return message.size() >= head + 4 + length;
}

/// A whole message, or nothing when whoever sends it is gone.
QByteArray readMessage(QTcpSocket& socket)
{
    QByteArray message;
    while (!isWhole(message)) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(patienceMs))
            return {};
        message += socket.readAll();
    }
    return message;
}

QByteArray ask(const QUrl& service, const QByteArray& request)
{
    QTcpSocket socket;
    socket.connectToHost(service.host(), static_cast<quint16>(service.port()));
    if (!socket.waitForConnected(patienceMs))
        return {};
    socket.write(request);
    return readMessage(socket); // the service leaves the connection open
}

} // namespace

class LossyProxy::Worker
{
public:
    explicit Worker(const QByteArray& service)
        : m_service(QString::fromLatin1(service))
        , m_thread(QThread::create([this] { work(); }))
    {
        m_thread->start();
        while (m_port == 0)
            QThread::yieldCurrentThread();
    }
    ~Worker()
    {
        m_stop = true;
        m_thread->wait();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    [[nodiscard]] int port() const { return m_port; }

    void add(const Fault& fault)
    {
        const std::lock_guard lock(m_mutex);
        m_faults.push_back(fault);
    }

    void change(std::function<QByteArray(const QByteArray&)> change)
    {
        const std::lock_guard lock(m_mutex);
        m_change = std::move(change);
    }

    int passed(const QByteArray& pathEnd)
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<int>(std::count_if(m_passed.begin(), m_passed.end(), [&](const QByteArray& path) {
            return path.endsWith(pathEnd);
        }));
    }

private:
    void work()
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        m_port = server.serverPort();
        while (!m_stop) {
            if (server.waitForNewConnection(tickMs)) {
                const std::unique_ptr<QTcpSocket> client(server.nextPendingConnection());
                serve(*client);
            }
        }
    }

    void serve(QTcpSocket& client)
    {
        const QByteArray request = readMessage(client);
        if (request.isEmpty())
            return;
        const QByteArray path = request.split(' ').value(1);
        const auto fault = faultOf(path);
        QByteArray answer;
        if (!fault || fault->passOn) {
            answer = ask(m_service, changed(request));
            const std::lock_guard lock(m_mutex);
            m_passed.push_back(path);
        }
        if (fault)
            answer = fault->answer;
        client.write(answer);
        while (client.bytesToWrite() > 0 && client.waitForBytesWritten(patienceMs)) {
        }
        client.disconnectFromHost();
        if (client.state() != QAbstractSocket::UnconnectedState)
            client.waitForDisconnected(patienceMs);
    }

    QByteArray changed(const QByteArray& request)
    {
        const std::lock_guard lock(m_mutex);
        return m_change ? m_change(request) : request;
    }

    std::optional<Fault> faultOf(const QByteArray& path)
    {
        const std::lock_guard lock(m_mutex);
        const auto next = std::find_if(m_faults.begin(), m_faults.end(),
                                       [&](const Fault& fault) { return path.endsWith(fault.pathEnd); });
        if (next == m_faults.end())
            return std::nullopt;
        Fault fault = *next;
        m_faults.erase(next);
        return fault;
    }

    QUrl m_service;
    std::mutex m_mutex;
    std::vector<Fault> m_faults;
    std::vector<QByteArray> m_passed;
    std::function<QByteArray(const QByteArray&)> m_change;
    std::atomic<int> m_port = 0;
    std::atomic<bool> m_stop = false;
    std::unique_ptr<QThread> m_thread; // sockets want a thread of Qt's
};

LossyProxy::LossyProxy(const QByteArray& service)
    : m_worker(std::make_unique<Worker>(service))
{}

LossyProxy::~LossyProxy() = default;

QString LossyProxy::url() const { return u"http://127.0.0.1:%1/"_s.arg(m_worker->port()); }

void LossyProxy::loseAnswer(const QByteArray& pathEnd) { m_worker->add({pathEnd, true, {}}); }

void LossyProxy::replaceAnswer(const QByteArray& pathEnd, const QByteArray& body)
{
    m_worker->add({pathEnd, true, answerOf(200, body)});
}

void LossyProxy::answerInstead(const QByteArray& pathEnd, int status, const QByteArray& body)
{
    m_worker->add({pathEnd, false, answerOf(status, body)});
}

void LossyProxy::passOnAs(std::function<QByteArray(const QByteArray&)> change)
{
    m_worker->change(std::move(change));
}

int LossyProxy::passed(const QByteArray& pathEnd) const { return m_worker->passed(pathEnd); }

} // namespace test_support
