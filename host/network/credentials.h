#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

namespace network {

/// An answer without the credentials that its request carried in "Authorization": some servers and proxies
/// tell in an error what they were sent, and their words are shown, logged and kept. In each text of it,
/// stars take the place of the encoded credentials and, where these are Basic, of the password. One shorter
/// than eight characters is only meant where it stands as a word.
[[nodiscard]] QVariant withoutCredentials(const QVariant& answer, const QHash<QString, QString>& headers);

} // namespace network
