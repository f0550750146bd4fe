#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace stand {

class Database;

/// The numbers are those of the service's answers.
enum class CardStatus {
    New = 0,
    RegistrationNotFilledIn = 1,
    Blocked = 2,
    Active = 3,
};

struct Card
{
    QString number;
    CardStatus status = CardStatus::New;
    std::optional<qint64> customer; ///< Nobody yet when empty.
    qint64 account = 0;
};

/// What a customer has not told is a null text.
struct Customer
{
    QString lastName;
    QString firstName;
    QString middleName;
    std::optional<int> gender; ///< 0 is a man, 1 a woman.
    QString birthDay;          ///< yyyy-MM-dd
    QString address;
    QString email;
    QString mobile; ///< Digits only.
};

/// How the service writes a balance as a text; accounts differ in it.
enum class Notation {
    Point = 0, ///< 1234.50
    Comma = 1, ///< 1 234,50
};

struct Balance
{
    qint64 hundredths = 0; ///< Of a point.
    Notation notation = Notation::Point;
};

QString written(Balance balance);

/// Throws Denial when nothing at all may be done with the card.
void requireUnblocked(const Card& card);
/// Throws Denial when no points may be spent with the card.
void requireActive(const Card& card);

/// Customers, cards and accounts. Every function throws DatabaseError when the data cannot be reached.
class Accounts
{
public:
    explicit Accounts(Database& database)
        : m_database(database)
    {}

    [[nodiscard]] std::optional<Card> card(const QString& number) const;
    [[nodiscard]] Card known(const QString& number) const; ///< Throws Denial for an unknown card.
    [[nodiscard]] QList<Card> cardsOfPhone(const QString& phone) const; ///< In the order of issue.
    [[nodiscard]] std::optional<Customer> customer(qint64 id) const;
    [[nodiscard]] std::optional<Customer> firstCustomerOfPhone(const QString& phone) const;
    [[nodiscard]] Balance balance(qint64 account) const;

    /// A new card becomes one whose registration is not filled in; another keeps its status.
    void beginRegistration(const QString& number);

private:
    Database& m_database;
};

} // namespace stand
