#pragma once

#include "host/storage/database.h"
#include "host/utils/export.h"
#include "host/utils/tr.h"

#include <QList>
#include <QString>

#include <memory>

/// How the data directory is looked through at a program's start, before anything of it is used.
namespace utils {

/// What was found wrong, for the cashier's screen and the administrator.
struct DataFinding
{
    enum class Kind {
        Damaged, ///< the file was set aside; a new one takes its place
        Lost,    ///< a log without its file, left by an interruption, was set aside
        Cut,     ///< the log was damaged in the middle, so that what was kept last may be missing; a copy of
                 ///< it was set aside
        Strange, ///< a file of a former version appeared after its content had been taken over; it stays as
                 ///< it is
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

/// Opens the store, made anew when there is none or when it was damaged, and makes sure that it can be
/// written. Each finding is logged as well. Throws BasicException when a file is of a later version, may not
/// be written or there is no room; whatever is of a later version is left byte for byte as it was.
HOST_EXPORT OpenedStore openStore();

/// Reads all of a store that exists, of whatever size, while others may work with it: seconds for a gigabyte.
/// Throws BasicException when it is damaged, and the next openStore() sets it aside.
HOST_EXPORT void readThroughStore();

/// A sealed content of the store that is not what was written.
struct DamagedSeal
{
    QString table;
    QString key; ///< the receipt's identifier, the message's number
};

/// Reads every seal of the store, seconds for a gigabyte. Throws BasicException when it can't be read.
HOST_EXPORT QList<DamagedSeal> damagedSeals();

/// Whether the store's log is damaged in the middle, so that the next opening takes only a part of it.
HOST_EXPORT bool isStoreCut();

/// Sets a damaged file aside and tells of it. `isDamaged` is asked again while no other program does the
/// same; nothing when the file is whole by then.
HOST_EXPORT QList<DataFinding> setAsideAndTell(const QString& path, bool (*isDamaged)(const QString& path));

} // namespace utils
