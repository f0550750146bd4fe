#include "host/utils/logging.h"

#include <log4qt/logmanager.h>
#include <log4qt/mdc.h>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

const QString receiptKey = u"receipt"_s;

void setReceipt(const QString& number)
{
    if (number.isEmpty())
        Log4Qt::MDC::remove(receiptKey);
    else
        Log4Qt::MDC::put(receiptKey, number);
}

} // namespace

Log4Qt::Logger* logger(const QString& name, const QString& /*factory*/)
{
    return Log4Qt::LogManager::logger(name);
}

LogReceipt::LogReceipt(const QString& number)
    : m_before(current())
{
    setReceipt(number);
}

LogReceipt::~LogReceipt() { setReceipt(m_before); }

QString LogReceipt::current() { return Log4Qt::MDC::get(receiptKey); }

} // namespace utils
