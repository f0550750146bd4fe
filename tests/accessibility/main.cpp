#include "tests/support/nosettings.h"

#include <QCoreApplication>

#include <atspi/atspi.h>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    test_support::hideSettings();
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    atspi_init();
    return RUN_ALL_TESTS();
}
