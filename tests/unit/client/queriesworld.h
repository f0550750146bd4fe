#pragma once

#include "tests/support/fakeservice.h"
#include "tests/support/hostworld.h"
#include "tests/unit/client/openclient.h"

#include <gmock/gmock.h>

/// A client whose service answers what the test scripts.
class QueriesWorld : public test_support::HostWorld
{
protected:
    QueriesWorld() { client.serverUrl = QStringLiteral("http://service/"); }

    void answerStatus(const QByteArray& status)
    {
        service.answer(R"({"data":{"card_data":{"status":)" + status + "}}}");
    }

    test_support::FakeService service;
    OpenClient client;
    const tr::Tr blocked{QStringLiteral("cardExceptionBlocked"), QStringLiteral("Карта заблокирована")};
};
