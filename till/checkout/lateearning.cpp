#include "till/checkout/lateearning.h"

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace till {

QString accountOfEarning(const QueuedMessage& message, const QVariant& answer)
{
    const QVariant earned = answer.toMap().value(u"data"_s).toMap().value(u"paymentBonus"_s);
    bool isNumber = false;
    const double points = earned.toDouble(&isNumber);
    const bool isEarning = message.operation() == u"payment-b2c"_s;
    return isEarning && isNumber && std::isfinite(points)
               ? u"earned %1 points"_s.arg(QString::number(points, 'f', 2))
               : QString();
}

std::optional<double> pointsIn(const QString& account)
{
    static const QRegularExpression form(u"\\Aearned (-?\\d+\\.\\d\\d) points\\z"_s);
    const QRegularExpressionMatch match = form.match(account);
    return match.hasMatch() ? std::optional(match.captured(1).toDouble()) : std::nullopt;
}

} // namespace till
