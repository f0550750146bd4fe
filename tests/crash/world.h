#pragma once

#include "tests/crash/tracedtill.h"
#include "tests/stand/standprocess.h"
#include "tests/support/lossyproxy.h"
#include "tests/support/steps.h"

#include <QTemporaryDir>

#include <functional>

namespace crashtest {

/// Receipts that a till is killed in.
struct Scenario
{
    const char* name;
    story::Steps steps; ///< the last one delivers the queue
    QJsonObject config = {};
    /// What goes wrong with the service, besides.
    std::function<void(test_support::LossyProxy&)> faults = {};
};

const QList<Scenario>& scenarios();

/// One till's data directory, and the service that survives it.
class World
{
public:
    explicit World(const Scenario& scenario);

    /// What the till is started with to play the scenario's steps from that one on, from 0. The first may
    /// fail when there are completed ones: it may have been done without being told.
    [[nodiscard]] QStringList arguments(qsizetype firstStep = 0);

    [[nodiscard]] QString standUrl() const { return m_standUrl; }
    [[nodiscard]] QString dataDirectory() const { return m_directory.filePath(QStringLiteral("data")); }

private:
    void moveClockOn();

    const Scenario& m_scenario;
    QTemporaryDir m_directory;
    standtest::StandProcess m_stand;
    QString m_standUrl;
    test_support::LossyProxy m_proxy;
    int m_runs = 0;
};

} // namespace crashtest
