#pragma once

#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"
#include "tests/support/postgres.h"

#include <QJsonObject>
#include <QProcess>

#include <gmock/gmock.h>

#include <chrono>
#include <memory>

namespace tilltest {

/// A shop: its tills, each with a data directory, its database, and the service.
class ShopWorld
{
public:
    ShopWorld();
    ~ShopWorld();
    Q_DISABLE_COPY_MOVE(ShopWorld)

    /// What a command is told of that till.
    [[nodiscard]] QStringList of(const QString& till) const;
    /// Plays the steps at that till, well after all that was played before.
    [[nodiscard]] Ran play(const QString& till, const story::Steps& steps);
    /// The command for the shop as a whole.
    [[nodiscard]] QStringList ofShop() const;

    /// Begins a run of the scenario in that file there, which says in JSON what it does.
    void beginRun(QProcess& run, const QString& till, const QString& file);

    /// Where the database is found from now on.
    void findDatabaseAt(const QString& address) { m_address = address; }
    /// How far apart what is played is, with so many receipts that it takes; a day.
    void setApart(std::chrono::minutes apart) { m_apart = apart; }

    /// Begins one more delivery of the shop's queue.
    QProcess& startDelivery();
    /// Waits until nothing waits in the shop's queue.
    void waitUntilDelivered();
    /// What the service knows, in order: "R-1 spending 100.00", …
    [[nodiscard]] QStringList ledger();
    /// A page of the service's books: "ledger", "invariants".
    [[nodiscard]] QJsonObject page(const QByteArray& name) const;

    const Files files;
    test_support::Postgres database;

private:
    [[nodiscard]] QString settled(const QString& name, const QByteArray& settings) const;
    void moveClockOn(const QString& till);

    QString m_address = database.address();
    standtest::StandProcess m_stand;
    QByteArray m_url = m_stand.url();
    std::vector<std::unique_ptr<QProcess>> m_deliveries;
    std::chrono::minutes m_apart = std::chrono::hours(24);
    int m_runs = 0;
};

class TillsOfAShop : public testing::Test, public ShopWorld
{};

} // namespace tilltest
