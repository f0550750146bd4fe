// A message of the queue as it lies in the store, and with a seal that holds whatever is in it.
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/store.h"
#include "host/storage/storedform.h"
#include "tests/fuzz/fuzz.h"

#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Lives as long as the process.
struct Queue
{
    Queue()
    {
        storage::setDataDirectory(directory.path());
        queue = std::make_unique<MessageQueue>();
        id = queue->enqueue(u"queue"_s, {}, {{u"method"_s, u"POST"_s}}, {});
    }

    QTemporaryDir directory;
    std::unique_ptr<MessageQueue> queue;
    qint64 id = 0;
};

Queue& queue()
{
    static Queue queue;
    return queue;
}

} // namespace

void fuzz::prepare() { queue(); }

void fuzz::decode(const QByteArray& bytes)
{
    constexpr quint32 messages = 0x4B59526D; // "KYRm"
    QByteArray content = bytes;
    if (choice(content, 2) == 1)
        content = storage::sealed({messages, 1}, content);
    const auto store = storage::store();
    store->begin(); // and never commits, so that nothing waits for a disk
    QSqlQuery replace = store->prepared(u"UPDATE queued SET message = ?"_s);
    store->change(replace, {content});
    const auto message = queue().queue->find(queue().id);
    store->rollback();
    require(message.has_value(), "a damaged message is still there");
    require(!message->damaged || message->message.isEmpty(), "nothing of a damaged message is sent");
}
