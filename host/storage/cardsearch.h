#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

class Document;
class DocumentCardRecord;

namespace storage {

/// Where a loyalty card's number was found among what is kept.
struct CardTraces
{
    QStringList families; ///< sales, each with its returns
    QStringList damaged;  ///< closed receipts that can't be read: nobody knows whose they are
};

/// Looks for a loyalty card's number in what it is shown of a store.
class HOST_EXPORT CardSearch
{
public:
    /// `place` is where the contents lie.
    CardSearch(QString card, QString place);

    /// In a closed receipt; `sale` is that which it returns, or empty.
    void lookAtReceipt(const QString& receipt, const QString& sale, const QByteArray& content);
    /// In what was written back of a receipt's card.
    void lookAtCard(const QString& receipt, const QString& sale, const QByteArray& content);
    /// In a receipt that is open.
    void lookAtOpen(const Document& receipt);
    /// What a message holds that is about the card: the service's requests have it as a JSON text.
    [[nodiscard]] QByteArray inMessages() const;
    /// The card was found there.
    void note(const QString& receipt, const QString& sale = {});

    [[nodiscard]] CardTraces traces() const;

private:
    [[nodiscard]] bool isOf(const DocumentCardRecord& record) const;
    [[nodiscard]] bool isOf(const Document& receipt) const;
    /// Notes the receipt when that says so, or as damaged.
    void lookAt(const QString& receipt, const QString& sale, const std::function<bool()>& isIts);

    QString m_card;
    QString m_place;
    CardTraces m_traces;
};

} // namespace storage
