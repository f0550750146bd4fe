#pragma once

#include <QAnyStringView>
#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <ostream>

/// What a till is told to do, so that a test reads as the story of a receipt:
///
///     openSale("R-1", {tea(200), honey(50)}) + identifyByCard("2000000000055") + spendPoints(50) + pay()
///
/// A test that is about the JSON itself, odd or broken, writes it out.
namespace story {

/// One step of a scenario.
class Step
{
public:
    explicit Step(QAnyStringView name) { m_members.insert(QStringLiteral("do"), name.toString()); }

    // The same step with one thing more.
    [[nodiscard]] Step with(QAnyStringView member, const QJsonValue& value) const;
    /// Its failure is allowed.
    [[nodiscard]] Step mayFail() const { return with("mayFail", true); }
    /// What is entered when a code is asked for.
    [[nodiscard]] Step withCode(QAnyStringView code) const { return with("code", code.toString()); }
    /// Which card of a list is taken, from 0; -1 closes the list.
    [[nodiscard]] Step choosing(int card) const { return with("choose", card); }

    [[nodiscard]] const QJsonObject& members() const { return m_members; }
    /// One line of JSON, as a shell takes it.
    [[nodiscard]] QByteArray json() const;

    friend bool operator==(const Step& one, const Step& other) { return one.m_members == other.m_members; }
    friend std::ostream& operator<<(std::ostream& out, const Step& step)
    {
        return out << step.json().toStdString();
    }

private:
    QJsonObject m_members;
};

/// Steps that are done one after the other; a step stands wherever steps do.
class Steps
{
public:
    Steps() = default;
    Steps(const Step& step)
        : m_list{step}
    {}
    Steps(const QList<Step>& list)
        : m_list(list)
    {}

    Steps& operator+=(const Steps& next)
    {
        m_list += next.m_list;
        return *this;
    }
    [[nodiscard]] const QList<Step>& list() const { return m_list; }

private:
    QList<Step> m_list;
};

inline Steps operator+(Steps first, const Steps& next) { return first += next; }

/// One position of a sale.
struct Goods
{
    QString articul;
    QString name;
    double price;
    double quantity;
    double discount = 0;

    /// The same with so much money off.
    [[nodiscard]] Goods less(double money) const { return {articul, name, price, quantity, money}; }
};

inline Goods goods(QAnyStringView name, double price, double quantity = 1)
{
    return {QStringLiteral("1"), name.toString(), price, quantity};
}

inline Goods tea(double price, double quantity = 1) { return goods("Чай", price, quantity); }

inline Goods honey(double price, double quantity = 1)
{
    return {QStringLiteral("2"), QStringLiteral("Мёд"), price, quantity};
}

/// What comes back of a position of a sale.
struct Back
{
    int posnum;
    double quantity;
};

inline Back position(int posnum, double quantity = 1) { return {posnum, quantity}; }

Step openSale(QAnyStringView id, const QList<Goods>& positions = {});
Step openReturn(QAnyStringView id, QAnyStringView of, const QList<Back>& positions);
Step setPositions(const QList<Goods>& positions);
inline Step identifyByCard(QAnyStringView card)
{
    return Step("identifyByCard").with("card", card.toString());
}
inline Step identifyByPhone(QAnyStringView phone)
{
    return Step("identifyByPhone").with("phone", phone.toString());
}
inline Step getCardInfo() { return Step("getCardInfo"); }
inline Step request() { return Step("request"); }
inline Step spendPoints(double points) { return Step("spendPoints").with("points", points); }
inline Step cancel() { return Step("cancel"); }
inline Step rollback() { return Step("rollback"); }
inline Step pay() { return Step("pay"); }
inline Step deliver() { return Step("deliver"); }
inline Step startService() { return Step("service").with("up", true); }
inline Step stopService() { return Step("service").with("up", false); }
inline Step restart() { return Step("restart"); }

/// The file in which these steps are kept, with settings and perhaps a name of its own.
QByteArray scenario(const Steps& steps, const QJsonObject& config = {}, QAnyStringView name = {});

} // namespace story
