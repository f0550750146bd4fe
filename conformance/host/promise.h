#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <stdexcept>

/// Something that the plug-in relies on.
struct Promise
{
    QString sentence;           ///< what the host does
    QString otherwise;          ///< what the plug-in, and so the cashier, meets where it does not
    std::function<void()> kept; ///< throws what differs
};

/// Throws that, unless it holds.
inline void require(bool holds, const QString& differs)
{
    if (!holds)
        throw std::runtime_error(differs.toStdString());
}

/// The data directory of the run; it is new and empty.
void setFolder(const QString& folder);
[[nodiscard]] QString folder();

QList<Promise> sharedThings(); ///< one of each, for the program and every library
QList<Promise> services();     ///< configuration, session, clock, events, dialogs, texts
QList<Promise> documents();    ///< receipts, their positions and cards, how they are kept
QList<Promise> queue();        ///< what cannot be sent now
QList<Promise> exchanges();    ///< requests to a service
QList<Promise> loyaltySystem();

/// What the other process of the queue's promises does: it puts a message in and is killed.
void enqueueAndDie();
