#pragma once

#include "host/network/restclient.h"

#include <QDateTime>
#include <QObject>

namespace till::window {

/// What the exchanges with the service tell of the line to it. Outlives whoever makes them.
class ServiceWatch : public QObject
{
    Q_OBJECT

public:
    ServiceWatch();

    enum class Line { Unknown, Up, Down };
    [[nodiscard]] Line line() const { return m_line; }
    /// When the service last answered; invalid: not yet.
    [[nodiscard]] const QDateTime& answered() const { return m_answered; }

Q_SIGNALS:
    /// On the window's thread, whoever made the exchange.
    void exchanged(const QString& operation, int code, qint64 milliseconds);
    /// On the thread that made the exchange.
    void heard(const QString& operation, int code, qint64 milliseconds);

private:
    void note(const QString& operation, int code, qint64 milliseconds);

    Line m_line = Line::Unknown;
    QDateTime m_answered;
    utils::Registration m_exchanges;
};

} // namespace till::window
