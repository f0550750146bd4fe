#pragma once

#include "till/checkout/till.h"
#include "till/scenario/steps.h"
#include "till/window/catalogue.h"
#include "till/window/servicewatch.h"
#include "till/window/waiting.h"

#include <QDateTime>
#include <QObject>

#include <optional>

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

/// What the cashier can do at the till, and how things stand: the one model behind all panels. Each action
/// plays a step of the till and ends with noticed() and changed(); none throws.
class Desk : public QObject
{
    Q_OBJECT

public:
    /// All are the caller's and outlive the desk.
    Desk(Till& till, Waiting& waiting, const ServiceWatch& watch);

    enum class Stage { Between, Sale, Return, Unknown };
    [[nodiscard]] Stage stage() const;
    [[nodiscard]] Till& till() const { return m_till; }
    [[nodiscard]] const ServiceWatch& watch() const { return m_watch; }
    [[nodiscard]] QSharedPointer<Document> receipt() const { return m_till.receipt(); }
    [[nodiscard]] const Notice& notice() const { return m_notice; }
    /// What the last receipt came to; empty when none was closed yet.
    [[nodiscard]] const QStringList& finished() const { return m_finished; }
    /// Whether positions, card and points may still change.
    [[nodiscard]] bool changeable() const;
    [[nodiscard]] bool pointsSpent() const;
    [[nodiscard]] double spentPoints() const;
    /// Nothing while nobody has asked, or the receipt has changed since.
    [[nodiscard]] std::optional<Limit> limit() const;
    /// When the service told the balance; invalid: not for this receipt, or not since points were spent.
    [[nodiscard]] const QDateTime& balanceTime() const { return m_balanceTime; }

    void openSale(const QVariantList& positions = {});
    void addGoods(const Goods& goods);
    bool addArticle(const QString& articul);
    void setQuantity(int posnum, double quantity);
    void setDiscount(int posnum, double discount);
    void remove(int posnum);
    enum class Means { Guess, Card, Phone };
    bool identify(const QString& entered, Means means);
    void refresh();
    void askLimit();
    bool spend(double points);
    bool pay();
    bool abandon();
    bool openReturn(const QString& sale, const QVariantList& positions);
    void deliver();
    /// Shows a line without anything having been played.
    void say(Notice::Kind kind, const QString& text);

    /// What an entry to find a customer by is taken for.
    static Means meansOf(const QString& entered);

Q_SIGNALS:
    void changed();
    void noticed();

private:
    std::optional<Outcome> play(const QString& step, const QVariantMap& members = {});
    void replacePositions(const QVariantList& positions);
    [[nodiscard]] QVariantList positions() const;
    [[nodiscard]] QString nextIdentifier();
    [[nodiscard]] QString limitReason(double points) const;
    void startAnew();

    Till& m_till;
    Waiting& m_waiting;
    const ServiceWatch& m_watch;
    Notice m_notice;
    QStringList m_finished;
    QDateTime m_balanceTime;
    QDateTime m_lastOpened; ///< the second that the last receipt is named after
    std::optional<double> m_serviceLimit;
};

} // namespace till::window
