#pragma once

#include "till/options.h"
#include "till/reporter.h"
#include "till/till.h"

#include <QTextStream>

#include <memory>

namespace till {

/// What the commands that play steps have in common.

/// Tells of the steps on `out` as the options ask; with JSON, what goes on behind them goes to `err`.
std::unique_ptr<Reporter> reporterFor(const Options& options, QTextStream& out, QTextStream& err);

/// The plug-in and the stand that the options name, else those beside this program.
Parts partsOf(const Options& options);

} // namespace till
