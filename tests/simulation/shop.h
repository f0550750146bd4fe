#pragma once

#include "tests/simulation/delivery.h"
#include "tests/simulation/dice.h"
#include "tests/simulation/disk.h"
#include "tests/simulation/network.h"
#include "tests/simulation/seen.h"
#include "tests/simulation/service.h"
#include "tests/simulation/story.h"
#include "tests/simulation/usedtime.h"
#include "tests/support/stillclock.h"
#include "till/checkout/till.h"

#include <QSet>

#include <memory>
#include <optional>

namespace simulation {

/// The tills of a shop, their cashiers and their administrator, through a story until everything rests.
class Shop
{
public:
    /// `folder` is empty, and where the simulated disk is.
    Shop(const Story& story, const QString& folder, bool isServiceForgetful);
    ~Shop();
    Shop(const Shop&) = delete;
    Shop& operator=(const Shop&) = delete;

    /// What is wrong in the end, or on the way; none: nothing.
    QStringList play();
    /// What happened so far, a line each.
    [[nodiscard]] const QStringList& log() const { return m_log; }
    [[nodiscard]] int receipts() const { return m_numbered; }
    [[nodiscard]] int deaths() const { return m_deaths; }
    [[nodiscard]] int deathsBeside() const { return m_deathsBeside; }

private:
    class Cashier;
    struct Died
    {};
    /// Of the administrator, about a message that was parked.
    struct Decision
    {
        int till = 0;
        QueuedMessage message; ///< as it was then
        int sent = 0;          ///< how often till then
        bool isDropped = false;
    };

    void play(const Episode& episode);
    void act(const Episode& episode);
    /// A delivery works beside the till from now on, if one does in that episode.
    void beginBeside(const Episode& episode);
    /// It has ended when this returns.
    void endBeside();
    void die(const Trouble& end);
    void revive();
    [[nodiscard]] Config config() const;
    void start();
    void stop();
    /// To be called after each step: whoever is dead has seen nothing of it.
    void requireAlive() const;
    void note(const QString& line);
    void find(const QString& finding);
    [[nodiscard]] QString toldAnywhere(QString line) const;

    void sell(Dice& dice);
    void giveBack(Dice& dice);
    void chooseCard(Dice& dice, Seen& seen);
    void spend(Dice& dice, Seen& seen);
    void end(Dice& dice);
    /// Gets rid of the open receipt in one way or the other, as far as that is possible now.
    void finish(Dice& dice);
    void pay();
    void rollBack();
    void askAgain();
    void deliver(Dice& dice);
    void backUp(Dice& dice);
    void restore(Dice& dice);
    /// After something went wrong in one: the administrator goes on where it is.
    void finishRestore();
    void putBack();
    /// Out of each store that was set aside.
    void rescueAll();
    void setClock(Dice& dice);
    /// To be done before anything is numbered.
    void waitForUnusedTime();
    void keepDelivering(Dice& dice);
    void administrate(Dice& dice);
    void retry(const QueuedMessage& message);
    void drop(const QueuedMessage& message);
    /// That what was decided at this till is so.
    void checkDecisions();
    /// A backup knows nothing of them.
    void forgetDecisions();
    /// Receipts of which something was dropped, be it before a restore that took that back.
    [[nodiscard]] QSet<QString> incomplete() const;
    /// Nothing is parked but what chance had refused, or what follows something that was dropped.
    void checkParked();
    /// Retries what is parked, and drops it when that helps no more, for what it follows was dropped. False:
    /// there was nothing to do.
    bool lookAfterParked(QSet<qint64>& retried);
    /// As the service's operator is asked to: what was dropped is done, just as the queue would have done
    /// it, and nothing else is missing then.
    void settleDropped();
    [[nodiscard]] QString directory() const { return m_folder + u'/' + QString::number(m_at); }
    [[nodiscard]] QString backups() const { return directory() + QStringLiteral("-backups"); }
    QString number();
    Seen& seenOf(const QString& identifier);

    void checkAfterDeath();
    /// Everything works again: whatever was left open is finished, and what waits is sent.
    void comeToRest();
    void sendAll();
    void checkBooks();

    const Story& m_story;
    QString m_folder;
    test_support::StillClock m_clock;
    Service m_service;
    Network m_network{m_service, m_clock};
    std::unique_ptr<Cashier> m_cashier;
    std::unique_ptr<till::Till> m_till;
    int m_at = 0; ///< the till that somebody works at
    QString m_knownPassword;
    std::unique_ptr<Delivery> m_delivery; ///< that works beside it
    QMap<QString, Files> m_left;          ///< by the till that died, in each folder
    QHash<int, QString> m_backups;        ///< the last of each till
    bool m_isRestoring = false;
    bool m_isRestoreRepeated = false; ///< should something go wrong
    QList<Seen> m_seen;
    QList<Decision> m_decisions;
    QSet<QString> m_incompleteBefore; ///< the last restores
    UsedTime m_used;
    int m_numbered = 0;
    int m_deaths = 0;
    int m_deathsBeside = 0;
    QStringList m_log;
    QStringList m_findings;
};

} // namespace simulation
