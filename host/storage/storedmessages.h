#pragma once

#include "host/storage/database.h"

#include <functional>

namespace storage {

/// A message in a store's queue or history.
struct StoredMessage
{
    qint64 id = 0;
    QString receipt;
    QString text;
    QByteArray identity; ///< what tells it from all others, whatever number it has
    QByteArray content;  ///< a digest; of one in the queue only
};

/// Goes through all that wait or are parked in their order, or through all that left the queue.
void forEachMessage(const Database& store, bool inQueue,
                    const std::function<void(const StoredMessage&)>& look);

/// The digest of a content.
QByteArray contentDigest(const QVariant& content);

} // namespace storage
