#include "host/network/dbqueuebroker.h"

#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class Singleton<DBQueueBroker>;

DBQueueBroker::~DBQueueBroker() = default;

void DBQueueBroker::enqueue(const QString& /*queueName*/, const QVariantMap& /*message*/,
                            const QString& /*text*/)
{
    throw BasicException(tr::Tr(u"hostQueueMissing"_s, u"Очередь исходящих сообщений не подключена"_s));
}
