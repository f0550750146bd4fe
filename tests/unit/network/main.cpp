#include "tests/unit/network/scene.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    trustTheTestCertificates();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
