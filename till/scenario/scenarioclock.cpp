#include "till/scenario/scenarioclock.h"

#include "host/storage/durablefile.h"
#include "host/utils/standingtime.h"

using namespace Qt::StringLiterals;

namespace till {

ScenarioClock::ScenarioClock()
    : m_now(QDateTime::currentDateTime())
{
    MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<StandingTime>::create(m_now); };
}

ScenarioClock::~ScenarioClock() { MockFactory<CurrentTime>::mocked = {}; }

void ScenarioClock::goOnFrom(const QString& fileName)
{
    const QByteArray content = storage::readFile(fileName).value_or(QByteArray());
    const auto kept = QDateTime::fromString(QString::fromLatin1(content.trimmed()), Qt::ISODate);
    if (kept.isValid() && kept > m_now)
        m_now = kept.toLocalTime();
}

void ScenarioClock::keepIn(const QString& fileName) const
{
    storage::replaceFile(fileName, m_now.toUTC().toString(Qt::ISODate).toLatin1() + '\n');
}

} // namespace till
