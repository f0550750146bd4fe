#pragma once

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "tests/support/stillclock.h"
#include "tests/unit/storage/scene.h"

namespace test_support {

/// A message to that URL as the plug-in makes them.
inline QVariantMap messageTo(const QString& url, const QByteArray& body = R"({"a":1})")
{
    return {{QStringLiteral("method"), QStringLiteral("POST")},
            {QStringLiteral("headers"),
             QVariantMap{{QStringLiteral("Authorization"), QStringLiteral("Basic x")}}},
            {QStringLiteral("body"), body},
            {QStringLiteral("timeout"), 7},
            {QStringLiteral("url"), url}};
}

} // namespace test_support
