#include "host/queue/deliveryworker.h"
#include "host/storage/datadirectory.h"

#include <QCoreApplication>

/// Delivers the queue of the data directory that its argument names, until it is killed.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    storage::setDataDirectory(QString::fromLocal8Bit(argv[1]));
    const DeliveryWorker worker;
    return QCoreApplication::exec();
}
