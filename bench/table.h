#pragma once

#include <functional>
#include <map>
#include <string>

/// What the benches on Google Benchmark share: rows measured in turns, their medians, and a summary of
/// ratios.
namespace bench {

/// Median of each row's time, by the row's whole name.
using Medians = std::map<std::string, double>;

/// Prints one line of the summary and says whether the value keeps its bound.
bool report(const char* what, double value, double bound, const char* unit);

/// Resident memory of this process.
double residentKib();

/// Runs the rows, 15 times in random order unless the arguments say otherwise, then the summary, which says
/// whether all bounds hold. The exit status: 0, or 1 when a row failed or, with --check among the arguments,
/// a bound is broken, or 2 for arguments that nobody knows.
int run(int argc, char** argv, const std::function<bool(Medians&)>& summary);

} // namespace bench
