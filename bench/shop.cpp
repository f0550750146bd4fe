#include "bench/shopbench.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;

// What one database carries: receipts that tills move on, messages that deliveries deliver, sales that are
// looked for among many. The database lies on the file system of the current folder; the tills' stores, each
// of which would have a disk of its own, where temporary files do.

namespace {

int usage()
{
    qWarning(
        "usage: bench_shop [--check] moving [--standby] [RECEIPTS [ROUNDS [MONTHS [TILLS...]]]]\n"
        "       bench_shop [--check] delivery [MESSAGES [ROUNDS [MONTHS [MILLISECONDS [DELIVERIES...]]]]]\n"
        "       bench_shop [--check] lookup [RECEIPTS [MONTHS...]]");
    return 2;
}

int taken(QStringList& arguments, int otherwise)
{
    return arguments.isEmpty() ? otherwise : arguments.takeFirst().toInt();
}

QList<int> allTaken(QStringList& arguments, const QList<int>& otherwise)
{
    QList<int> numbers;
    while (!arguments.isEmpty())
        numbers.append(arguments.takeFirst().toInt());
    return numbers.isEmpty() ? otherwise : numbers;
}

} // namespace

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*.debug=false\n*.info=false"_s);
    testing::FLAGS_gtest_throw_on_failure = true; // a server that does not start ends this
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool check = arguments.removeAll(u"--check"_s) > 0;
    const bool withStandby = arguments.removeAll(u"--standby"_s) > 0;
    const QString what = arguments.isEmpty() ? QString() : arguments.takeFirst();
    bool holds = false;
    if (what == u"till-process"_s)
        return beTill(arguments);
    if (what == u"delivery-process"_s)
        return beDelivery(arguments);
    if (what == u"moving"_s) {
        const int receipts = taken(arguments, 40);
        const int rounds = taken(arguments, 1);
        const int months = taken(arguments, 3);
        holds = measureMoving(allTaken(arguments, {1, 2}), receipts, rounds, months, withStandby);
    } else if (what == u"delivery"_s) {
        const int messages = taken(arguments, 60);
        const int rounds = taken(arguments, 1);
        const int months = taken(arguments, 3);
        const int milliseconds = taken(arguments, 0);
        holds = measureDelivery(allTaken(arguments, {1, 2}), messages, rounds, months, milliseconds);
    } else if (what == u"lookup"_s) {
        const int receipts = taken(arguments, 2000);
        holds = measureLookup(receipts, allTaken(arguments, {2, 4}));
    } else {
        return usage();
    }
    return check && !holds ? 1 : 0;
}
