#pragma once

#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"

#include <QJsonArray>

namespace standtest {

struct Item
{
    int position = 1;
    double sum = 100;
    double quantity = 1;
};

/// A receipt with a card, as far as the tests vary it.
struct Check
{
    QString number = QStringLiteral("100");
    QList<Item> items = QList<Item>(1);
    QString card = QStringLiteral("2000000000055"); ///< With 300 points.
    QString identifier = QStringLiteral("check-1");
};

/// Bodies with every member that the till sends.
QJsonObject receipt(const Check& check);
QJsonObject spending(const Check& check, const QString& points);
QJsonObject refusal(const Check& check, const QString& refused);
QJsonObject cancellation(const QString& number, const QString& canceled);
QJsonObject anonymous(const QString& number, int canceled);

/// A stand of its own and a till that asks it. May be used by several threads.
class Shop
{
public:
    explicit Shop(const QStringList& arguments = {});

    Reply post(const QByteArray& operation, const QJsonObject& body);
    Reply put(const QByteArray& operation, const QJsonObject& body);
    Reply send(const QByteArray& operation, const QByteArray& method, const QByteArray& body);

    Reply prePayment(const Check& check, const QString& points);
    Reply forcePayment(const Check& check, const QString& points);
    Reply payment(const Check& check, const QString& points);
    Reply confirm(int approveId, const QString& code);
    Reply earn(const Check& check);
    Reply refuse(const Check& check, const QString& refused);
    Reply cancel(const QString& canceled); ///< With the number that the till gives it.

    /// Hundredths of a point, as the service tells them at the till.
    [[nodiscard]] int balance(const QString& card = Check().card) const;
    /// Hundredths of a point; 0 or less.
    [[nodiscard]] int debt(const QString& card = Check().card) const;
    [[nodiscard]] QJsonValue page(const QByteArray& name) const;
    [[nodiscard]] QJsonArray operations() const; ///< Without the openings.
    [[nodiscard]] QByteArray root() const { return m_root; }

    /// Ends it in the middle of whatever it does, and waits for that.
    void kill();

private:
    StandProcess m_process;
    QByteArray m_root;
};

/// Hundredths in a JSON number of whole units; fails the test when it has more than two decimals.
int hundredths(const QJsonValue& units);
/// The discounts of a spending's answer in hundredths of money.
QList<int> discounts(const Reply& reply);
/// The single text of an error envelope, or what came instead.
std::string refusalText(const Reply& reply);

} // namespace standtest
