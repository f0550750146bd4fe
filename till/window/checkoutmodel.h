#pragma once

#include "till/checkout/till.h"
#include "till/goods/catalogue.h"
#include "till/window/codeentry.h"
#include "till/window/servicewatch.h"
#include "till/window/waiting.h"

#include <QDateTime>
#include <QHash>
#include <QObject>

#include <functional>
#include <optional>
#include <type_traits>

namespace till::window {

/// One line that tells the cashier what has happened.
struct Notice
{
    enum class Kind { Plain, Good, Warning, Bad };

    Kind kind = Kind::Plain;
    QString text;
};

/// How many points may be spent, and why not more.
struct Limit
{
    double points = 0;
    QString reason;
};

/// What the balance will be once the receipt is paid, part by part, in points.
struct Expectation
{
    double balance = 0;           ///< as the service told it last
    double spent = 0;             ///< what was spent since then, or is to be
    std::optional<double> earned; ///< nothing: nobody knows before the receipt is paid
    bool isRounded = false;       ///< it was told in money, which points are finer than
};

/// What the till has learnt of a card since it was started.
struct KnownCard
{
    QString name;
    std::optional<double> balance; ///< nothing: points were moved since it was told
    QDateTime time;                ///< when it was
};

/// What the cashier can do at the till, and how things stand: the one model behind all panels. Each action
/// ends with noticed() and changed(); none throws. What is possible the checkout says.
class CheckoutModel : public QObject
{
    Q_OBJECT

public:
    /// All are the caller's and outlive the model.
    CheckoutModel(Till& till, Waiting& waiting, const ServiceWatch& watch, const Catalogue& catalogue);

    [[nodiscard]] Till& till() const { return m_till; }
    [[nodiscard]] Checkout& checkout() const { return m_till.checkout(); }
    [[nodiscard]] State state() const { return checkout().state(); }
    [[nodiscard]] bool can(Action action) const { return checkout().obstacleTo(action).isEmpty(); }
    [[nodiscard]] const ServiceWatch& watch() const { return m_watch; }
    [[nodiscard]] const Catalogue& catalogue() const { return m_catalogue; }
    [[nodiscard]] QSharedPointer<Document> receipt() const { return checkout().receipt(); }
    [[nodiscard]] const Notice& notice() const { return m_notice; }
    /// What the last receipt came to; empty when none was closed yet.
    [[nodiscard]] const QStringList& finished() const { return m_finished; }
    /// The receipt that was paid last; nothing once another was opened.
    [[nodiscard]] const std::optional<Payment>& paid() const { return m_paid; }
    /// Whether points are not real, or receipts not kept.
    [[nodiscard]] bool isTraining() const { return m_till.ownsService() || !m_till.keepsData(); }
    [[nodiscard]] bool isReturn() const;
    [[nodiscard]] double spentPoints() const;
    /// Nothing while nobody has asked, or the receipt has changed since.
    [[nodiscard]] std::optional<Limit> limit() const;
    /// When `wanted` more points are spent; nothing when the balance is not known.
    [[nodiscard]] std::optional<Expectation> expectation(double wanted = 0) const;
    /// What earlier requests told of the card; nothing when there were none.
    [[nodiscard]] std::optional<KnownCard> known(const QString& card) const;
    /// The code of the spending that is under way.
    [[nodiscard]] CodeEntry& code() { return m_code; }
    /// When the service told the balance; invalid: not for this receipt, or not since points were spent.
    [[nodiscard]] QDateTime balanceTime() const;

    void openSale(const QList<Line>& lines = {});
    /// `quantity` in whole thousandths. What is weighed is a position of its own each time, as it is paid.
    void addGoods(const Goods& goods, double quantity = 1);
    /// Also by what stands on the goods as a barcode.
    bool addArticle(const QString& articul);
    void setQuantity(int posnum, double quantity);
    void setDiscount(int posnum, double discount);
    void remove(int posnum);
    enum class Means { Guess, Card, Phone };
    bool identify(const QString& entered, Means means);
    void refresh();
    void askLimit();
    /// The limit, which the service is asked for when it is not known; nothing when it does not say.
    std::optional<Limit> requireLimit();
    bool spend(double points);
    bool pay();
    bool abandon();
    bool openReturn(const QString& sale, const QList<ReturnLine>& lines);
    void deliver();
    /// Shows a line without anything having been played; a bad one is heard too.
    void say(Notice::Kind kind, const QString& text);

    /// What an entry to find a customer by is taken for.
    static Means meansOf(const QString& entered);

Q_SIGNALS:
    void changed();
    void noticed();

private:
    /// What the operation came to; nothing when it failed, which the cashier was told, or another is under
    /// way.
    template <class Operation>
    std::optional<std::invoke_result_t<Operation>> done(Operation operation);
    void replaceLines(const QList<Line>& lines);
    /// Changes the sale's position, with a word instead when it can't be that way.
    void changeLine(int posnum, const std::function<QString(Line&)>& change);
    [[nodiscard]] QString nextIdentifier();
    void startAnew();
    /// The service has just told balance and customer of the card on the receipt.
    void learn();
    /// Points of that card were moved; null: of none.
    void forgetBalance(const DocumentCardRecord* card);
    Spending spendWithCodes(double points);

    Till& m_till;
    Waiting& m_waiting;
    const ServiceWatch& m_watch;
    const Catalogue& m_catalogue;
    Notice m_notice;
    QStringList m_finished;
    std::optional<Payment> m_paid;
    QDateTime m_balanceTime; ///< when it was told for this receipt
    QDateTime m_lastOpened;  ///< the second that the last receipt is named after
    std::optional<double> m_serviceLimit;
    std::optional<double> m_spentSince; ///< points, since the balance was told
    QHash<QString, KnownCard> m_known;  ///< by the number of the card
    CodeEntry m_code;
};

template <class Operation>
std::optional<std::invoke_result_t<Operation>> CheckoutModel::done(Operation operation)
{
    if (m_waiting.underWay())
        return std::nullopt;
    auto result = [&] {
        const Waiting::Step running(m_waiting);
        return operation();
    }();
    if (result.ok)
        return result;
    say(m_waiting.wasCancelled() ? Notice::Kind::Plain : Notice::Kind::Bad,
        result.error.section(u'\n', 0, 0));
    Q_EMIT changed();
    return std::nullopt;
}

} // namespace till::window
