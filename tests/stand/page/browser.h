#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QWebSocket>

namespace standtest {

/// A headless Chromium with one page, driven over its DevTools protocol.
class Browser
{
public:
    Browser();
    ~Browser();
    Q_DISABLE_COPY_MOVE(Browser)

    /// Whether it runs and can be spoken to.
    [[nodiscard]] bool isThere() const { return !m_session.isEmpty(); }

    void resize(int width, int height);
    void open(const QString& url);

    /// The value of a JavaScript expression in the page; a promise is awaited.
    QJsonValue evaluate(const QString& expression);
    /// Waits until the expression is true; false when it does not become so in some seconds.
    bool becomes(const QString& expression);

    /// What the page complained of so far: console errors, uncaught exceptions, failed loads.
    [[nodiscard]] QStringList complaints() const { return m_complaints; }
    void forget() { m_complaints.clear(); }

private:
    QJsonObject call(const QString& method, const QJsonObject& parameters = {});
    void receive(const QString& text);
    void attach();
    QString address();

    const QTemporaryDir m_profile;
    QProcess m_process;
    QWebSocket m_socket;
    QString m_session;
    int m_lastId = 0;
    QJsonObject m_answers; ///< By the request's number.
    QStringList m_complaints;
};

} // namespace standtest
