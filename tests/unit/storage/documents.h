#pragma once

#include "host/core/document.h"

/// A sale with something in every corner: a card with its customer, discounts, flags, plug-in values of each
/// type, doubles that only compare equal bit by bit.
QSharedPointer<Document> richSale(const QString& identifier);
