#pragma once

#include <QString>
#include <QVariant>

/// The service's paths, relative to the configured base URL. None begins with "/": the base URL ends with
/// one.
namespace paths {

using namespace Qt::StringLiterals;

// Numbers go into the path as they are; the service is called with them unencoded.
inline QString cardInfo(const QString& card) { return u"v2/partner/card/"_s + card + u"/card-info"_s; }
inline QString userAccount(const QString& card) { return u"v2/partner/user-account/card/"_s + card; }
inline QString userByCard(const QString& card)
{
    return u"v2/partner/operation/user/card/"_s + card + u"/user-info"_s;
}
inline QString userByPhone(const QString& phone)
{
    return u"v2/partner/operation/user/phone/"_s + phone + u"/user-info"_s;
}

inline const QString prePayment = u"v2/partner/operation/pre-payment"_s;
inline const QString forcePayment = u"v2/partner/operation/force-payment-c2b"_s;
inline const QString payment = u"v2/partner/operation/payment-c2b"_s;
inline const QString confirmPayment = u"v2/partner/operation/confirm-payment-c2b"_s;
inline const QString earnPoints = u"v2/partner/operation/payment-b2c"_s;
inline const QString refusePayment = u"v2/partner/operation/refuse-payment"_s;
inline const QString cancelPayment = u"v2/partner/operation/cancel-payment"_s;
inline const QString receipt = u"v2/partner/operation/receipt"_s;

} // namespace paths

/// Members of the service's JSON that more than one place uses.
namespace keys {

using namespace Qt::StringLiterals;

inline const QString branchId = u"branch_id"_s;
inline const QString data = u"data"_s;
inline const QString operatorId = u"operator_id"_s;
inline const QString position = u"position"_s;
inline const QString receiptAmount = u"receipt_amount"_s;
inline const QString receiptBonusAmount = u"receipt_bonus_amount"_s;
inline const QString receiptDatetime = u"receipt_datetime"_s;
inline const QString receiptDescription = u"receipt_description"_s;
inline const QString receiptDetails = u"receipt_details"_s;
inline const QString receiptNumber = u"receipt_number"_s;
inline const QString terminalId = u"terminal_id"_s;

} // namespace keys

/// A list in the service's answer. Anything but an array is an empty one: of a text QVariant would make a
/// list of letters.
inline QVariantList listOf(const QVariant& value)
{
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

/// The kinds of operation whose receipt numbers a card record keeps.
namespace operations {

using namespace Qt::StringLiterals;

inline const QString spend = u"spend"_s;
inline const QString earn = u"earn"_s;

} // namespace operations
