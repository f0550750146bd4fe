#include "tests/support/nosettings.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    test_support::hideSettings();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
