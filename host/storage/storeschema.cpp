#include "host/storage/storeschema.h"

#include "host/storage/datadirectory.h"

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr int storeId = 0x4B595274; // "KYRt"
constexpr int storeVersion = 1;

// A return says here which sale it returns, any other document says ''.
QStringList receiptTables()
{
    return {u"CREATE TABLE documents (identifier TEXT PRIMARY KEY, stored INTEGER NOT NULL, "
            "content BLOB NOT NULL, sale TEXT NOT NULL)"_s,
            u"CREATE INDEX documents_sale ON documents (sale) WHERE sale <> ''"_s,
            u"CREATE INDEX documents_stored ON documents (stored)"_s,
            u"CREATE TABLE card_records (document TEXT NOT NULL REFERENCES documents, kind INTEGER NOT NULL, "
            "revision INTEGER NOT NULL, content BLOB NOT NULL, PRIMARY KEY (document, kind))"_s,
            u"CREATE TABLE open_receipt (slot INTEGER PRIMARY KEY CHECK (slot = 1), "
            "content BLOB NOT NULL)"_s};
}

// A message is a head when nothing of its group is before it; only heads are sent. The heads and the tally,
// being kept by triggers, are right whoever changes the queue, and make finding what is to be sent and
// counting a million messages as quick as with none.
QStringList queueTables()
{
    return {u"CREATE TABLE queued (id INTEGER PRIMARY KEY AUTOINCREMENT, queue TEXT NOT NULL, "
            "receipt TEXT NOT NULL, enqueued INTEGER NOT NULL, message BLOB NOT NULL, text TEXT NOT NULL, "
            "parked INTEGER NOT NULL DEFAULT 0, attempts INTEGER NOT NULL DEFAULT 0, "
            "error TEXT NOT NULL DEFAULT '', due INTEGER NOT NULL DEFAULT 0, "
            "head INTEGER NOT NULL DEFAULT 1)"_s,
            u"CREATE INDEX sendable ON queued (due, id) WHERE head = 1 AND parked = 0"_s,
            u"CREATE INDEX waiting ON queued (enqueued) WHERE parked = 0"_s,
            u"CREATE INDEX grouped ON queued (receipt, id) WHERE receipt <> ''"_s,
            u"CREATE TABLE history (id INTEGER PRIMARY KEY, queue TEXT NOT NULL, receipt TEXT NOT NULL, "
            "enqueued INTEGER NOT NULL, finished INTEGER NOT NULL, text TEXT NOT NULL, "
            "attempts INTEGER NOT NULL, error TEXT NOT NULL, outcome TEXT NOT NULL, answer INTEGER, "
            "message BLOB)"_s,
            u"CREATE INDEX history_receipt ON history (receipt) WHERE receipt <> ''"_s,
            u"CREATE TABLE tally (waiting INTEGER NOT NULL, parked INTEGER NOT NULL, "
            "delivered INTEGER NOT NULL, error TEXT NOT NULL, refused INTEGER NOT NULL, "
            "probes INTEGER NOT NULL, probe INTEGER NOT NULL)"_s,
            u"INSERT INTO tally VALUES (0, 0, 0, '', 0, 0, 0)"_s,
            u"CREATE TRIGGER head_in AFTER INSERT ON queued WHEN new.receipt <> '' AND EXISTS "
            "(SELECT 1 FROM queued WHERE receipt = new.receipt AND receipt <> '' AND id < new.id) BEGIN "
            "UPDATE queued SET head = 0 WHERE id = new.id; END"_s,
            u"CREATE TRIGGER head_out AFTER DELETE ON queued WHEN old.receipt <> '' AND old.head = 1 BEGIN "
            "UPDATE queued SET head = 1 WHERE id = "
            "(SELECT min(id) FROM queued WHERE receipt = old.receipt AND receipt <> ''); END"_s,
            u"CREATE TRIGGER tally_in AFTER INSERT ON queued BEGIN "
            "UPDATE tally SET waiting = waiting + 1 - new.parked, parked = parked + new.parked; END"_s,
            u"CREATE TRIGGER tally_out AFTER DELETE ON queued BEGIN "
            "UPDATE tally SET waiting = waiting - 1 + old.parked, parked = parked - old.parked; END"_s,
            u"CREATE TRIGGER tally_move AFTER UPDATE OF parked ON queued BEGIN "
            "UPDATE tally SET waiting = waiting + old.parked - new.parked, "
            "parked = parked - old.parked + new.parked; END"_s};
}

QStringList journalTables()
{
    return {u"CREATE TABLE journal (id INTEGER PRIMARY KEY, time INTEGER NOT NULL, receipt TEXT NOT NULL, "
            "event TEXT NOT NULL, operation TEXT NOT NULL, message INTEGER NOT NULL, code INTEGER NOT NULL, "
            "detail TEXT NOT NULL, milliseconds INTEGER NOT NULL)"_s,
            u"CREATE INDEX journal_receipt ON journal (receipt, id)"_s};
}

QStringList retentionTables()
{
    return {u"CREATE TABLE clock (seen INTEGER NOT NULL, doubted INTEGER NOT NULL)"_s,
            u"INSERT INTO clock VALUES (0, 0)"_s};
}

} // namespace

QString storePath() { return dataFile(u"till.sqlite"_s); }

Database::Format storeFormat()
{
    return {storeId, storeVersion, receiptTables() + queueTables() + journalTables() + retentionTables()};
}

} // namespace storage
