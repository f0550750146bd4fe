#pragma once

#include "tests/journey/shop/shop.h"
#include "tests/shop/disturbance.h"
#include "tests/shop/plan.h"

#include <QElapsedTimer>

#include <memory>
#include <vector>

namespace shopday {

/// How often something was killed.
struct Kills
{
    int tills = 0;
    int services = 0;
    int deliveries = 0;
    int databases = 0; ///< each was the one that may be written to
};

/// A day of a shop, played by processes. Every fourth till's receipts move on by a service of its own, the
/// others' at the end of each run.
class Day
{
public:
    Day(tilltest::ShopWorld& world, const QList<Receipt>& plan, Disturbance disturbance);
    ~Day();
    Q_DISABLE_COPY_MOVE(Day)

    /// Plays all of it, and lets everything go on until nothing waits anywhere. False: it did not come to
    /// that, and why has been told.
    bool play();

    [[nodiscard]] const Kills& kills() const { return m_kills; }
    [[nodiscard]] int runs() const { return m_runs; }
    /// How many returns were refused because another till had taken back the same goods.
    [[nodiscard]] int outrun() const { return m_outrun; }
    /// Executes statements in the database that is in use.
    [[nodiscard]] QString sql(const QString& statements) const;

private:
    struct Till
    {
        QString name;
        QList<int> receipts;     ///< that it plays, as indices into the plan
        qsizetype next = 0;      ///< of them
        qsizetype played = 0;    ///< steps of that one
        bool isInDoubt = false;  ///< the next step may have been done
        bool isOutrun = false;   ///< a rival has closed that one
        bool isBeforeEnd = true; ///< what it has closed may lie here still
        bool hasService = false;
        bool hasLeft = false;   ///< something that its last runs could not move on
        bool onlyMoves = false; ///< that run does nothing else
        std::unique_ptr<QProcess> run;
        QList<story::Step> steps; ///< of that run
        std::unique_ptr<QProcess> service;
        QElapsedTimer since;
        qint64 killAfter = -1; ///< -1: not
        qint64 restAfter = 0;  ///< after a refusal
    };

    [[nodiscard]] bool mayPlay(const Till& till) const;
    void goOn();
    [[nodiscard]] QList<story::Step> stepsOf(const Till& till) const;
    void begin(Till& till);
    void look(Till& till);
    void judge(Till& till);
    /// What became of that step of the receipt; false when the others of the run come to nothing.
    [[nodiscard]] bool judgeStep(Till& till, const QJsonObject& step);
    void finishReceipt(Till& till);
    void disturb();
    void loseDatabase();
    void startService(Till& till);
    [[nodiscard]] bool isOver() const;
    void fail(const Till& till, const QString& why);

    tilltest::ShopWorld& m_world;
    QList<Receipt> m_plan;
    Disturbance m_disturbance;
    std::vector<Till> m_tills;
    QList<bool> m_isBegun; ///< of each receipt: it is open, or done
    QList<bool> m_isDone;  ///< of each receipt
    std::vector<QProcess*> m_deliveries;
    std::unique_ptr<test_support::Postgres> m_other; ///< beside the shop's own
    test_support::Postgres* m_primary = nullptr;
    test_support::Postgres* m_standby = nullptr; ///< null on a quiet day
    Kills m_kills;
    int m_outrun = 0;
    int m_underWay = 0;
    int m_runs = 0;
    int m_done = 0;
    qint64 m_longest = 300;
    bool m_hasFailed = false;
    QElapsedTimer m_sinceKill;
    QElapsedTimer m_sinceProgress;
};

} // namespace shopday
