#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    // QProcess asks for an application object.
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
