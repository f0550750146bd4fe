#pragma once

#include "host/network/request.h"

#include <QVariant>

namespace network {

/// An answer without the credentials that its request carried: in "Authorization", and the one-time code that
/// is the member "code" of its body. Some servers and proxies tell in an error what they were sent, and their
/// words are shown, logged and kept. In each text of it, stars take the place of the code, of the encoded
/// credentials and, where these are Basic, of the password. One shorter than eight characters is only meant
/// where it stands as a word, a code only from four on: less is any number.
[[nodiscard]] QVariant withoutCredentials(const QVariant& answer, const Request& request);

} // namespace network
