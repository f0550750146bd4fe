#include "till/scenario/reporter.h"

#include "till/cli/terminal.h"

namespace till {

std::unique_ptr<Reporter> reporterFor(const Options& options, QTextStream& out, QTextStream& err)
{
    if (options.json)
        return std::make_unique<JsonReporter>(out, err, options.verbose);
    return std::make_unique<TextReporter>(out, wantsColours());
}

} // namespace till
