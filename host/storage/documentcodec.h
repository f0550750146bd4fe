#pragma once

#include "host/core/document.h"

#include <QByteArray>
#include <QList>
#include <QVariantList>

/// How documents and card records look on disk: their values, doubles bit for bit, behind a seal that tells
/// whether they are whole. Two documents are equal exactly when their written forms are; the only exception
/// are plug-in values with a QVariantHash inside, whose order is not defined.
///
/// Content, as QDataStream of Qt 6.4 writes it, in version 1:
///   document  type (int), identifier, return identifier, sale reference (variant), flags (ints, ascending),
///             positions (count; each position's number, article, name, price, quantity, discount, bonus
///             discount, gross sum of its own (variant)), card records (count; by kind), plug-in data (map of
///             plug-in to its map)
///   record    kind (int), number (variant), internal code (int), status (int), balance (variant), operation
///             id, points for earning (variant), points for spending, customer known (bool) and, if so, name,
///             sex (int), birthday, address, e-mail, phone number
namespace documentcodec {

/// Throws BasicException when the document holds a value that can't be stored: a plug-in's of a type that is
/// not Qt's own, or too deep.
HOST_EXPORT QByteArray written(const Document& document);
HOST_EXPORT QByteArray written(const DocumentCardRecord& record);

/// What written() wrote. `file` is where it came from: bytes that are damaged, or of a later version, throw
/// BasicException naming it.
HOST_EXPORT QSharedPointer<Document> readDocument(const QByteArray& bytes, const QString& file);
HOST_EXPORT QSharedPointer<DocumentCardRecord> readCardRecord(const QByteArray& bytes, const QString& file);

/// Its records lie in that document, with this revision.
void setPlaces(const Document& document, int revision);
/// The document of a store: as it was closed, with what was written back of its cards since, rows of
/// `content` and `revision`.
HOST_EXPORT QSharedPointer<Document> assembled(const QByteArray& content,
                                               const QList<QVariantList>& cardRecords, const QString& file);

} // namespace documentcodec
