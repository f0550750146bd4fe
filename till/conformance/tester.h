#pragma once

#include "host/network/restclient.h"
#include "host/utils/config.h"
#include "till/checkout/till.h"
#include "till/conformance/cashier.h"
#include "till/conformance/promises.h"
#include "till/setup/stopsignals.h"

#include <functional>
#include <memory>
#include <optional>

namespace till::conformance {

/// What the person who tries a service has said.
struct Terms
{
    Parts parts;
    Config config;
    QString card;
    QString phone;          ///< empty: none was told
    QString code;           ///< that confirms every spending; empty: none was told
    double points = 0;      ///< of a spending
    int slowest = 0;        ///< milliseconds that an answer may take
    bool canAskFor = false; ///< whether there is somebody at the terminal to tell a code
};

/// Something that was not given back.
struct Leftover
{
    QString operation; ///< "cancel-payment"
    QString receipt;   ///< the number of the spending or earning
};

/// Someone told to stop.
class Interrupted : public std::exception
{};

/// Plays receipts at a till with the real plug-in, sees each exchange with the service, and judges promises
/// by them. What is played is taken back again, by giveBack().
class Tester
{
public:
    /// Starts the till. `signals` stays the caller's, and must outlive this. Throws as Till does.
    Tester(Terms terms, const StopSignals& signals);
    ~Tester();
    Tester(const Tester&) = delete;
    Tester& operator=(const Tester&) = delete;

    /// Judges the promise by what `look` throws: nothing, Difference or NotJudged. Whether it is kept. Throws
    /// Interrupted.
    bool judge(const QString& id, const std::function<void()>& look);
    [[nodiscard]] const QList<Row>& rows() const { return m_rows; }

    [[nodiscard]] const Terms& terms() const { return m_terms; }
    [[nodiscard]] Checkout& checkout() const { return m_till->checkout(); }
    /// Starts the till anew, with spendings that are confirmed by a code.
    void useCodes();
    void enter(const std::optional<QString>& code) { m_cashier.enter(code); }

    /// Opens a sale; false and no receipt when that fails.
    bool openSale(const QList<Line>& lines);
    /// The same with the card under test; false when it is not taken.
    bool openSaleWithCard(const QList<Line>& lines);
    /// Pays the sale; it is to come back.
    Payment pay();
    /// Takes so much of the sale that was paid last back, and tells the service. Throws Difference.
    void takeBack(const QList<ReturnLine>& lines);
    /// Tells the service what waits.
    DeliveryResult deliver() { return m_till->deliver(); }

    /// The last exchange of that operation, of the promise in hand. Throws NotJudged when there is none.
    [[nodiscard]] RestExchange last(const QString& operation) const;
    /// The last one of the run; nothing when there is none.
    [[nodiscard]] std::optional<RestExchange> lastEver(const QString& operation) const;
    /// Every exchange of the promise in hand.
    [[nodiscard]] QList<RestExchange> present() const { return m_exchanges.sliced(m_from); }

    /// Sends a request again, as it was.
    RestExchange repeat(const RestExchange& exchange);
    /// The same with other members of its body, or as another operation.
    RestExchange repeatWith(const RestExchange& exchange, const QJsonObject& changes,
                            const QString& operation = {});
    /// Any request; credentials: what the header says.
    RestExchange send(const QString& method, const QUrl& url, const QByteArray& body,
                      const QHash<QString, QString>& headers);
    [[nodiscard]] QHash<QString, QString> headers() const;

    /// Points that the service says the card has. Throws Difference or NotJudged.
    double balance();
    /// That it is so many points. Throws Difference.
    void requireBalance(double expected);

    /// Takes back what is not taken back yet, trying several times. What is left is in leftovers().
    void giveBack();
    /// What giveBack() could not; nothing more is to be played then.
    [[nodiscard]] const QList<Leftover>& leftovers() const { return m_leftovers; }
    /// Judges what is true of all exchanges, and of the card at the end.
    void judgeTheWhole();
    /// The numbers of all operations that moved points: "force-payment-c2b 1795224000".
    [[nodiscard]] QStringList moved() const;

private:
    [[nodiscard]] QString newIdentifier();
    bool settleOnce();
    void collectLeftovers();
    void undoAgain();
    [[nodiscard]] QStringList redactedLines(qsizetype from) const;
    [[nodiscard]] QString scrubbed(QString text) const;

    Terms m_terms;
    const StopSignals& m_signals;
    Cashier m_cashier;
    Clock m_clock;
    QList<Row> m_rows;
    QList<RestExchange> m_exchanges;
    qsizetype m_from = 0; ///< where those of the promise in hand begin
    utils::Registration m_observing;
    std::unique_ptr<Till> m_till;
    QString m_name; ///< of this run's receipts
    int m_receipts = 0;
    QString m_sale;             ///< the one that was paid last
    QList<ReturnLine> m_unsold; ///< what of it is still to come back
    std::optional<double> m_first;
    QList<Leftover> m_leftovers;
    QList<Leftover> m_lost; ///< those of a till that is no more
    bool m_settledLate = false;
    bool m_heedsSignals = true;
};

} // namespace till::conformance
