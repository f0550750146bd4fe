#pragma once

#include "host/core/document.h"
#include "tests/support/fakehost.h"
#include "tests/support/fakeservice.h"
#include "tests/support/hostworld.h"
#include "tests/unit/client/openclient.h"

#include <QSharedPointer>

namespace fuzz {

/// A till with a receipt open for a card, made anew for each run; the service answers what it is given.
class ClientWorld : public test_support::HostWorld
{
public:
    ClientWorld();
    void TestBody() override {}

    test_support::FakeService service;
    QSharedPointer<Document> receipt{new Document(SaleReceipt, QStringLiteral("R-1"))};
    QSharedPointer<DocumentCardRecord> card{
        new DocumentCardRecord(KyrLoyaltySystem, QStringLiteral("2000000000017"), 4)};
    OpenClient client;
};

/// What no text may hold.
inline const QString password = QStringLiteral("pass-of-the-shop");

} // namespace fuzz
