#pragma once

#include "host/queue/messagequeue.h"

#include <QByteArray>
#include <QDateTime>
#include <QVariantList>
#include <QVariantMap>

/// How a message lies in the queue's file.
namespace network {

/// The bytes to store; throws BasicException when a value of the message is not Qt's own or too deep.
[[nodiscard]] QByteArray writtenMessage(const QVariantMap& message);

/// The headers but for "Authorization", however it is spelt.
[[nodiscard]] QVariantMap withoutAuthorization(QVariantMap headers);

/// The bytes to store of a message that was given up: whoever sends it after all has the credentials.
[[nodiscard]] HOST_EXPORT QByteArray writtenWithoutAuthorization(QVariantMap message);

/// The beginning of a query for messages, up to its conditions.
[[nodiscard]] QString queuedColumns();

/// The message in a row that such a query found.
[[nodiscard]] HOST_EXPORT QueuedMessage queuedFromRow(const QVariantList& row);

/// A time as it is stored: milliseconds since 1970, negative before. 0 stands for none, or for "at once"; so
/// that very moment is stored as the one after it.
[[nodiscard]] HOST_EXPORT qint64 writtenTime(const QDateTime& time);
/// A stored time in UTC; invalid for none.
[[nodiscard]] HOST_EXPORT QDateTime storedTime(const QVariant& milliseconds);

} // namespace network
