#pragma once

#include "host/network/restclient.h"

#include <QByteArray>
#include <QStringList>

namespace till {

/// What was exchanged, for the administrator: the outcome, then the bodies, indented. Card and phone numbers
/// are masked, whatever they look like where the member's name tells; so are the names of the customer.
/// Members named "code" or "password" hide their values, a body that is not JSON all of it.
QStringList redacted(const RestExchange& exchange);

/// One body of those in the same way, indented; empty when there is none.
QStringList redactedBody(const QByteArray& body);

/// Whether a member of that name holds the number of a card or a phone, whatever it looks like.
bool isCustomersNumber(const QString& member);
/// Whether it holds something else of the customer.
bool isPersonal(const QString& member);
/// Whether it holds a password, or a code.
bool isSecret(const QString& member);

} // namespace till
