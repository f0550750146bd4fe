#pragma once

#include <QLoggingCategory>
#include <QString>

namespace Log4Qt {

/// A named logger on Qt's logging categories: the part of Log4Qt's class that the project calls, for systems
/// that have no Log4Qt. The logger's name is the category's name; where lines go, and which, is decided by
/// Qt's message handler and QT_LOGGING_RULES. Loggers belong to LogManager and live until the process ends.
class __attribute__((visibility("default"))) Logger
{
public:
    /// For LogManager, which gives out one for each name.
    explicit Logger(const QString& name)
        : m_name(name.toUtf8())
        , m_category(m_name.constData(), QtDebugMsg)
    {}
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// As it was given.
    [[nodiscard]] QString name() const { return QString::fromUtf8(m_name); }

    // Each writes one line as it stands; nothing in it is a placeholder.

    /// Writes one line at Qt's level "debug".
    void debug(const QString& message) const { qCDebug(m_category).noquote() << message; }
    /// Writes one line at Qt's level "info".
    void info(const QString& message) const { qCInfo(m_category).noquote() << message; }
    /// Writes one line at Qt's level "warning".
    void warn(const QString& message) const { qCWarning(m_category).noquote() << message; }
    /// Writes one line at Qt's level "critical".
    void error(const QString& message) const { qCCritical(m_category).noquote() << message; }

private:
    QByteArray m_name; // QLoggingCategory keeps the pointer, so the text must outlive it
    QLoggingCategory m_category;
};

} // namespace Log4Qt
