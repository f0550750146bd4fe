#include <QCoreApplication>

#include <gmock/gmock.h>

// Qt finds its SQLite driver through the application object.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
