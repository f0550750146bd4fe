#pragma once

#include "host/core/abstractdocument.h"
#include "till/setup/settings.h"

#include <QDate>
#include <QHash>
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
    /// Of a return: its sale as it was closed; null when the till does not have it.
    QSharedPointer<AbstractDocument> sale = nullptr;
    bool awaited = false; ///< messages about it are still to be sent
    /// Of a return: parts of its sale that came back without the service being told of points on them.
    int untold = 0;
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
    std::int64_t takenBack = 0;      ///< of earnings, by refusals that a return sent; hundredths of a point
};

/// The stand's books by receipt.
class Ledger
{
public:
    /// `page` is the answer of GET /stand/ledger. Throws UsageError when it has something else for an amount.
    Ledger(const QVariantMap& page, const Ratio& ratio);

    /// The receipts that it has operations of, in their order.
    [[nodiscard]] const QStringList& receipts() const { return m_order; }
    /// Those with an operation on that day of local time.
    [[nodiscard]] QStringList receiptsOf(const QDate& day) const;
    [[nodiscard]] LedgerReceipt receipt(const QString& identifier) const
    {
        return m_receipts.value(identifier);
    }

    /// How the receipt differs from the one at the till, in English, a line for each; none when it agrees.
    /// What messages that are still to be sent will mend is no difference.
    [[nodiscard]] QStringList differences(const QString& identifier, const BookedReceipt& booked) const;

private:
    void addOperation(const QVariantMap& operation);
    void addAnonymous(const QVariantMap& report);
    void noteDay(const QString& identifier, const QString& time);
    [[nodiscard]] QStringList pointsDifferences(const QString& heading, const LedgerReceipt& books,
                                                const BookedReceipt& booked) const;
    [[nodiscard]] QString earningDifference(const QString& heading, const LedgerReceipt& books,
                                            const BookedReceipt& booked) const;
    [[nodiscard]] QString takenBackDifference(const QString& heading, const LedgerReceipt& books,
                                              const BookedReceipt& booked) const;
    [[nodiscard]] QString anonymousDifference(const QString& identifier, const BookedReceipt& booked) const;

    struct Root
    {
        QString kind;
        QString receipt;
    };

    Ratio m_ratio;
    QStringList m_order;
    QSet<QString> m_known; ///< those of m_order
    QHash<QString, LedgerReceipt> m_receipts;
    QHash<qlonglong, Root> m_operations;
    QHash<QString, std::int64_t> m_anonymous; ///< hundredths of money, by method and number: "POST R-1"
    QMultiHash<QDate, QString> m_days;
};

} // namespace till
