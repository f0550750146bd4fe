#include "tests/soak/service.h"

#include "tests/stand/http.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>

#include <csignal>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace soaktest {

namespace {

constexpr int patienceMs = 20'000;
constexpr unsigned long glanceMs = 5;

/// Bound but never listening: connecting is refused, and the system gives the port to nobody else but a stand
/// that asks for it.
int reserved(quint16& port)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(descriptor, plain, size) != 0 || getsockname(descriptor, plain, &size) != 0)
        throw std::runtime_error("no port can be had");
    port = ntohs(address.sin_port);
    return descriptor;
}

QString nameOf(const QJsonObject& fault)
{
    const QString name = fault.value(u"fault"_s).toString();
    return name == u"status" ? name + u' ' + QString::number(fault.value(u"code"_s).toInt()) : name;
}

} // namespace

QString folderTemplate()
{
    const QFileInfo memory(u"/dev/shm"_s);
    return (memory.isDir() && memory.isWritable() ? memory.filePath() : QDir::tempPath()) +
           u"/kyr-soak-XXXXXX"_s;
}

Service::Service()
    : m_reservation(reserved(m_port))
    , m_directory(folderTemplate())
{
    start();
}

Service::~Service()
{
    m_stand.reset();
    close(m_reservation);
}

QByteArray Service::url() const { return "http://127.0.0.1:" + QByteArray::number(m_port); }

void Service::start()
{
    QStringList arguments{u"--port"_s, QString::number(m_port), u"--data"_s,
                          m_directory.filePath(u"stand.sqlite"_s)};
    if (m_time.isValid())
        arguments += {u"--clock"_s, m_time.toUTC().toString(Qt::ISODate)};
    m_stand = std::make_unique<standtest::StandProcess>(arguments);
    if (m_stand->url() != url())
        throw std::runtime_error("the stand does not come up: " + m_stand->errors().toStdString());
}

void Service::kill()
{
    collectStrikes();
    m_stand->signal(SIGKILL);
    m_stand.reset();
}

void Service::arm(const QStringList& faults)
{
    tell("POST", "faults", QJsonDocument(QJsonArray::fromStringList(faults)).toJson());
}

void Service::disarm()
{
    collectStrikes();
    tell("DELETE", "faults");
}

void Service::collectStrikes()
{
    const QJsonArray faults = page("faults").value(u"faults"_s).toArray();
    for (const auto& fault : faults)
        m_strikes[nameOf(fault.toObject())] += fault.toObject().value(u"fired"_s).toInt();
}

void Service::setTime(const QDateTime& time)
{
    if (m_time.isValid() && time <= m_time)
        return;
    m_time = time;
    tell("POST", "clock", R"({"time": ")" + time.toUTC().toString(Qt::ISODate).toLatin1() + "\"}");
}

void Service::tell(const QByteArray& method, const QByteArray& path, const QByteArray& body)
{
    static_cast<void>(ask(method, path, body));
}

QJsonObject Service::page(const QByteArray& name) const { return ask("GET", name); }

QJsonArray Service::exchanges(qint64 after) const
{
    return page("exchanges?after=" + QByteArray::number(after)).value(u"exchanges"_s).toArray();
}

bool Service::waitForExchange(qint64 after) const
{
    const QDeadlineTimer patience(patienceMs);
    while (exchanges(after).isEmpty()) {
        if (patience.hasExpired())
            return false;
        QThread::msleep(glanceMs);
    }
    return true;
}

QJsonObject Service::ask(const QByteArray& method, const QByteArray& path, const QByteArray& body) const
{
    const QDeadlineTimer patience(patienceMs);
    for (;;) {
        const standtest::Reply reply =
            standtest::send({.url = url() + "/stand/" + path, .method = method, .body = body});
        if (reply.status >= 200 && reply.status < 300)
            return reply.json().toObject();
        // Refused connections are one of the faults, which the stand's own pages meet too.
        if (reply.status != 0 || patience.hasExpired())
            throw std::runtime_error("the stand answers " + (path + ": " + reply.body).toStdString());
        QThread::msleep(glanceMs);
    }
}

} // namespace soaktest
