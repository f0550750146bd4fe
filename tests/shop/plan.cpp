#include "tests/shop/plan.h"

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using namespace story;

namespace shopday {

namespace {

// Of the stand's cards the two with more points than a day can spend.
constexpr const char* richest = "2000000000031";
constexpr const char* other = "2000000000017";

class Planner
{
public:
    Planner(int tills, quint32 seed)
        : m_tills(tills)
        , m_random(seed)
    {}

    void sell(int till, int number)
    {
        const QString identifier = u"R-%1-%2"_s.arg(till).arg(number);
        Receipt sale{till, identifier, {}};
        Steps& steps = sale.steps;
        steps += openSale(identifier, {tea(300).less(20), honey(250, 2)});
        const int kind = upTo(10);
        if (kind >= 2) // two of ten are anonymous
            steps += identifyByCard(kind < 8 ? richest : other);
        if (kind >= 4 && kind < 8)
            steps += spendPoints(100 + upTo(50));
        sale.isClosed = kind != 7;
        steps += sale.isClosed ? pay() : rollback();
        m_plan.append(sale);
        if (sale.isClosed)
            m_sold.append(m_plan.size() - 1);
    }

    /// Half of what was sold since, each at several tills, and seldom at the one that has sold it. Two of
    /// them want the tea, which was sold once.
    void takeBack()
    {
        for (const qsizetype sale : std::exchange(m_sold, {})) {
            qsizetype after = sale;
            const int parts = upTo(2) == 0 ? 0 : 1 + upTo(3);
            for (int part = 0; part < parts; ++part) {
                const int till = (m_plan[sale].till + upTo(m_tills)) % m_tills;
                if (part == 1 && m_tills > 1) {
                    const int rivals = (till + 1 + upTo(m_tills - 1)) % m_tills;
                    const auto next = static_cast<int>(m_plan.size());
                    giveBack(sale, u"W0"_s, till, 1, after).rival = next + 1;
                    giveBack(sale, u"W1"_s, rivals, 1, after).rival = next;
                } else {
                    giveBack(sale, u"V%1"_s.arg(part), till, part == 1 ? 1 : 2, after);
                }
                after = m_plan.size() - 1;
            }
        }
    }

    [[nodiscard]] const QList<Receipt>& plan() const { return m_plan; }

private:
    Receipt& giveBack(qsizetype sale, const QString& name, int till, int posnum, qsizetype after)
    {
        const QString sold = m_plan[sale].identifier;
        const QString identifier = name + sold.sliced(1);
        m_plan.append({till, identifier, openReturn(identifier, sold, {position(posnum)}) + pay(), true,
                       static_cast<int>(after)});
        return m_plan.last();
    }
    // Not a distribution of the library's, which differ.
    int upTo(int end) { return static_cast<int>(m_random() % static_cast<quint32>(end)); }

    int m_tills;
    std::mt19937 m_random;
    QList<Receipt> m_plan;
    QList<qsizetype> m_sold;
};

} // namespace

QString withoutRivals(QString text) { return text.replace(u"W1-"_s, u"W0-"_s); }

QList<Receipt> planOf(int tills, int salesOfEach, quint32 seed)
{
    Planner planner(tills, seed);
    for (int number = 1; number <= salesOfEach; ++number) {
        for (int till = 0; till < tills; ++till)
            planner.sell(till, number);
        planner.takeBack();
    }
    return planner.plan();
}

} // namespace shopday
