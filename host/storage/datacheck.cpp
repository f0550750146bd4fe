#include "host/storage/datacheck.h"

#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/durablefile.h"
#include "host/storage/openreceipt.h"
#include "host/storage/quarantine.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "host/storage/storedform.h"
#include "host/storage/storeschema.h"
#include "host/storage/writeaheadlog.h"
#include "host/utils/logging.h"

#include <QFileInfo>
#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr qsizetype leastRoom = qsizetype{64} * 1024; // bytes: a receipt of a thousand positions

QString nameOf(const QString& path) { return QFileInfo(path).fileName(); }

DataFinding told(DataFinding::Kind kind, const QString& file, const QString& now)
{
    switch (kind) {
    case DataFinding::Kind::Damaged:
        utils::logger(u"storage"_s)
            ->error(u"%1 is damaged; it was set aside: till rescue %2"_s.arg(file, now));
        return {kind, file, now,
                tr::Tr(u"hostDataDamaged"_s,
                       u"Файл данных %1 повреждён. Он сохранён как %2, работа начата с новым файлом. "
                       "Сообщите администратору"_s)
                    .arg(nameOf(file), nameOf(now))};
    case DataFinding::Kind::Receipt:
        utils::logger(u"storage"_s)->error(u"The open receipt is damaged; it was set aside as %1"_s.arg(now));
        return {kind, file, now,
                tr::Tr(u"hostReceiptDamaged"_s,
                       u"Открытый чек повреждён. Он сохранён как %1 и больше не открыт. "
                       "Сообщите администратору"_s)
                    .arg(nameOf(now))};
    case DataFinding::Kind::Lost:
        utils::logger(u"storage"_s)
            ->error(u"%1 lay there without its file; it was set aside as %2"_s.arg(file, nameOf(now)));
        return {kind, file, now,
                tr::Tr(u"hostDataLost"_s, u"Журнал %1 остался без своего файла данных. Он сохранён как %2. "
                                          "Сообщите администратору"_s)
                    .arg(nameOf(file), nameOf(now))};
    case DataFinding::Kind::Cut: // which its opening has logged
        return {kind, file, now,
                tr::Tr(u"hostDataCut"_s,
                       u"Журнал %1 повреждён: последние чеки и сообщения могли пропасть. Он сохранён как %2. "
                       "Сообщите администратору"_s)
                    .arg(nameOf(file), nameOf(now))};
    }
    return {};
}

template <class Look>
bool findsDamage(Look look)
{
    try {
        look();
        return false;
    } catch (const BasicException& exception) {
        if (isFault(exception, StorageFault::Damaged))
            return true;
        throw;
    }
}

bool isDamagedStore()
{
    return findsDamage([] { Database::examine(storePath(), storeFormat()); });
}

/// Sets a damaged store aside and tells of it. Asked again while no other program does the same; nothing when
/// it is whole by then.
QList<DataFinding> setStoreAside()
{
    const QString path = storePath();
    const FolderLock lock(path); // another program may just have done it
    if (!QFileInfo::exists(path) || !isDamagedStore())
        return {};
    return {told(DataFinding::Kind::Damaged, path, quarantine(path))};
}

bool isDamagedReceipt()
{
    return findsDamage([] { static_cast<void>(SaveToFileLogic::loadOpenReceipt()); });
}

/// The same with the open receipt alone, which becomes a file.
QList<DataFinding> setReceiptAside()
{
    const QString path = dataFile(u"open-receipt"_s);
    if (!isDamagedReceipt())
        return {};
    const FolderLock lock(path);
    if (!isDamagedReceipt())
        return {};
    const QString now = quarantineContent(path, openReceiptIn(*store()));
    SaveToFileLogic::removeOpenReceipt();
    return {told(DataFinding::Kind::Receipt, storePath(), now)};
}

/// Whether the content is what was sealed, of whatever kind and version.
bool isWhole(const QByteArray& bytes)
{
    constexpr auto anyVersion = std::numeric_limits<quint32>::max();
    const quint32 ownKind = bytes.size() < 4 ? 0 : qFromBigEndian<quint32>(bytes.constData());
    return unsealed({ownKind, anyVersion}, bytes).state == Unsealed::Whole;
}

void requireRoom()
{
    const QString probe = dataFile(u"write-check"_s);
    const FolderLock lock(probe); // another program would take it for one that a kill has left behind
    replaceFile(probe, QByteArray(leastRoom, '\0'));
    removeFile(probe);
    store()->requireWritable();
}

/// The store, made anew when there is none or when it was damaged.
OpenedStore openStore()
{
    const QString path = storePath();
    requireSameStore(); // before what is left of it is touched
    OpenedStore opened;
    QList<DataFinding>& findings = opened.findings;
    if (!QFileInfo::exists(path)) {
        const FolderLock lock(path);
        for (const QString& now : finishQuarantine(path))
            findings.append(told(DataFinding::Kind::Lost, path + now.sliced(now.lastIndexOf(u'-')), now));
    }
    try {
        opened.store = store();
    } catch (const BasicException& exception) {
        if (!isFault(exception, StorageFault::Damaged))
            throw;
        findings += setStoreAside();
        forgetStore();
        opened.store = store();
    }
    if (const QString& copy = opened.store->damagedLog(); !copy.isEmpty())
        findings.append(told(DataFinding::Kind::Cut, path + u"-wal"_s, copy));
    return opened;
}

} // namespace

void readThroughStore() { Database::readThrough(storePath(), storeFormat()); }

QList<DamagedSeal> damagedSeals() { return damagedSeals(*store()); }

QList<DamagedSeal> damagedSeals(const Database& store)
{
    // Each with the column that tells which one it is, and the sealed one.
    struct Sealed
    {
        QString table;
        QString key;
        QString content;
    };
    const QList<Sealed> all{{u"documents"_s, u"identifier"_s, u"content"_s},
                            {u"card_records"_s, u"document"_s, u"content"_s},
                            {u"queued"_s, u"id"_s, u"message"_s},
                            {u"history"_s, u"id"_s, u"message"_s}};
    constexpr int atOnce = 100;
    QList<DamagedSeal> found;
    for (const Sealed& sealed : all) {
        QSqlQuery page =
            store.prepared(u"SELECT rowid, %2, %3 FROM %1 WHERE rowid > ? AND %3 IS NOT NULL "
                           "ORDER BY rowid LIMIT %4"_s.arg(sealed.table, sealed.key, sealed.content)
                               .arg(atOnce));
        qint64 last = std::numeric_limits<qint64>::min();
        for (auto rows = store.rows(page, {last}); !rows.isEmpty(); rows = store.rows(page, {last})) {
            for (const QVariantList& row : rows) {
                last = row[0].toLongLong();
                if (!isWhole(row[2].toByteArray()))
                    found.append({sealed.table, row[1].toString()});
            }
        }
    }
    return found;
}

bool isStoreCut() { return isLogDamaged(storePath()); }

} // namespace storage

storage::OpenedStore openDataDirectory()
{
    storage::OpenedStore opened = storage::openStore();
    opened.findings += storage::setReceiptAside();
    storage::requireRoom();
    return opened;
}
