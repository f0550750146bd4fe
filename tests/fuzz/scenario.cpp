// A scenario file.
#include "till/scenario/scenario.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/onefile.h"
#include "till/cli/usageerror.h"

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    try {
        const till::Scenario scenario = till::readScenario(fileOf(bytes), {});
        for (const till::Step& step : scenario.steps)
            require(step.kind != nullptr, "a step that was read is one of the table");
    } catch (const till::UsageError& error) {
        require(*error.what() != 0, "a refused file is told why");
    }
}
