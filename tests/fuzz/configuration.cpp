// A configuration file.
#include "host/utils/configfile.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/onefile.h"

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    const utils::ConfigContent content = utils::readConfigFile(fileOf(bytes));
    require(content.problem.isEmpty() || content.entries.isEmpty(), "values or a problem, not both");
    for (const utils::ConfigEntry& entry : content.entries)
        require(entry.line >= 1 && !entry.key.isEmpty(), "a value has its key and its line");
}
