#pragma once

#include "host/core/document.h"

/// A sale with something in every corner: a card with its customer, discounts, flags, plug-in values of each
/// type, doubles that only compare equal bit by bit.
QSharedPointer<Document> richSale(const QString& identifier);

/// A return of that sale, with nothing in it.
QSharedPointer<Document> returnOf(const QString& sale, const QString& identifier);

/// Puts such an entry of the receipt's into the journal of this thread's store.
void note(const QString& receipt, const QString& event);

/// Closes it at a till: in this thread's store, with its entry in the journal.
void closeReceipt(const QSharedPointer<Document>& receipt);
