#pragma once

#include "host/core/documentcardrecord.h"
#include "host/utils/logging.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

/// The client of the loyalty service: one operation for each thing the service does.
///
/// Every operation is synchronous on the host's thread and waits for an answer at most the configured
/// timeout. Each throws KyrLoyaltyException, with the text for the cashier, when the exchange fails or its
/// answer can't be used; what the host's REST client itself throws passes unchanged. Amounts are points
/// unless money is said.
///
/// All operations are virtual and called as such, so that a test can replace any one of them; their order is
/// the contract's.
class KyrLoyaltyInterface
{
public:
    /// How a request is sent; a value that is none of these is sent as Get.
    enum class RestMethod : int { Get = 0, Post = 1, Put = 2 };

    /// Reads nothing and does no network work.
    KyrLoyaltyInterface();
    virtual ~KyrLoyaltyInterface();
    KyrLoyaltyInterface(const KyrLoyaltyInterface&) = delete;
    KyrLoyaltyInterface& operator=(const KyrLoyaltyInterface&) = delete;

    /// Reads the settings from the host's Config; may be called again. False, with a line in the log, when
    /// the bonus ratio is malformed: the other settings then keep what they were.
    virtual bool init();

    /// Fills the record with what the service knows of its card: status, customer, balance. A failure leaves
    /// what was already written in place; the balance is written last.
    virtual void getUserInfo(const QSharedPointer<DocumentCardRecord>& record) const;

    /// The card numbers registered for a phone number, in the service's order; empty when there are none.
    virtual QList<QString> getCardNumbers(const QString& phone) const;

    /// Reports the current document, which was closed without a card, as an anonymous receipt.
    virtual void anonymousReceipt() const;

    /// Points to money and back, by the configured ratio. Both cut toward zero to whole hundredths, but for
    /// values within a ten-thousandth of a hundredth, which come back as they are.
    virtual double bonusToMoney(double bonus) const;
    virtual double moneyToBonus(double money) const;

    /// One exchange with the service: `path` is relative and never begins with "/", `body` is UTF-8 JSON and
    /// is not sent with Get. Returns the answer's JSON object, empty when the answer is none.
    virtual QMap<QString, QVariant> getServerResponse(const QString& path, const QByteArray& body,
                                                      RestMethod method) const;

    /// The service's status of the card: 0 new, 1 registration not filled in, 3 active. A blocked card
    /// throws.
    virtual int getCardStatus(const QString& cardNumber) const;

    /// The headers of every request as the outgoing queue wants them, ordered by name.
    QMap<QString, QVariant> getHeadersMap() const;

    /// The texts of a failed answer's error objects, in order; empty when there are none.
    QList<QString> getErrorMessages(const QList<QVariant>& errors) const;

protected:
    Log4Qt::Logger* logger; ///< owned by the log manager
    QString serverUrl;      ///< ends with "/" once initialised
    QString currencyName;   ///< the currency code on receipts
    int timeout = 0;        ///< seconds for one exchange
    QHash<QString, QString> headers;
    double bonusRatio = 1.0; ///< points per unit of money
};
