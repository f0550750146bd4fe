#pragma once

#include "host/utils/export.h"

#include <QUrl>

#include <functional>
#include <optional>

namespace network {

/// Gives each message of the queue, waiting or parked, the URL that `moved` says for its own; where that says
/// nothing, it stays. Nothing else of a message changes, and its receipt's journal tells of it. All of it is
/// one commit. Returns how many were changed. Throws BasicException, and changes nothing, when the store
/// can't be used.
HOST_EXPORT qsizetype readdress(const std::function<std::optional<QUrl>(const QUrl&)>& moved);

} // namespace network
