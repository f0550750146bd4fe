#include "tests/stand/page/browser.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace standtest {

namespace {

constexpr int patienceMs = 30'000;

/// Lets events come until the condition holds; whether it does in time.
template <typename Condition>
bool waitFor(Condition condition)
{
    const QDeadlineTimer deadline(patienceMs);
    QEventLoop loop;
    QTimer wake;
    wake.start(std::chrono::milliseconds(20));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace

Browser::Browser()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral(CHROMIUM_PROGRAM),
                    {u"--headless=new"_s, u"--no-sandbox"_s, u"--disable-gpu"_s, u"--disable-dev-shm-usage"_s,
                     u"--no-first-run"_s, u"--no-proxy-server"_s, u"--remote-debugging-port=0"_s,
                     u"--user-data-dir="_s + m_profile.path(), u"about:blank"_s});
    QObject::connect(&m_socket, &QWebSocket::textMessageReceived, &m_socket,
                     [this](const QString& text) { receive(text); });
    if (const auto url = address(); !url.isEmpty()) {
        m_socket.open(QUrl(url));
        if (waitFor([this] { return m_socket.state() == QAbstractSocket::ConnectedState; }))
            attach();
    }
}

Browser::~Browser()
{
    m_socket.abort();
    m_process.terminate();
    if (!m_process.waitForFinished(patienceMs))
        m_process.kill();
    m_process.waitForFinished(patienceMs);
}

QString Browser::address()
{
    static const QRegularExpression announcement(u"DevTools listening on (ws://\\S+)\\s"_s);
    QByteArray output;
    QRegularExpressionMatch match;
    const bool isThere = waitFor([&] {
        output += m_process.readAll();
        match = announcement.match(QString::fromUtf8(output));
        return match.hasMatch() || m_process.state() == QProcess::NotRunning;
    });
    return isThere ? match.captured(1) : QString();
}

void Browser::attach()
{
    const auto target = call(u"Target.createTarget"_s, {{u"url"_s, u"about:blank"_s}});
    const auto session =
        call(u"Target.attachToTarget"_s, {{u"targetId"_s, target.value(u"targetId")}, {u"flatten"_s, true}});
    m_session = session.value(u"sessionId").toString();
    for (const auto& domain : {u"Runtime"_s, u"Log"_s, u"Page"_s})
        call(domain + u".enable"_s);
}

QJsonObject Browser::call(const QString& method, const QJsonObject& parameters)
{
    const auto id = ++m_lastId;
    QJsonObject request{{u"id"_s, id}, {u"method"_s, method}, {u"params"_s, parameters}};
    if (!m_session.isEmpty())
        request.insert(u"sessionId"_s, m_session);
    m_socket.sendTextMessage(QString::fromUtf8(QJsonDocument(request).toJson(QJsonDocument::Compact)));
    const auto key = QString::number(id);
    waitFor([&] { return m_answers.contains(key); });
    return m_answers.take(key).toObject();
}

void Browser::receive(const QString& text)
{
    const auto message = QJsonDocument::fromJson(text.toUtf8()).object();
    if (message.contains(u"id"_s)) {
        m_answers.insert(QString::number(message.value(u"id").toInt()), message.value(u"result"));
        return;
    }
    const auto event = message.value(u"method").toString();
    const auto details = message.value(u"params");
    const bool isComplaint = event == u"Runtime.exceptionThrown"_s ||
                             (event == u"Runtime.consoleAPICalled"_s && details[u"type"] == u"error"_s) ||
                             (event == u"Log.entryAdded"_s && details[u"entry"][u"level"] == u"error"_s);
    if (isComplaint)
        m_complaints.append(
            QString::fromUtf8(QJsonDocument(details.toObject()).toJson(QJsonDocument::Compact)));
}

void Browser::resize(int width, int height)
{
    call(u"Emulation.setDeviceMetricsOverride"_s, {{u"width"_s, width},
                                                   {u"height"_s, height},
                                                   {u"deviceScaleFactor"_s, 1},
                                                   {u"mobile"_s, width < 600}});
}

void Browser::open(const QString& url) { call(u"Page.navigate"_s, {{u"url"_s, url}}); }

QJsonValue Browser::evaluate(const QString& expression)
{
    const auto answer =
        call(u"Runtime.evaluate"_s,
             {{u"expression"_s, expression}, {u"returnByValue"_s, true}, {u"awaitPromise"_s, true}});
    return answer.value(u"result")[u"value"];
}

bool Browser::becomes(const QString& expression)
{
    return waitFor([&] { return evaluate(u"Boolean("_s + expression + u')').toBool(); });
}

} // namespace standtest
