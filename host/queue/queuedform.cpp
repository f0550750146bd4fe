#include "host/queue/queuedform.h"

#include "host/storage/storedform.h"
#include "host/utils/basicexception.h"
#include "host/utils/utc.h"

#include <QDataStream>
#include <QIODevice>

#include <optional>

using namespace Qt::StringLiterals;

namespace network {

namespace {

constexpr storage::Seal messageSeal{0x4B59526D, 1}; // "KYRm"

std::optional<QVariantMap> readMessage(const QByteArray& bytes)
{
    const storage::Unsealed opened = storage::unsealed(messageSeal, bytes);
    QDataStream in(opened.content);
    in.setVersion(storage::storedStreamVersion);
    const QVariantMap message = storage::storedMap(in);
    const bool whole =
        in.status() == QDataStream::Ok && in.atEnd(); // what is damaged opens as nothing: no map
    return whole ? std::optional(message) : std::nullopt;
}

} // namespace

QByteArray writtenMessage(const QVariantMap& message)
{
    if (const tr::Tr why = storage::unstorable(message); !why.isEmpty())
        throw BasicException(
            tr::Tr(u"hostQueueMessageUnfit"_s,
                   u"Сообщение не поставлено в очередь: такие данные нельзя сохранить (%1)"_s)
                .arg(why));
    QByteArray content;
    QDataStream out(&content, QIODevice::WriteOnly);
    out.setVersion(storage::storedStreamVersion);
    out << message;
    return storage::sealed(messageSeal, content);
}

QVariantMap withoutAuthorization(QVariantMap headers)
{
    headers.removeIf([](const std::pair<const QString&, QVariant&>& header) {
        return header.first.compare("Authorization"_L1, Qt::CaseInsensitive) == 0;
    });
    return headers;
}

QByteArray writtenWithoutAuthorization(QVariantMap message)
{
    const auto headers = message.find(u"headers"_s);
    if (headers != message.end())
        *headers = withoutAuthorization(headers->toMap());
    return writtenMessage(message);
}

QString queuedColumns()
{
    return u"SELECT id, queue, receipt, enqueued, message, text, attempts, error, parked, due FROM queued "_s;
}

QueuedMessage queuedFromRow(const QVariantList& row)
{
    const auto message = readMessage(row[4].toByteArray());
    const QDateTime enqueued = utils::utcFromMilliseconds(row[3].toLongLong());
    const QDateTime due = storedTime(row[9]);
    return {.id = row[0].toLongLong(),
            .queue = row[1].toString(),
            .group = row[2].toString(),
            .enqueued = enqueued,
            .message = message.value_or(QVariantMap()),
            .text = row[5].toString(),
            .attempts = row[6].toInt(),
            .due = due.isValid() ? due : enqueued,
            .lastError = row[7].toString(),
            .state = row[8].toBool() ? QueuedMessage::State::Parked : QueuedMessage::State::Waiting,
            .damaged = !message};
}

qint64 writtenTime(const QDateTime& time)
{
    const qint64 value = time.toMSecsSinceEpoch();
    return value == 0 ? 1 : value;
}

QDateTime storedTime(const QVariant& milliseconds)
{
    const qint64 value = milliseconds.toLongLong();
    return value == 0 ? QDateTime() : utils::utcFromMilliseconds(value);
}

} // namespace network
