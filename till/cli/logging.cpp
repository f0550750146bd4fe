#include "till/cli/logging.h"

#include "host/utils/logging.h"
#include "host/utils/masking.h"
#include "host/utils/printable.h"
#include "till/cli/usageerror.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>
#include <QTextStream>
#include <QtGlobal>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

/// Behind --log-file; a line is written whole, so that two programs may share the file.
struct OpenLog
{
    int descriptor = -1;
    LogLevel least = LogLevel::Info;
    QByteArray name = {};
};
OpenLog theFile;

/// Below 0 when the file cannot be opened; made when it is missing.
int openForAppending(const QByteArray& name)
{
    return open(name.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                S_IRUSR | S_IWUSR);
}

bool isPlainAndPrivate(const struct stat& status)
{
    return S_ISREG(status.st_mode) && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

/// Throws UsageError when it can't be, or is not fit for a log.
int openLog(const QString& fileName)
{
    const int descriptor = openForAppending(QFile::encodeName(fileName));
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        throw UsageError(u"%1: the log file cannot be written: %2; name another with --log-file"_s.arg(
            fileName, QString::fromLocal8Bit(std::strerror(errno))));
    if (!isPlainAndPrivate(status)) {
        close(descriptor);
        throw UsageError(
            u"%1: the log file must be a plain file of its owner alone (chmod 600)"_s.arg(fileName));
    }
    return descriptor;
}

/// A signal tells one program at most that the log was rotated, and several may write to it. What cannot be
/// opened is not: the lines go on to where the former file lies now.
void followMovedFile()
{
    struct stat open = {};
    struct stat named = {};
    const bool isInPlace = stat(theFile.name.constData(), &named) == 0 &&
                           fstat(theFile.descriptor, &open) == 0 && named.st_dev == open.st_dev &&
                           named.st_ino == open.st_ino;
    const int anew = isInPlace ? -1 : openForAppending(theFile.name);
    if (anew < 0)
        return;
    const bool fits = fstat(anew, &named) == 0 && isPlainAndPrivate(named);
    close(fits ? std::exchange(theFile.descriptor, anew) : anew);
}

/// So that the text can neither pass for a line of its own nor give orders to a terminal.
QString shownText(const LogLine& line) { return utils::printableLines(line.text, u"    "_s); }

void writeToFile(const LogLine& line)
{
    if (theFile.descriptor < 0 || line.level < theFile.least)
        return;
    followMovedFile();
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const QString source =
        u"[%1] "_s.arg(line.logger) +
        (line.receipt.isEmpty() ? QString() : u"[%1] "_s.arg(utils::printable(line.receipt)));
    const QByteArray bytes =
        u"%1 %2 %3%4\n"_s.arg(time, levelText(line.level).leftJustified(7), source, shownText(line)).toUtf8();
    // A full disk must not stop the till for the sake of a log.
    [[maybe_unused]] const ssize_t written =
        write(theFile.descriptor, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// The plug-in's lines whose form is settled, and that name card or phone as they were typed.
bool isSettled(const LogLine& line)
{
    static const QRegularExpression forms(
        u"\\A(?:Получение (?:списка номеров карт|номера карты) по номеру телефона '[^'\\n]*'|"
        "Создание оплаты бонусами в виде скидки на сумму [^,\\n]*, по карте [^\\n]*)\\z"_s);
    return line.logger == u"kyrloyalty"_s && forms.match(line.text).hasMatch();
}

void deliver(LogLine line)
{
    line.receipt = utils::LogReceipt::current();
    if (!isSettled(line))
        line.text = utils::maskNumbers(line.text);
    const std::lock_guard lock(theMutex);
    writeToFile(line);
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

std::optional<LogLevel> levelNamed(const QString& name)
{
    for (const LogLevel level : {LogLevel::Debug, LogLevel::Info, LogLevel::Warning, LogLevel::Error}) {
        if (levelText(level) == name)
            return level;
    }
    return std::nullopt;
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

LogFile::LogFile(const QString& fileName, LogLevel least) { reopen(fileName, least); }

void LogFile::reopen(const QString& fileName, LogLevel least)
{
    OpenLog anew{.least = least, .name = QFile::encodeName(fileName)};
    if (!fileName.isEmpty())
        anew.descriptor = openLog(fileName);
    const std::lock_guard lock(theMutex);
    if (theFile.descriptor >= 0)
        close(theFile.descriptor);
    theFile = anew;
}

LogFile::~LogFile() { reopen({}, {}); }

ScreenLog::ScreenLog(LogLevel least)
    : m_least(least)
    , m_capture([this](const LogLine& line) {
        if (line.level >= m_least)
            QTextStream(stderr) << u"till: %1: %2%3: %4\n"_s.arg(
                line.logger, line.receipt.isEmpty() ? QString() : utils::printable(line.receipt) + u": "_s,
                levelText(line.level), shownText(line));
    })
{}

} // namespace till
