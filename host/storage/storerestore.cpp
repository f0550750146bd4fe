#include "host/storage/store.h"
#include "host/storage/documentcodec.h"
#include "host/storage/durablefile.h"
#include "host/storage/openreceipt.h"
#include "host/storage/quarantine.h"
#include "host/storage/storageerror.h"
#include "host/storage/storecontents.h"
#include "host/storage/storedmessages.h"
#include "host/storage/storeschema.h"
#include "host/storage/unfinishedstore.h"
#include "host/storage/writeaheadlog.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <cerrno>
#include <memory>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

void copyContent(const QString& from, const QString& to)
{
    constexpr qint64 atOnce = qint64{1} << 20;
    QFile source;
    const int opened = openPlainFile(from);
    if (opened < 0)
        throw systemError(errno, from);
    // What is open already is no more than taken over.
    static_cast<void>(source.open(opened, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    ensurePrivateFile(to);
    QFile target(to);
    bool done = target.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    while (done && !source.atEnd()) {
        const QByteArray part = source.read(atOnce);
        if (source.error() != QFileDevice::NoError || part.isEmpty())
            throw storageError(StorageFault::Failed, from, source.errorString());
        done = target.write(part) == part.size();
    }
    if (!done)
        throw storageError(target.error() == QFileDevice::ResourceError ? StorageFault::Full
                                                                        : StorageFault::Failed,
                           to, target.errorString());
}

QSet<QString> receiptsIn(const Database& store)
{
    QSqlQuery query = store.prepared(u"SELECT identifier FROM documents"_s);
    QSet<QString> receipts;
    for (const QVariantList& row : store.rows(query))
        receipts.insert(row[0].toString());
    return receipts;
}

QSet<QByteArray> messagesIn(const Database& store, bool inQueue)
{
    QSet<QByteArray> messages;
    forEachMessage(store, inQueue,
                   [&messages](const StoredMessage& message) { messages.insert(message.identity); });
    return messages;
}

/// What the former store has and the present one does not.
void compare(const Database& former, const Database& present, RestoredStore& result)
{
    const QSet<QString> receipts = receiptsIn(present);
    QSqlQuery closed = former.prepared(u"SELECT identifier FROM documents ORDER BY stored, rowid"_s);
    for (const QVariantList& row : former.rows(closed)) {
        if (!receipts.contains(row[0].toString()))
            result.receiptsBehind.append(row[0].toString());
    }
    const QSet<QByteArray> waiting = messagesIn(present, true);
    const QSet<QByteArray> gone = messagesIn(present, false);
    QSet<QByteArray> waited;
    forEachMessage(former, true, [&](const StoredMessage& message) {
        waited.insert(message.identity);
        if (!waiting.contains(message.identity) && !gone.contains(message.identity))
            result.messagesBehind.append(message.id);
    });
    result.mayBeDelivered = (waiting - waited).size();
    const QByteArray open = openReceiptIn(former);
    if (!open.isEmpty() && open != openReceiptIn(present))
        result.openBehind = documentcodec::readDocument(open, former.path())->getIdentifier();
}

/// The former store, which nobody else has open from now on; null when it can't be read.
std::unique_ptr<Database> openFormer(const QString& path)
{
    try {
        return std::make_unique<Database>(path, storeFormat());
    } catch (const BasicException& failure) {
        if (!isFault(failure, StorageFault::Damaged) && !isFault(failure, StorageFault::Newer))
            throw;
        return nullptr;
    }
}

/// Folds its log into it. Throws when another program has it open, and keeps others out until it is closed.
void beAlone(const Database& store)
{
    for (const QString& step :
         {u"PRAGMA journal_mode=DELETE"_s, u"PRAGMA locking_mode=EXCLUSIVE"_s, u"BEGIN EXCLUSIVE"_s}) {
        QSqlQuery query = store.prepared(step);
        static_cast<void>(store.rows(query));
    }
}

void requireAllWhole(const StoreContents& contents, const QString& file)
{
    if (!contents.damaged.isEmpty())
        throw storageError(StorageFault::Damaged, file,
                           contents.damaged.first().table + u' ' + contents.damaged.first().key);
}

} // namespace

RestoredStore restoreStore(const QString& file)
{
    const QString source = QFileInfo(file).absoluteFilePath();
    const QString path = storePath();
    const UnfinishedStore copy(path, source);
    RestoredStore result;
    std::unique_ptr<Database> present;
    copy.throughFailures([&] {
        copyContent(source, copy.path());
        if (QFileInfo::exists(source + u"-wal"_s))
            copyContent(source + u"-wal"_s, copy.path() + u"-wal"_s);
        if (isLogDamaged(copy.path()))
            throw storageError(StorageFault::Damaged, source + u"-wal"_s);
        present = std::make_unique<Database>(copy.path(), storeFormat());
        requireSound(*present);
        result.contents = contentsOf(*present);
        requireAllWhole(result.contents, source);
    });
    std::unique_ptr<Database> former;
    if (QFileInfo::exists(path)) {
        former = openFormer(path);
        result.isFormerKnown = former != nullptr;
        if (former) {
            compare(*former, *present, result);
            beAlone(*former);
        }
    } else {
        result.mayBeDelivered = result.contents.waiting;
    }
    present.reset();
    syncFile(copy.path());
    result.former = replaceDatabase(path, copy.path());
    forgetStore();
    return result;
}

} // namespace storage
