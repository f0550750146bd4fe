#pragma once

#include "host/network/restclient.h"
#include "host/storage/documents.h"

#include <thread>

namespace test_support {

/// While the guard lives and a request departs, another program stores a receipt of that name.
[[nodiscard]] inline auto storedMeanwhile(const QString& identifier)
{
    return RestClient::guard({.departing =
                                  [identifier](const QString& /*method*/, const QUrl& /*url*/) {
                                      std::thread([identifier] {
                                          DocumentsDao().store(
                                              QSharedPointer<Document>::create(SaleReceipt, identifier));
                                      }).join();
                                  },
                              .answered = {},
                              .secondsAtMost = 0});
}

} // namespace test_support
