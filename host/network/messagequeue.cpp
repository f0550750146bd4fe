#include "host/network/messagequeue.h"

#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "host/utils/store.h"
#include "host/utils/storedform.h"

#include <QIODevice>

using namespace Qt::StringLiterals;

namespace {

constexpr utils::Seal messageSeal{0x4B59526D, 1}; // "KYRm"

const QString columns =
    u"SELECT id, queue, receipt, enqueued, message, text, attempts, error, parked FROM queued "_s;

qint64 now() { return MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch(); }

QByteArray written(const QVariantMap& message)
{
    if (!utils::isStorable(message))
        throw BasicException(tr::Tr(u"hostQueueMessageUnfit"_s,
                                    u"Сообщение не поставлено в очередь: такие данные нельзя сохранить"_s));
    QByteArray content;
    QDataStream out(&content, QIODevice::WriteOnly);
    out.setVersion(utils::storedStreamVersion);
    out << message;
    return utils::sealed(messageSeal, content);
}

std::optional<QVariantMap> read(const QByteArray& bytes)
{
    const utils::Unsealed opened = utils::unsealed(messageSeal, bytes);
    QDataStream in(opened.content);
    in.setVersion(utils::storedStreamVersion);
    QVariantMap message;
    in >> message;
    const bool whole = opened.state == utils::Unsealed::Whole && in.status() == QDataStream::Ok && in.atEnd();
    return whole ? std::optional(message) : std::nullopt;
}

QueuedMessage fromRow(const QVariantList& row)
{
    QueuedMessage result;
    result.id = row[0].toLongLong();
    result.queue = row[1].toString();
    result.group = row[2].toString();
    result.enqueued = QDateTime::fromMSecsSinceEpoch(row[3].toLongLong(), Qt::UTC);
    const auto message = read(row[4].toByteArray());
    result.message = message.value_or(QVariantMap());
    result.damaged = !message;
    result.text = row[5].toString();
    result.attempts = row[6].toInt();
    result.lastError = row[7].toString();
    result.state = row[8].toBool() ? QueuedMessage::State::Parked : QueuedMessage::State::Waiting;
    return result;
}

} // namespace

struct MessageQueue::Statements
{
    std::shared_ptr<utils::Database> database = utils::store();
    QSqlQuery insert = database->prepared(
        u"INSERT INTO queued (queue, receipt, enqueued, message, text) VALUES (?, ?, ?, ?, ?)"_s);
    QSqlQuery list = database->prepared(columns + u"WHERE id > ? ORDER BY id LIMIT ?"_s);
    QSqlQuery last = database->prepared(u"SELECT max(id) FROM queued"_s);
    QSqlQuery tally = database->prepared(u"SELECT waiting, parked FROM tally"_s);
    QSqlQuery record = database->prepared(
        u"INSERT INTO history SELECT id, queue, receipt, enqueued, ?, text, attempts, error, ?, ?, "
        "CASE WHEN ? THEN message END FROM queued WHERE id = ?"_s);
    QSqlQuery remove = database->prepared(u"DELETE FROM queued WHERE id = ?"_s);
    QSqlQuery fail =
        database->prepared(u"UPDATE queued SET attempts = attempts + 1, error = ? WHERE id = ?"_s);
    QSqlQuery park = database->prepared(
        u"UPDATE queued SET attempts = attempts + 1, error = ?, parked = 1 WHERE id = ?"_s);
    QSqlQuery retry = database->prepared(u"UPDATE queued SET parked = 0 WHERE id = ? AND parked = 1"_s);

    [[nodiscard]] int counted(int column) { return database->rows(tally).value(0).value(column).toInt(); }

    bool finish(qint64 id, const QString& outcome, const QVariant& answer, bool keepMessage)
    {
        bool held = false;
        database->atomically([&] {
            held = database->change(record, {now(), outcome, answer, keepMessage, id}) > 0;
            database->change(remove, {id});
        });
        return held;
    }
};

MessageQueue::MessageQueue()
    : m(std::make_unique<Statements>())
{}

MessageQueue::~MessageQueue() = default;

qint64 MessageQueue::enqueue(const QString& queueName, const QString& group, const QVariantMap& message,
                             const QString& text)
{
    return m->database->insert(m->insert, {queueName, group, now(), written(message), text});
}

QList<QueuedMessage> MessageQueue::messages(int limit) const
{
    QList<QueuedMessage> result;
    for (const QVariantList& row : m->database->rows(m->list, {0, limit}))
        result.append(fromRow(row));
    return result;
}

std::optional<QueuedMessage> MessageQueue::after(qint64 id) const
{
    const QList<QVariantList> found = m->database->rows(m->list, {id, 1});
    return found.isEmpty() ? std::nullopt : std::optional(fromRow(found.first()));
}

qint64 MessageQueue::lastId() const { return m->database->rows(m->last).value(0).value(0).toLongLong(); }

int MessageQueue::waitingCount() const { return m->counted(0); }

int MessageQueue::parkedCount() const { return m->counted(1); }

bool MessageQueue::delivered(qint64 id, int answer) { return m->finish(id, u"delivered"_s, answer, false); }

bool MessageQueue::failed(qint64 id, const QString& error)
{
    return m->database->change(m->fail, {error, id}) > 0;
}

bool MessageQueue::park(qint64 id, const QString& words)
{
    return m->database->change(m->park, {words, id}) > 0;
}

bool MessageQueue::retry(qint64 id) { return m->database->change(m->retry, {id}) > 0; }

bool MessageQueue::drop(qint64 id)
{
    return m->finish(id, u"dropped"_s, QVariant(QMetaType::fromType<int>()), true);
}
