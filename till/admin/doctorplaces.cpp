#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/quarantine.h"
#include "till/admin/doctor.h"
#include "till/admin/queueaddresses.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"
#include "till/audit/queuewarnings.h"
#include "till/goods/goodsfile.h"
#include "till/setup/serviceurls.h"

#include <QDir>
#include <QFileInfo>

#include <cstdint>
#include <filesystem>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using State = Finding::State;

constexpr std::uintmax_t mebibyte = 1 << 20;
constexpr std::uintmax_t littleRoom = 500 * mebibyte;
constexpr std::uintmax_t noRoom = 50 * mebibyte;

bool isPrivate(const QFileInfo& file)
{
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                        QFile::WriteOther | QFile::ExeOther;
    return (file.permissions() & others).toInt() == 0;
}

bool mayBeWritten(const QFileInfo& place, int further = 0)
{
    return access(QFile::encodeName(place.filePath()).constData(), W_OK | further) == 0;
}

Finding examineFolder(const QFileInfo& folder)
{
    const QString path = folder.filePath();
    if (!folder.exists())
        return {u"data"_s, State::Warning, path + u": not there yet"_s,
                u"name the till's with --data-dir, or start the till once"_s};
    if (!folder.isDir())
        return {u"data"_s, State::Problem, path + u": is no folder"_s, u"name the till's with --data-dir"_s};
    if (folder.ownerId() != geteuid())
        return {u"data"_s, State::Warning, u"%1: belongs to user '%2'"_s.arg(path, folder.owner()),
                u"run the till's tools as that user: what another one makes there it cannot read"_s};
    if (!mayBeWritten(folder, X_OK))
        return {u"data"_s, State::Problem, path + u": cannot be written"_s,
                u"check its mode, and whether the disk is mounted read-only"_s};
    if (!isPrivate(folder))
        return {u"data"_s, State::Problem, path + u": others may enter it"_s, u"chmod 700 "_s + path};
    return {u"data"_s, State::Ok, path};
}

Finding setAside(const QStringList& damaged, const QStringList& replaced)
{
    QStringList names;
    QStringList rescues;
    for (const QString& file : damaged + replaced) {
        const QFileInfo info(file);
        names.append(info.fileName());
        if (info.exists() && // else it is no store, or a log alone
            info.fileName().startsWith(u"till.sqlite."_s))
            rescues.append(u"till rescue "_s + file);
    }
    return {u"files"_s, State::Warning,
            (damaged.isEmpty() ? u"replaced and set aside: "_s : u"damaged and set aside: "_s) +
                names.join(u", "_s),
            rescues.isEmpty() ? u"see docs/operations.md; move them away when they are not needed"_s
                              : rescues.join(u"; "_s) + u"; then move them away, see docs/operations.md"_s};
}

Finding examineFiles(const QString& path)
{
    QStringList open;
    QStringList strange;
    const uint owner = QFileInfo(path).ownerId();
    const QFileInfoList files = QDir(path).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files) {
        // The stand's own files are made-up customers.
        if (!isPrivate(file) && !file.fileName().startsWith(u"stand."_s))
            open.append(file.fileName());
        if (file.ownerId() != owner)
            strange.append(file.fileName());
    }
    if (!open.isEmpty())
        return {u"files"_s, State::Problem, u"others may read %1"_s.arg(open.join(u", "_s)),
                u"chmod 600 %1/*"_s.arg(path)};
    if (!strange.isEmpty())
        return {u"files"_s, State::Problem,
                u"of another owner than their folder, who cannot use them: "_s + strange.join(u", "_s),
                u"chown --reference=%1 %1/*; and run the tools as that user"_s.arg(path)};
    const QStringList damaged = storage::quarantinedFiles();
    const QStringList replaced = storage::replacedFiles();
    if (!damaged.isEmpty() || !replaced.isEmpty())
        return setAside(damaged, replaced);
    return {u"files"_s, State::Ok, u"private, none set aside"_s};
}

Finding examineDisk(const QString& path)
{
    std::error_code failure; // then the room is the largest number there is; the folder's own finding tells
    const auto room = std::filesystem::space(path.toStdString(), failure).available;
    const QString text = u"%1 MiB free"_s.arg(room / mebibyte);
    const QString remedy = u"make room on the disk of %1: a full disk stops the till"_s.arg(path);
    if (room < noRoom)
        return {u"disk"_s, State::Problem, text, remedy};
    return {u"disk"_s, room < littleRoom ? State::Warning : State::Ok, text,
            room < littleRoom ? remedy : QString()};
}

Finding damaged(const storage::DamagedSeal& seal)
{
    const bool isMessage = seal.table == u"queued"_s;
    const bool isDropped = seal.table == u"history"_s;
    const QString what = isMessage   ? u"message %1"_s
                         : isDropped ? u"the history's copy of the dropped message %1"_s
                                     : u"receipt %1"_s;
    return {u"contents"_s, State::Problem, what.arg(seal.key) + u" is damaged"_s,
            isMessage ? u"bring it back from a backup with till rescue; else settle it with the service's "
                        u"operator, then "
                        "till queue drop %1"_s.arg(seal.key)
            : isDropped
                ? u"nothing, if it was rightly dropped"_s
                : u"bring it back from a backup with till rescue; till receipts show %1 tells what is known"_s
                      .arg(seal.key)};
}

Finding unfitLog(const QString& text, const QString& remedy)
{
    return {u"log"_s, State::Problem, text, remedy};
}

Finding examineMissingLog(const QString& fileName)
{
    const QFileInfo folder(QFileInfo(fileName).path());
    const QString elsewhere = u"; or name another place in Till:logFile"_s;
    if (!folder.isDir())
        return unfitLog(u"%1: there is no folder %2"_s.arg(fileName, folder.filePath()),
                        u"mkdir -p %1"_s.arg(folder.filePath()) + elsewhere);
    if (!mayBeWritten(folder, X_OK))
        return unfitLog(u"%1: cannot be made in that folder"_s.arg(fileName),
                        u"let the till's user write into %1"_s.arg(folder.filePath()) + elsewhere);
    return {u"log"_s, State::Ok, fileName + u", not there yet"_s};
}

/// Messages keep the address that they were put in with.
QList<Finding> examineAddresses(const OutgoingQueue& queue, const Config& config)
{
    QList<Finding> findings;
    if (!namesService(config))
        return findings;
    const QString service = addressIn(QUrl(serverUrlOf(config) + u"v2/partner/"_s));
    const QMap<QString, qsizetype> addresses = queuedAddresses(queue);
    for (auto address = addresses.cbegin(); address != addresses.cend(); ++address) {
        if (!isSameAddress(address.key(), service))
            findings.append(
                {u"queue"_s, State::Warning,
                 u"%1 put in for %2, which is not the configured service"_s.arg(QString::number(*address),
                                                                                address.key()),
                 u"if it has moved: till queue readdress --from %1 --to %2"_s.arg(address.key(), service)});
    }
    return findings;
}

} // namespace

// The till refuses the same.
Finding examineLog(const QString& fileName)
{
    if (fileName.isEmpty())
        return {u"log"_s, State::Ok, u"no file is named for it"_s};
    const QFileInfo file(fileName);
    if (file.isSymLink() || (file.exists() && !file.isFile()))
        return unfitLog(fileName + u": is no plain file"_s,
                        u"name a plain file, and no link, in Till:logFile"_s);
    if (!file.exists())
        return examineMissingLog(fileName);
    if (!isPrivate(file))
        return unfitLog(fileName + u": others than its owner may use it"_s, u"chmod 600 "_s + fileName);
    if (!mayBeWritten(file))
        return unfitLog(u"%1: cannot be written; it belongs to user '%2'"_s.arg(fileName, file.owner()),
                        u"chown it to the till's user, and run the tools as that user"_s);
    return {u"log"_s, State::Ok, fileName};
}

Finding examineGoods(const QString& fileName)
{
    if (fileName.isEmpty())
        return {u"goods"_s, State::Ok, u"no file is named for them; the window sells a few to try"_s};
    const GoodsReading reading = readGoodsFile(fileName);
    if (reading.problems.isEmpty())
        return {u"goods"_s, State::Ok, u"%1 holds %2"_s.arg(fileName, QString::number(reading.goods.size()))};
    const qsizetype further = reading.problems.size() - 1 + reading.furtherProblems;
    const QString first = problemsText(fileName, reading).section(u'\n', 0, 0);
    return {u"goods"_s, State::Problem, further == 0 ? first : u"%1 (and %2 more)"_s.arg(first).arg(further),
            u"mend the file: the window does not start with it"_s};
}

QList<Finding> examineDirectory(const QString& path)
{
    const QFileInfo folder(path);
    QList<Finding> findings{examineFolder(folder)};
    if (folder.isDir()) {
        findings.append(examineFiles(path));
        findings.append(examineDisk(path));
    }
    return findings;
}

Finding examineStore(const QString& path)
{
    const QFileInfo store(QDir(path).filePath(u"till.sqlite"_s));
    if (!store.exists())
        return {u"store"_s, State::Ok, u"not there yet"_s};
    try {
        storage::readThroughStore();
        if (storage::isStoreCut())
            return {u"store"_s, State::Problem,
                    u"till.sqlite-wal is damaged in the middle: what was kept last may be missing"_s,
                    u"copy the whole data directory before anything else is started; see docs/storage.md"_s};
        return {u"store"_s, State::Ok, u"sound, %1 MiB"_s.arg(store.size() / mebibyte)};
    } catch (const std::exception& failure) {
        return {u"store"_s, State::Problem, administratorsText(failure), remedyOf(failure)};
    }
}

QList<Finding> examineContents(const QString& path)
{
    QList<Finding> findings;
    try {
        for (const storage::DamagedSeal& seal :
             keepsAnything(path) ? storage::damagedSeals() : QList<storage::DamagedSeal>())
            findings.append(damaged(seal));
    } catch (const std::exception& failure) {
        findings.append({u"contents"_s, State::Problem, administratorsText(failure), remedyOf(failure)});
    }
    try {
        if (keepsAnything(path))
            static_cast<void>(SaveToFileLogic::loadOpenReceipt());
    } catch (const std::exception& failure) {
        findings.append({u"contents"_s, State::Problem, administratorsText(failure), remedyOf(failure)});
    }
    if (findings.isEmpty())
        findings.append({u"contents"_s, State::Ok, u"each receipt and message is whole"_s});
    return findings;
}

QList<Finding> examineQueue(const Config& config, const QString& path)
{
    if (!keepsAnything(path))
        return {{u"queue"_s, State::Ok, u"nothing was ever queued here"_s}};
    try {
        return examineQueue(config, MessageQueue());
    } catch (const std::exception& failure) {
        return {{u"queue"_s, State::Problem, administratorsText(failure), remedyOf(failure)}};
    }
}

QList<Finding> examineQueue(const Config& config, const OutgoingQueue& queue)
{
    QList<Finding> findings;
    for (const QueueWarning& warning : queueWarnings(queue, config))
        findings.append({u"queue"_s, State::Problem, warning.english, warning.remedy});
    findings += examineAddresses(queue, config);
    if (findings.isEmpty())
        findings.append({u"queue"_s, State::Ok, u"%1 waiting, none parked"_s.arg(queue.waitingCount())});
    return findings;
}

QList<Finding> examineStuck(const Config& config, const QString& path)
{
    if (!keepsAnything(path))
        return {};
    try {
        QList<Finding> findings;
        for (const QueueWarning& warning : stuckWarnings(config))
            findings.append({u"shop"_s, State::Problem, warning.english, warning.remedy});
        return findings;
    } catch (const std::exception& failure) {
        return {{u"shop"_s, State::Problem, administratorsText(failure), remedyOf(failure)}};
    }
}

} // namespace till
