#include "host/queue/dbqueuebroker.h"
#include "host/storage/datadirectory.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

/// Enqueues into the data directory that its argument names, until it is killed, and says so after each.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    storage::setDataDirectory(QString::fromLocal8Bit(argv[1]));
    DBQueueBroker broker;
    for (int number = 0;; ++number) {
        broker.enqueue(u"kyrloyalty"_s, {{u"number"_s, number}, {u"body"_s, QByteArray(2000, 'x')}}, {});
        if (std::printf("%d\n", number) < 0 || std::fflush(stdout) != 0)
            return 1; // nobody listens any more
    }
}
