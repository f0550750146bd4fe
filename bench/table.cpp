#include "bench/table.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

/// Google Benchmark calls it differently from 1.8 on.
template <class Run>
bool isFailed(const Run& run)
{
    if constexpr (requires { run.error_occurred; })
        return run.error_occurred;
    else
        return run.skipped != decltype(run.skipped){};
}

/// Shows the table as usual and keeps each row's median.
class Reporter : public benchmark::ConsoleReporter
{
public:
    Reporter()
        : ConsoleReporter(OO_Tabular)
    {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            failed = failed || isFailed(run);
            if (run.run_type == Run::RT_Aggregate ? run.aggregate_name == "median" : run.repetitions <= 1)
                medians[row(run)] = run.GetAdjustedRealTime();
        }
    }

    Medians medians;
    bool failed = false;

private:
    static std::string row(const Run& run)
    {
        const std::string& arguments = run.run_name.args;
        return arguments.empty() ? run.run_name.function_name : run.run_name.function_name + "/" + arguments;
    }
};

} // namespace

bool report(const char* what, double value, double bound, const char* unit)
{
    const bool holds = value <= bound;
    std::printf("%-52s %8.2f%s (bound %.2f%s) %s\n", what, value, unit, bound, unit, holds ? "ok" : "over");
    return holds;
}

double residentKib()
{
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

int run(int argc, char** argv, const std::function<bool(Medians&)>& summary)
{
    bool check = false;
    std::vector<char*> arguments{argv[0]};
    // Before the caller's own, so that those win.
    std::string repetitions = "--benchmark_repetitions=15";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    for (std::string* option : {&repetitions, &interleaving, &aggregates})
        arguments.push_back(option->data());
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--check")
            check = true;
        else
            arguments.push_back(argv[i]);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;

    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n");
    const bool holds = summary(reporter.medians);
    return reporter.failed || (check && !holds) ? 1 : 0;
}

} // namespace bench
