// A message of the queue as it lies in the store, and with a seal that holds whatever is in it.
#include "host/queue/queuedform.h"
#include "host/storage/storedform.h"
#include "tests/fuzz/fuzz.h"

using namespace Qt::StringLiterals;

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    constexpr quint32 messages = 0x4B59526D; // "KYRm"
    QByteArray content = bytes;
    if (choice(content, 2) == 1)
        content = storage::sealed({messages, 1}, content);
    // The columns of a row of the table.
    const QVariantList row{7, u"queue"_s, u"receipt"_s, 1, content, u"text"_s, 0, u""_s, false, 0};
    const QueuedMessage message = network::queuedFromRow(row);
    require(message.id == 7 && message.group == u"receipt"_s, "a damaged message is still there");
    require(!message.damaged || message.message.isEmpty(), "nothing of a damaged message is sent");
}
