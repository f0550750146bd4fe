// Backups, and what the administrator does to have one back, also when it goes wrong in the middle.

#include "tests/simulation/shop.h"

#include "host/storage/datadirectory.h"
#include "host/storage/quarantine.h"
#include "host/storage/rescue.h"
#include "host/storage/store.h"
#include "host/storage/storebackup.h"
#include "tests/simulation/fate.h"

#include <QFile>

#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

namespace simulation {

void Shop::backUp(Dice& dice)
{
    finish(dice);
    if (m_till->checkout().receipt())
        return;
    const QString file = backups() + u"/%1"_s.arg(++m_numbered);
    const bool isMade = storage::backUpStore(file).has_value();
    requireAlive();
    note(u"backup"_s);
    if (isMade)
        m_backups.insert(m_at, file);
}

void Shop::restore(Dice& dice)
{
    finish(dice);
    if (m_till->checkout().receipt() || !m_backups.contains(m_at))
        return;
    forgetDecisions();
    m_isRestoring = true; // until it is done, or the administrator has seen to it
    m_isRestoreRepeated = dice.oneIn(2);
    stop();
    requireAlive();
    storage::setDataDirectory(directory());
    putBack();
    rescueAll();
    m_isRestoring = false;
    start();
    requireAlive();
    checkAfterDeath();
}

void Shop::finishRestore()
{
    if (!std::exchange(m_isRestoring, false))
        return;
    storage::setDataDirectory(directory());
    storage::forgetStore(); // each tool is a new process
    if (!QFile::exists(directory() + u"/till.sqlite"_s))
        find(u"neither the one store nor the other is in its place"_s);
    try {
        if (m_isRestoreRepeated)
            putBack();
        rescueAll();
    } catch (const std::exception& failure) {
        find(u"the restore cannot be brought to an end: "_s + QString::fromUtf8(failure.what()));
    }
}

void Shop::putBack()
{
    if (!QFile::exists(m_backups.value(m_at)))
        find(u"the backup is there no more"_s);
    const storage::RestoredStore restored = storage::restoreStore(m_backups.value(m_at));
    requireAlive();
    note(u"restore, with %1 receipts to rescue"_s.arg(restored.receiptsBehind.size()));
}

void Shop::rescueAll()
{
    const QStringList former = storage::replacedFiles();
    for (const QString& file : former) {
        const storage::Rescued rescued = storage::rescue(file);
        requireAlive();
        note(u"rescue"_s);
        if (!rescued.lost.isEmpty())
            find(u"the rescue of a sound store lost %1 of %2: %3"_s.arg(
                rescued.lost.first().key, rescued.lost.first().table, rescued.lost.first().why));
    }
    for (const QString& file : former) {
        for (const QString& suffix : {u"-wal"_s, u"-shm"_s, u""_s})
            QFile::remove(file + suffix);
    }
    requireAlive();
}

} // namespace simulation
