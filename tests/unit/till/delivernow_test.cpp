#include "till/checkout/deliverynow.h"

#include "host/storage/datadirectory.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

TEST(DeliverNow, NeverStumblesOverAWorkerThatComesAndGoes)
{
    const QTemporaryDir directory;
    storage::setDataDirectory(directory.path());
    {
        MessageQueue queue;
        const std::jthread worker([](const std::stop_token& stop) {
            while (!stop.stop_requested())
                static_cast<void>(QueueDelivery::lock());
        });
        for (int i = 0; i < 1000; ++i) {
            ASSERT_NO_THROW(static_cast<void>(till::deliverNow(queue, Config{}))) << i;
        }
    }
    storage::setDataDirectory({});
}

} // namespace
