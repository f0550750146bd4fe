#include "till/logging.h"

#include <QtGlobal>

#include <mutex>

#if KYR_LOG4QT_IS_UPSTREAM
#include <log4qt/appenderskeleton.h>
#include <log4qt/logger.h>
#include <log4qt/loggingevent.h>
#include <log4qt/logmanager.h>
#endif

using namespace Qt::StringLiterals;

namespace till {

namespace {

// Qt takes a plain function as its handler, so what it needs is global.
std::mutex theMutex;
std::function<void(const LogLine&)> theSink;

void deliver(const LogLine& line)
{
    const std::lock_guard lock(theMutex);
    if (theSink)
        theSink(line);
}

LogLevel levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return LogLevel::Debug;
    case QtInfoMsg:
        return LogLevel::Info;
    case QtWarningMsg:
        return LogLevel::Warning;
    default:
        return LogLevel::Error;
    }
}

void handleQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    deliver({levelOf(type), QString::fromUtf8(context.category), message});
}

#if KYR_LOG4QT_IS_UPSTREAM

LogLevel levelOf(Log4Qt::Level level)
{
    if (level >= Log4Qt::Level(Log4Qt::Level::ERROR_INT))
        return LogLevel::Error;
    if (level >= Log4Qt::Level(Log4Qt::Level::WARN_INT))
        return LogLevel::Warning;
    return level >= Log4Qt::Level(Log4Qt::Level::INFO_INT) ? LogLevel::Info : LogLevel::Debug;
}

/// Log4Qt's lines do not pass through Qt's handler; this takes them from the root logger.
class Appender : public Log4Qt::AppenderSkeleton
{
public:
    [[nodiscard]] bool requiresLayout() const override { return false; }

protected:
    void append(const Log4Qt::LoggingEvent& event) override
    {
        const Log4Qt::Logger* logger = event.logger();
        deliver({levelOf(event.level()), logger ? logger->name() : QString(), event.message()});
    }
};

void startLog4Qt()
{
    Log4Qt::Logger* root = Log4Qt::LogManager::rootLogger();
    root->removeAllAppenders();
    root->setLevel(Log4Qt::Level(Log4Qt::Level::DEBUG_INT));
    auto* appender = new Appender;
    appender->activateOptions();
    root->addAppender(Log4Qt::AppenderSharedPtr(appender));
}

void stopLog4Qt() { Log4Qt::LogManager::rootLogger()->removeAllAppenders(); }

#else

void startLog4Qt() {} // the drop-in writes to Qt's categories
void stopLog4Qt() {}

#endif

} // namespace

QString levelText(LogLevel level)
{
    switch (level) {
    case LogLevel::Debug:
        return u"debug"_s;
    case LogLevel::Info:
        return u"info"_s;
    case LogLevel::Warning:
        return u"warning"_s;
    case LogLevel::Error:
        return u"error"_s;
    }
    return {};
}

LogCapture::LogCapture(const std::function<void(const LogLine&)>& sink)
{
    {
        const std::lock_guard lock(theMutex);
        theSink = sink;
    }
    qInstallMessageHandler(handleQtMessage);
    startLog4Qt();
}

LogCapture::~LogCapture()
{
    stopLog4Qt();
    qInstallMessageHandler(nullptr);
    const std::lock_guard lock(theMutex);
    theSink = nullptr;
}

} // namespace till
