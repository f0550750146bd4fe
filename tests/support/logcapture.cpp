#include "tests/support/logcapture.h"

using namespace Qt::StringLiterals;

#if KYR_LOG4QT_IS_UPSTREAM

#include <log4qt/level.h>
#include <log4qt/logger.h>
#include <log4qt/loggingevent.h>
#include <log4qt/logmanager.h>
#include <log4qt/varia/listappender.h>

namespace test_support {

class LogCapture::Catcher
{
public:
    explicit Catcher(const QString& loggerName)
        : m_logger(Log4Qt::LogManager::logger(loggerName))
    {
        m_logger->setLevel(Log4Qt::Level::DEBUG_INT);
        m_logger->addAppender(m_appender);
    }
    ~Catcher() { m_logger->removeAppender(m_appender); }

    QStringList lines() const
    {
        QStringList result;
        for (const auto& event : m_appender->list())
            result.append(event.level().toString().toLower() + u": "_s + event.message());
        return result;
    }
    void clear() { m_appender->clearList(); }

private:
    Log4Qt::Logger* m_logger;
    Log4Qt::AppenderSharedPtr m_shared{new Log4Qt::ListAppender};
    Log4Qt::ListAppender* m_appender = static_cast<Log4Qt::ListAppender*>(m_shared.data());
};

} // namespace test_support

#else

#include <QMessageLogContext>

#include <mutex>
#include <utility>

namespace test_support {

class LogCapture::Catcher
{
public:
    explicit Catcher(const QString& loggerName)
        : m_category(loggerName)
    {
        const std::lock_guard lock(s_mutex);
        m_outer = std::exchange(s_current, this);
        m_before = qInstallMessageHandler(handle);
    }
    ~Catcher()
    {
        const std::lock_guard lock(s_mutex);
        qInstallMessageHandler(m_before);
        s_current = m_outer;
    }
    Catcher(const Catcher&) = delete;
    Catcher& operator=(const Catcher&) = delete;

    [[nodiscard]] QStringList lines() const
    {
        const std::lock_guard lock(s_mutex);
        return m_lines;
    }
    void clear()
    {
        const std::lock_guard lock(s_mutex);
        m_lines.clear();
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        const std::lock_guard lock(s_mutex); // whatever thread writes
        QtMessageHandler before = nullptr;
        for (Catcher* catcher = s_current; catcher != nullptr; catcher = catcher->m_outer) {
            if (QString::fromUtf8(context.category) == catcher->m_category) {
                catcher->m_lines.append(level(type) + u": "_s + message);
                return;
            }
            before = catcher->m_before;
        }
        if (before != nullptr)
            before(type, context, message);
    }
    static QString level(QtMsgType type)
    {
        switch (type) {
        case QtDebugMsg:
            return u"debug"_s;
        case QtInfoMsg:
            return u"info"_s;
        case QtWarningMsg:
            return u"warn"_s;
        default:
            return u"error"_s;
        }
    }

    static inline std::mutex s_mutex;
    static inline Catcher* s_current = nullptr;
    QString m_category;
    QStringList m_lines;
    Catcher* m_outer = nullptr;
    QtMessageHandler m_before = nullptr;
};

} // namespace test_support

#endif

namespace test_support {

LogCapture::LogCapture(const QString& loggerName)
    : m_catcher(std::make_unique<Catcher>(loggerName))
{}

LogCapture::~LogCapture() = default;

QStringList LogCapture::lines() const { return m_catcher->lines(); }

void LogCapture::clear() { m_catcher->clear(); }

} // namespace test_support
