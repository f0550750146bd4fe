#include "tests/simulation/disk.h"

#include "tests/simulation/beside.h"
#include "tests/simulation/dice.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/folders.h"
#include "tests/simulation/monotonic.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

namespace simulation {

namespace {

constexpr sqlite3_int64 sector = 512;

/// A change of a file that may not be on the medium yet.
struct Change
{
    sqlite3_int64 offset = 0;
    QByteArray before; ///< what lay there; shorter at the end of the file
    QByteArray after;  ///< what was written
    sqlite3_int64 sizeBefore = 0;
    bool isCut = false; ///< the file ends at the offset from now on
};

std::map<std::string, std::vector<Change>> unsynced; // by file
std::string watched;                                 // the folder
sqlite3_vfs* real = nullptr;

struct File
{
    sqlite3_file base;
    const std::string* path; ///< the key in `unsynced`
    [[nodiscard]] sqlite3_file* inner() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

File& fileOf(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
sqlite3_file* innerOf(sqlite3_file* file) { return fileOf(file).inner(); }

/// Why a change of the disk fails; SQLITE_OK: it does not.
int refusal()
{
    Fate& fate = Fate::one();
    fate.moment();
    if (fate.isDead())
        return SQLITE_IOERR;
    const auto trouble = fate.ofAccess();
    if (!trouble)
        return SQLITE_OK;
    return *trouble == Trouble::DiskFull ? SQLITE_FULL : SQLITE_IOERR;
}

QByteArray read(sqlite3_file* inner, sqlite3_int64 offset, sqlite3_int64 bytes)
{
    QByteArray data(bytes, '\0');
    const int outcome = inner->pMethods->xRead(inner, data.data(), static_cast<int>(bytes), offset);
    if (outcome != SQLITE_OK && outcome != SQLITE_IOERR_SHORT_READ)
        throw std::runtime_error("the disk of the test cannot be read");
    return data;
}

int onWrite(sqlite3_file* file, const void* data, int bytes, sqlite3_int64 offset)
{
    if (const int refused = refusal())
        return refused;
    sqlite3_file* inner = innerOf(file);
    sqlite3_int64 size = 0;
    inner->pMethods->xFileSize(inner, &size);
    const sqlite3_int64 known = std::clamp<sqlite3_int64>(size - offset, 0, bytes);
    unsynced[*fileOf(file).path].push_back({offset, known > 0 ? read(inner, offset, known) : QByteArray(),
                                            QByteArray(static_cast<const char*>(data), bytes), size, false});
    return inner->pMethods->xWrite(inner, data, bytes, offset);
}

int onTruncate(sqlite3_file* file, sqlite3_int64 size)
{
    if (const int refused = refusal())
        return refused;
    sqlite3_file* inner = innerOf(file);
    sqlite3_int64 before = 0;
    inner->pMethods->xFileSize(inner, &before);
    if (before > size)
        unsynced[*fileOf(file).path].push_back({size, read(inner, size, before - size), {}, before, true});
    return inner->pMethods->xTruncate(inner, size);
}

int onSync(sqlite3_file* file, int flags)
{
    if (const int refused = refusal())
        return refused;
    unsynced.erase(*fileOf(file).path);
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xSync(inner, flags);
}

int onClose(sqlite3_file* file)
{
    sqlite3_file* inner = innerOf(file);
    delete fileOf(file).path;
    return inner->pMethods->xClose(inner);
}

int onRead(sqlite3_file* file, void* data, int bytes, sqlite3_int64 offset)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xRead(inner, data, bytes, offset);
}
int onFileSize(sqlite3_file* file, sqlite3_int64* size)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xFileSize(inner, size);
}
/// What one program has read, another may change before it is locked.
void beforeLocking()
{
    if (!Fate::one().isDead())
        beside::point();
}
int onLock(sqlite3_file* file, int lock)
{
    beforeLocking();
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xLock(inner, lock);
}
int onUnlock(sqlite3_file* file, int lock)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xUnlock(inner, lock);
}
int onCheckReservedLock(sqlite3_file* file, int* result)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xCheckReservedLock(inner, result);
}
int onFileControl(sqlite3_file* file, int operation, void* argument)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xFileControl(inner, operation, argument);
}
int onSectorSize(sqlite3_file* file)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xSectorSize(inner);
}
/// Of this disk nothing is promised: neither that a write is whole, nor that what is written first is there
/// first.
int onDeviceCharacteristics(sqlite3_file* /*file*/) { return 0; }
int onShmMap(sqlite3_file* file, int page, int size, int extend, void volatile** memory)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xShmMap(inner, page, size, extend, memory);
}
int onShmLock(sqlite3_file* file, int offset, int number, int flags)
{
    if ((flags & SQLITE_SHM_LOCK) != 0)
        beforeLocking();
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xShmLock(inner, offset, number, flags);
}
void onShmBarrier(sqlite3_file* file)
{
    sqlite3_file* inner = innerOf(file);
    inner->pMethods->xShmBarrier(inner);
}
int onShmUnmap(sqlite3_file* file, int remove)
{
    sqlite3_file* inner = innerOf(file);
    return inner->pMethods->xShmUnmap(inner, remove);
}

sqlite3_io_methods methods()
{
    sqlite3_io_methods methods{};
    methods.iVersion = 2;
    methods.xClose = onClose;
    methods.xRead = onRead;
    methods.xWrite = onWrite;
    methods.xTruncate = onTruncate;
    methods.xSync = onSync;
    methods.xFileSize = onFileSize;
    methods.xLock = onLock;
    methods.xUnlock = onUnlock;
    methods.xCheckReservedLock = onCheckReservedLock;
    methods.xFileControl = onFileControl;
    methods.xSectorSize = onSectorSize;
    methods.xDeviceCharacteristics = onDeviceCharacteristics;
    methods.xShmMap = onShmMap;
    methods.xShmLock = onShmLock;
    methods.xShmBarrier = onShmBarrier;
    methods.xShmUnmap = onShmUnmap;
    return methods;
}

bool isWatched(const char* name) { return name && std::string_view(name).starts_with(watched); }

int onOpen(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* flagsOut)
{
    static const sqlite3_io_methods ours = methods();
    if (!isWatched(name))
        return real->xOpen(real, name, file, flags, flagsOut);
    if ((flags & SQLITE_OPEN_CREATE) != 0 && Fate::one().isDead())
        return SQLITE_CANTOPEN;
    File& opened = fileOf(file);
    opened.base.pMethods = nullptr;
    const int outcome = real->xOpen(real, name, opened.inner(), flags, flagsOut);
    if (outcome == SQLITE_OK) {
        opened.path = new std::string(name);
        opened.base.pMethods = &ours;
    }
    return outcome;
}

/// Who finds the store locked waits for the other program.
int onSleep(sqlite3_vfs* /*vfs*/, int microseconds)
{
    letSpanPass(std::chrono::microseconds(microseconds));
    if (!Fate::one().isDead())
        beside::pass();
    return microseconds;
}

/// Of one file, what is on the medium of what it was told last.
QByteArray afterPowerCut(QByteArray content, const std::vector<Change>& changes, Dice& dice)
{
    const auto put = [&content](sqlite3_int64 offset, QByteArrayView bytes) {
        if (content.size() < offset + bytes.size())
            content.append(offset + bytes.size() - content.size(), '\0');
        std::copy(bytes.begin(), bytes.end(), content.begin() + offset);
    };
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        put(change->offset, change->before);
        content.truncate(change->sizeBefore);
    }
    const int percent = dice.below(3) * 50; // nothing, half, all: what is written is torn at any place
    for (const Change& change : changes) {
        if (change.isCut) {
            if (dice.below(100) < percent)
                content.truncate(change.offset);
            continue;
        }
        for (sqlite3_int64 begin = 0; begin < change.after.size();) {
            const sqlite3_int64 end = std::min<sqlite3_int64>(
                change.after.size(), (((change.offset + begin) / sector) + 1) * sector - change.offset);
            if (dice.below(100) < percent)
                put(change.offset + begin, QByteArrayView(change.after).sliced(begin, end - begin));
            begin = end;
        }
    }
    return content;
}

} // namespace

void Disk::install(const QString& folder)
{
    watched = folder.toStdString() + '/';
    real = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs ours;
    ours = *real;
    ours.zName = "simulated";
    ours.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
    ours.pNext = nullptr;
    ours.xOpen = onOpen;
    ours.xSleep = onSleep;
    sqlite3_vfs_register(&ours, 1);
}

Files Disk::filesOf(const QString& directory)
{
    Files files;
    for (const QString& name : QDir(directory).entryList(QDir::Files | QDir::Hidden)) {
        if (name.endsWith(u"-shm"_s))
            continue; // an index that whoever comes first makes anew
        QFile file(directory + u'/' + name);
        if (!file.open(QIODevice::ReadOnly))
            throw std::runtime_error("a file of the test cannot be read");
        files.insert(name, file.readAll());
    }
    return files;
}

Files Disk::filesAfterPowerCut(const QString& directory, std::uint64_t dice)
{
    Dice chance(dice);
    Files files = filesOf(directory);
    for (auto file = files.begin(); file != files.end(); ++file) {
        const auto changes = unsynced.find((directory + u'/' + file.key()).toStdString());
        if (changes != unsynced.end())
            *file = afterPowerCut(*file, changes->second, chance);
    }
    return Folders::afterPowerCut(directory, files, chance);
}

void Disk::named(const std::string& from, const std::string& to)
{
    unsynced.erase(to);
    if (const auto changes = unsynced.find(from); changes != unsynced.end())
        unsynced[to] = changes->second;
}

void Disk::forget(const std::string& path) { unsynced.erase(path); }

void Disk::appended(const std::string& path, const QByteArray& bytes)
{
    const sqlite3_int64 size = QFileInfo(QString::fromStdString(path)).size();
    unsynced[path].push_back({size, {}, bytes, size, false});
}

void Disk::restore(const QString& directory, const Files& files)
{
    const Folders::Aside aside;
    Folders::synced(directory.toStdString());
    const QString prefix = directory + u'/';
    std::erase_if(unsynced, [&](const auto& file) { return file.first.starts_with(prefix.toStdString()); });
    const QStringList present = QDir(directory).entryList(QDir::Files | QDir::Hidden);
    for (const QString& name : present)
        QFile::remove(prefix + name);
    for (auto file = files.begin(); file != files.end(); ++file) {
        QFile made(prefix + file.key());
        if (!made.open(QIODevice::WriteOnly) || made.write(*file) != file->size())
            throw std::runtime_error("a file of the test cannot be written");
        made.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }
}

} // namespace simulation
