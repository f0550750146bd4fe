#include "tests/support/nosettings.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    test_support::hideSettings();
    ::testing::InitGoogleTest(&argc, argv);
    // QProcess asks for an application object.
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
