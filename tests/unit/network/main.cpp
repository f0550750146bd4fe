#include "host/network/idlework.h"
#include "tests/unit/network/scene.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

#include <optional>

int main(int argc, char** argv)
{
    qputenv("QT_LOGGING_RULES",
            "network.debug=true"); // the log's tests read it, whatever the caller silences
    const QCoreApplication application(argc, argv);
    trustTheTestCertificates();
    std::optional<IdleWork> work;
    if (qEnvironmentVariableIsSet("TEST_IDLE_WORK"))
        work.emplace([] {});
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
