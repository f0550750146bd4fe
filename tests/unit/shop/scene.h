#pragma once

#include "host/queue/messagequeue.h"
#include "host/shop/familylock.h"
#include "host/shop/moving.h"
#include "host/shop/schema.h"
#include "host/shop/shopdocuments.h"
#include "host/shop/shopqueue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/support/postgres.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

namespace test_support {

/// A shop with a database that is ready for tills, and the store of one of them.
class Shop : public Storage
{
protected:
    Shop() { shop::prepare(database); }

    /// Goes over to another till of the shop, or back.
    void workAt(const QString& till) const { storage::setDataDirectory(outer().filePath(till)); }
    /// All that lies at this till.
    void moveOn(const QString& till = QStringLiteral("1"))
    {
        shop::Moving moving(till, database);
        while (moving.step()) {
        }
    }
    static void enqueue(const QString& receipt, const QByteArray& body = "{}")
    {
        MessageQueue().enqueue(
            QStringLiteral("kyrloyalty"), receipt,
            {{QStringLiteral("method"), QStringLiteral("POST")},
             {QStringLiteral("url"), QStringLiteral("http://127.0.0.1:1/v2/refuse-payment")},
             {QStringLiteral("headers"), QVariantMap()},
             {QStringLiteral("timeout"), 5},
             {QStringLiteral("body"), body}},
            QStringLiteral("text"));
    }

    const Postgres server;
    shop::Connection database{server.address()};
};

} // namespace test_support
