// Races and repetitions by the thousand. Without arguments a few, as an everyday test; the whole day's work:
//   stand_soak --races=10000 --operations=100000 --restarts=60

#include "tests/stand/soak/sizes.h"

#include <gtest/gtest.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace standtest {

Sizes& sizes()
{
    static Sizes chosen;
    return chosen;
}

} // namespace standtest

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    auto& sizes = standtest::sizes();
    const QList<std::pair<QString, int*>> known = {{u"races"_s, &sizes.races},
                                                   {u"operations"_s, &sizes.operations},
                                                   {u"days"_s, &sizes.days},
                                                   {u"restarts"_s, &sizes.restarts}};
    QCommandLineParser parser;
    for (const auto& [name, value] : known)
        parser.addOption({name, name, u"N"_s, QString::number(*value)});
    if (!parser.parse(QCoreApplication::arguments()) || !parser.positionalArguments().isEmpty()) {
        QTextStream(stderr) << "usage: stand_soak [--races=N] [--operations=N] [--days=N] [--restarts=N]"
                            << Qt::endl;
        return 2;
    }
    for (const auto& [name, value] : known)
        *value = std::max(parser.value(name).toInt(), 1);
    return RUN_ALL_TESTS();
}
