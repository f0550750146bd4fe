#pragma once

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/utils/currenttime.h"
#include "host/utils/utc.h"
#include "tests/unit/storage/scene.h"

#include <atomic>
#include <chrono>

namespace test_support {

/// The host's clock while it lives: stands still until it is moved.
class StillClock
{
public:
    StillClock()
    {
        MockFactory<CurrentTime>::mocked = [this] {
            return QSharedPointer<CurrentTime>(new Double(m_milliseconds));
        };
    }
    ~StillClock() { MockFactory<CurrentTime>::mocked = nullptr; }
    StillClock(const StillClock&) = delete;
    StillClock& operator=(const StillClock&) = delete;

    [[nodiscard]] QDateTime now() const { return utils::utcFromMilliseconds(m_milliseconds); }
    void move(std::chrono::milliseconds by) { m_milliseconds += by.count(); }
    void moveTo(const QDateTime& time) { m_milliseconds = time.toMSecsSinceEpoch(); }

private:
    class Double : public CurrentTime
    {
    public:
        explicit Double(const std::atomic<qint64>& milliseconds)
            : m_now(milliseconds)
        {}
        [[nodiscard]] QDateTime currentDateTime() const override
        {
            return QDateTime::fromMSecsSinceEpoch(m_now);
        }

    private:
        qint64 m_now;
    };

    std::atomic<qint64> m_milliseconds =
        QDateTime::fromString(QStringLiteral("2026-03-02T09:00:00Z"), Qt::ISODate).toMSecsSinceEpoch();
};

/// A message to that URL as the plug-in makes them.
inline QVariantMap messageTo(const QString& url, const QByteArray& body = R"({"a":1})")
{
    return {{QStringLiteral("method"), QStringLiteral("POST")},
            {QStringLiteral("headers"),
             QVariantMap{{QStringLiteral("Authorization"), QStringLiteral("Basic x")}}},
            {QStringLiteral("body"), body},
            {QStringLiteral("timeout"), 7},
            {QStringLiteral("url"), url}};
}

} // namespace test_support
