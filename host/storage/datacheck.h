#pragma once

#include "host/storage/database.h"
#include "host/utils/export.h"
#include "host/utils/tr.h"

#include <QList>
#include <QString>

#include <memory>

/// How the data directory is looked through for damage: at a program's start, before anything of it is used,
/// and by the doctor.
namespace storage {

/// What was found wrong, for the cashier's screen and the administrator.
struct DataFinding
{
    enum class Kind {
        Damaged, ///< the file was set aside; a new one takes its place
        Receipt, ///< the open receipt in the store; it was set aside as a file of its own
        Lost,    ///< a log without its file, left by an interruption, was set aside
        Cut,     ///< the log was damaged in the middle, so that what was kept last may be missing; a copy of
                 ///< it was set aside
    };
    Kind kind = Kind::Damaged;
    QString file; ///< its path as it was
    QString now;  ///< the path where it lies now
    tr::Tr text;  ///< all of it in one sentence, in Russian
};

/// The store as a program's start opened it. Whoever lets go of the connection while it works has the file
/// read anew by the next one.
struct OpenedStore
{
    QList<DataFinding> findings;
    std::shared_ptr<Database> store;
};

/// Reads all of a store that exists, of whatever size, while others may work with it: seconds for a gigabyte.
/// Throws BasicException when it is damaged, and the next openDataDirectory() sets it aside.
HOST_EXPORT void readThroughStore();

/// A sealed content of the store that is not what was written.
struct DamagedSeal
{
    QString table;
    QString key; ///< the receipt's identifier, the message's number
};

/// Reads every seal of the store but the open receipt's, which SaveToFileLogic::loadOpenReceipt() checks:
/// seconds for a gigabyte. Throws BasicException when it can't be read.
HOST_EXPORT QList<DamagedSeal> damagedSeals();
/// The same of any store.
QList<DamagedSeal> damagedSeals(const Database& store);

/// Whether the store's log is damaged in the middle, so that the next opening takes only a part of it.
HOST_EXPORT bool isStoreCut();

} // namespace storage

/// Looks through the store and the open receipt in it, opens it, or makes it when there is none, and makes
/// sure that it can be written. What is damaged is set aside under another name, never overwritten, and told,
/// in the log too; then a new file takes its place. Throws BasicException, and what is there stays as it is,
/// when something was written by a later version, when the folder may not be written, or when there is no
/// room: all of it before anything is promised. storage::quarantinedFiles() lists what was set aside by this
/// and by earlier starts.
HOST_EXPORT storage::OpenedStore openDataDirectory();
