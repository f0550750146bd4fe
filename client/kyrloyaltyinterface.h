#pragma once

#include "host/core/abstractdocument.h"
#include "host/core/documentbonusrecord.h"
#include "host/core/documentcardrecord.h"
#include "host/core/documentimpact.h"
#include "host/utils/logging.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

#include <utility>

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

    /// Asks what may be spent on the current document and what it earns once `amount` points are spent: the
    /// points that the service allows, and the earning as a bonus record.
    [[nodiscard]] virtual std::pair<double, DocumentBonusRecord> prePayment(double amount) const;
    /// Spends `amount` points on the current document at once. The impact is the discount for the receipt.
    [[nodiscard]] virtual QSharedPointer<BonusImpact> forcePayment(double amount) const;
    /// Starts a spending that the customer confirms with a code from the service; gives its approval id, 0
    /// when the service names none.
    [[nodiscard]] virtual int payment(double amount) const;
    /// Finishes such a spending; `code` goes to the service as it was entered.
    [[nodiscard]] virtual QSharedPointer<BonusImpact> confirmPayment(int approveId, const QString& code,
                                                                     double amount) const;

    /// Awards points for the current document: online at once, else through the outgoing queue. The record is
    /// what was earned; from the queue nothing is known yet and it says nothing.
    [[nodiscard]] virtual DocumentBonusRecord earnPoints(bool online) const;
    /// Undoes, for the current return receipt, the earning of its sale and the spending when there was one.
    /// Always through the outgoing queue.
    virtual void refusePayment() const;
    /// Cancels the current document's spending in full: online at once, else through the outgoing queue. Its
    /// operation ids are used up then: the next operation makes new ones.
    virtual void cancel(bool online) const;

    /// The card numbers registered for a phone number, in the service's order; empty when there are none.
    [[nodiscard]] virtual QList<QString> getCardNumbers(const QString& phone) const;

    /// Reports the current document, closed without a card, through the outgoing queue. A return that leaves
    /// part of its sale takes two messages: the sale back, then what remains of it. Another type of document
    /// is logged and not sent.
    virtual void anonymousReceipt() const;

    /// Points to money and back, by the configured ratio. Both cut toward zero to whole hundredths, but for
    /// values within a ten-thousandth of a hundredth, which come back as they are.
    [[nodiscard]] virtual double bonusToMoney(double bonus) const;
    [[nodiscard]] virtual double moneyToBonus(double money) const;

    /// One exchange with the service: `path` is relative and never begins with "/", `body` is UTF-8 JSON and
    /// is not sent with Get. Returns the answer's JSON object, empty when the answer is none.
    [[nodiscard]] virtual QMap<QString, QVariant>
    getServerResponse(const QString& path, const QByteArray& body, RestMethod method) const;

    /// The receipt object of the current document, with `addBonusImpact` as it was before the bonus discount.
    /// Gives the card record its operation ids when it has none.
    [[nodiscard]] virtual QVariantMap makeCheck(bool addBonusImpact) const;
    /// The discount of `total` money with what the service's position list puts on each position.
    [[nodiscard]] virtual QSharedPointer<BonusImpact> prepareBonusImpact(const QList<QVariant>& positions,
                                                                         double total) const;
    /// The bonus record of that amount (money) for the current document's card.
    [[nodiscard]] virtual DocumentBonusRecord prepareBonusRecord(double amount) const;

    /// The receipt number under which the operation of that kind ("spend", "earn") was sent; empty when none
    /// is recorded.
    [[nodiscard]] virtual QString getOperationId(const QSharedPointer<DocumentCardRecord>& record,
                                                 const QString& kind) const;
    /// Records it, keeping the other kinds. Whoever calls saves the record.
    virtual void setOperationId(const QSharedPointer<DocumentCardRecord>& record, const QString& kind,
                                const QString& id) const;

    /// Queues one anonymous receipt: "sale", "back", "backfull" or "salepartial".
    virtual void sendAnonymousCheck(const QString& type) const;
    /// What remains of the sale that the current document returns a part of.
    [[nodiscard]] virtual QVariantMap makeAnonymousDocumentPartial() const;
    /// The document's positions and amount.
    [[nodiscard]] virtual QVariantMap
    makeAnonymousDocument(const QSharedPointer<AbstractDocument>& document) const;

    /// The service's status of the card: 0 new, 1 registration not filled in, 3 active. A blocked card
    /// throws.
    [[nodiscard]] virtual int getCardStatus(const QString& cardNumber) const;

    /// The headers of every request as the outgoing queue wants them, ordered by name.
    [[nodiscard]] QMap<QString, QVariant> getHeadersMap() const;

    /// The texts of a failed answer's error objects, in order; empty when there are none.
    [[nodiscard]] QList<QString> getErrorMessages(const QList<QVariant>& errors) const;

    /// Queues the refusal of the spending or the earning that `record` holds the id of, as an operation of
    /// the current document, and records `receiptNumber` as the new id of that kind.
    void sendMessageToQueue(const QSharedPointer<DocumentCardRecord>& record, const QString& receiptNumber,
                            bool isSpend) const;

protected:
    Log4Qt::Logger* logger; ///< owned by the log manager
    QString serverUrl;      ///< ends with "/" once initialised
    QString currencyName;   ///< the currency code on receipts
    int timeout = 0;        ///< seconds for one exchange
    QHash<QString, QString> headers;
    double bonusRatio = 1.0; ///< points per unit of money

private:
    /// Sends the body now and gives the "data" of the answer.
    [[nodiscard]] QVariantMap post(const QString& path, const QVariantMap& body) const;
    [[nodiscard]] QVariantMap postSpending(const QString& path, double amount) const;
    /// Leaves the body to the outgoing queue.
    void enqueue(const QString& method, const QString& path, const QVariantMap& body) const;
};
