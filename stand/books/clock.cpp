#include "stand/books/clock.h"

#include <chrono>

namespace stand {

namespace {

std::chrono::milliseconds& ahead()
{
    static std::chrono::milliseconds difference{0};
    return difference;
}

} // namespace

QDateTime now() { return QDateTime::currentDateTimeUtc().addMSecs(ahead().count()); }

void setClock(const QDateTime& time)
{
    ahead() = std::chrono::milliseconds(QDateTime::currentDateTimeUtc().msecsTo(time));
}

} // namespace stand
