#pragma once

#include "host/network/messagequeue.h"

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
[[nodiscard]] QByteArray writtenWithoutAuthorization(QVariantMap message);

/// The beginning of a query for messages, up to its conditions.
[[nodiscard]] QString queuedColumns();

/// The message in a row that such a query found.
[[nodiscard]] QueuedMessage queuedFromRow(const QVariantList& row);

/// A stored time in UTC; 0 stands for none.
[[nodiscard]] QDateTime storedTime(const QVariant& milliseconds);

} // namespace network
