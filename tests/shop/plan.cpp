#include "tests/shop/plan.h"

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using namespace story;

namespace shopday {

namespace {

// Of the stand's cards the two with more points than a day can spend.
constexpr const char* richest = "2000000000031";
constexpr const char* second = "2000000000017";

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
            steps += identifyByCard(kind < 8 ? richest : second);
        if (kind >= 4 && kind < 8)
            steps += spendPoints(100 + upTo(50));
        sale.isClosed = kind != 7;
        steps += sale.isClosed ? pay() : rollback();
        m_plan.append(sale);
        if (sale.isClosed)
            m_sold.append(m_plan.size() - 1);
    }

    /// Half of what was sold since, each at several tills, and seldom at the one that has sold it: the honey
    /// one after the other, and beside that the tea, which was sold once, by two at once.
    void takeBack()
    {
        for (const qsizetype sale : std::exchange(m_sold, {})) {
            qsizetype after = sale;
            const int parts = upTo(2) == 0 ? 0 : 1 + upTo(3);
            for (int part = 0; part < parts; ++part) {
                if (part == 1) {
                    takeTeaBack(sale);
                    continue;
                }
                giveBack(sale, u"V%1"_s.arg(part), upTo(m_tills), 2, after);
                after = m_plan.size() - 1;
            }
        }
    }

    [[nodiscard]] const QList<Receipt>& plan() const { return m_plan; }

private:
    // Not at the one that has sold it: from there it would not move on while one of them waits for the other.
    void takeTeaBack(qsizetype sale)
    {
        if (m_tills < 3)
            return;
        const int one = 1 + upTo(m_tills - 1);
        int other = 1 + upTo(m_tills - 2);
        other += other >= one ? 1 : 0;
        const auto first = static_cast<int>(m_plan.size());
        giveBack(sale, u"W0"_s, one, 1, sale).rival = first + 1;
        giveBack(sale, u"W1"_s, other, 1, sale).rival = first;
    }
    /// At a till so many behind the one that has sold it.
    Receipt& giveBack(qsizetype sale, const QString& name, int further, int posnum, qsizetype after)
    {
        const int till = (m_plan[sale].till + further) % m_tills;
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
