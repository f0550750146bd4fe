#pragma once

#include "host/core/document.h"

#include <QList>
#include <QSharedPointer>
#include <QString>

#include <functional>
#include <optional>

namespace till {

/// What is sold at one position. Amounts are money.
struct Line
{
    QString articul;
    QString name;
    double price = 0;    ///< of one unit
    double quantity = 0; ///< units, in whole thousandths
    double discount = 0; ///< taken off the position
};

/// How much of a sale's position comes back.
struct ReturnLine
{
    int posnum = 0;      ///< the position's number in the sale, from 1
    double quantity = 0; ///< units, in whole thousandths
};

/// What an operation came to.
struct Result
{
    bool ok = true;
    QString error = {}; ///< why not, for the cashier's screen; empty when ok
};

/// A receipt that is not open yet.
struct Draft : Result
{
    QSharedPointer<Document> receipt = {}; ///< null when not ok
};

struct Identification : Result
{
    QString card = {}; ///< the number that was looked for, or found; empty: the list of cards was closed
};

struct Spending : Result
{
    std::optional<double> points = {}; ///< as the service was asked for them; nothing: it was not asked
};

struct Payment : Result
{
    enum class Earning {
        None, ///< the receipt earns nothing, or nobody knows what
        Done,
        Queued, ///< it waits in the outgoing queue
    };

    QSharedPointer<Document> receipt = {}; ///< as it was closed
    Earning earning = Earning::None;
    std::optional<double> earned = {}; ///< points; nothing: nobody was asked
    bool earnedIsRounded = false;      ///< it was told in money, which points are finer than
};

/// Runs the operation. What it throws becomes the result's failure, in its own words; only a UsageError comes
/// out, after which there is no till to go on with.
void carryOut(Result& result, const std::function<void()>& operation);

/// What stands on the receipt, in the order of its positions.
QList<Line> linesOf(const AbstractDocument& receipt);

} // namespace till
