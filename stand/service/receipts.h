#pragma once

#include "stand/books/ledger.h"
#include "stand/http/answers.h"

#include <QJsonObject>

namespace stand {

/// Reads the members of a request's object and collects a text for each that is missing or of a wrong form.
/// A wrong member reads as empty or 0.
class Members
{
public:
    explicit Members(QJsonObject object)
        : m_object(std::move(object))
    {}

    QString text(const QString& name); ///< Not empty.
    QString textOrEmpty(const QString& name);
    QString digits(const QString& name);
    void textOrNull(const QString& name);
    double number(const QString& name);
    qint64 integer(const QString& name);
    /// A number from 0 in whole units, given back in 1/`parts`.
    qint64 amount(const QString& name, qint64 parts = 100);
    Hundredths writtenAmount(const QString& name); ///< A text: "12.50".
    void exactly(const QString& name, const QJsonValue& expected);
    [[nodiscard]] bool has(const QString& name) const { return m_object.contains(name); }
    [[nodiscard]] QJsonValue value(const QString& name) const { return m_object.value(name); }

    void complain(const QString& name, const QString& text);
    [[nodiscard]] const QJsonObject& complaints() const { return m_complaints; }
    /// Throws ApiError when there is a complaint.
    void check() const;

private:
    QJsonObject m_object;
    QJsonObject m_complaints;
};

struct Position
{
    QString number;
    Hundredths sum = 0;     ///< Money.
    qint64 thousandths = 0; ///< Of the quantity.
};

/// A receipt with a card, as every operation on points has it.
struct Receipt
{
    QString card;
    QString number;
    QString checkIdentifier;
    Hundredths amount = 0; ///< Money.
    QList<Position> positions;
};

/// Reads the members that every receipt with a card has. Complaints are left to the caller's check().
Receipt receiptFrom(Members& members);

/// Reads positions; complains of `name`, the member that holds them.
QList<Position> positionsFrom(const QJsonValue& list, Members& members, const QString& name);

/// Whether it is digits from 0 to 9 and nothing else, one at least.
[[nodiscard]] bool isDigits(const QString& text);

/// What each position has to do with its points, which are in the order of the positions.
[[nodiscard]] QList<Share> sharesOf(const Receipt& receipt, const QList<Hundredths>& points);

/// The thousandths that `rounded` and Members::amount are asked for when the value is a quantity.
constexpr qint64 quantityParts = 1000;

} // namespace stand
