#pragma once

#include "host/core/abstractdocument.h"
#include "till/settings.h"

#include <QList>
#include <QSet>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <cstdint>
#include <optional>

namespace till {

/// A receipt as the till has it, or one that the till does not have but the service does.
struct BookedReceipt
{
    /// As it was closed, or as it is open; null: abandoned, or never this till's.
    QSharedPointer<AbstractDocument> document = nullptr;
    bool closed = false;
    bool awaited = false; ///< messages about it are still to be sent
};

/// What the service's books say of one receipt, in hundredths of money: points are worth what the till makes
/// of them, a part of a hundredth is cut.
struct LedgerReceipt
{
    QString card;
    std::int64_t spent = 0;          ///< less what was canceled
    std::int64_t earned = 0;         ///< refusals not taken off
    std::int64_t earnedInPoints = 0; ///< the same in hundredths of a point
    int earnings = 0;                ///< how many operations that was
    std::int64_t givenBack = 0;      ///< of spendings, by refusals that a return sent
};

/// The stand's books by receipt.
class Ledger
{
public:
    /// `page` is the answer of GET /stand/ledger.
    Ledger(const QVariantMap& page, const Ratio& ratio);

    /// The receipts that it has operations of, in their order.
    [[nodiscard]] const QStringList& receipts() const { return m_order; }
    [[nodiscard]] LedgerReceipt receipt(const QString& identifier) const
    {
        return m_receipts.value(identifier);
    }

    /// How the receipt differs from the one at the till, in English, a line for each; none when it agrees.
    /// What messages that are still to be sent will mend is no difference.
    [[nodiscard]] QStringList differences(const QString& identifier, const BookedReceipt& booked) const;

private:
    QStringList m_order;
    QHash<QString, LedgerReceipt> m_receipts;
};

/// All bonus discounts of the receipt, in hundredths of money.
std::int64_t bonusDiscountOf(const AbstractDocument& document);
/// What the sale earned as the plug-in told it, in hundredths of money; nothing when it told nothing.
std::optional<std::int64_t> earnedBy(const AbstractDocument& document);

} // namespace till
