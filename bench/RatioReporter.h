#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

// The console table, then each case's CPU time as a multiple of its floor measured in the same
// run, so that the figures compare across machines and loads.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    // Pairs of (case, floor) by benchmark name, e.g. {"quantizeTune/180", "quantizerFloor/180"}.
    explicit RatioReporter(std::vector<std::pair<std::string, std::string>> casesAndFloors)
        : mCasesAndFloors(std::move(casesAndFloors))
    {
    }

    // The whole of a benchmark program's main: reads the command line, runs the selected
    // cases and reports them with these ratios. Returns main's exit code.
    static int runAll(int argc, char** argv, std::vector<std::pair<std::string, std::string>> casesAndFloors)
    {
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv))
            return 1;
        RatioReporter reporter(std::move(casesAndFloors));
        benchmark::RunSpecifiedBenchmarks(&reporter);
        benchmark::Shutdown();
        return 0;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                mTimes[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const auto& pair : mCasesAndFloors) {
            const auto measured = mTimes.find(pair.first);
            const auto floor = mTimes.find(pair.second);
            if (measured != mTimes.end() && floor != mTimes.end() && floor->second > 0.0)
                std::printf("%-24s %8.2f x floor\n", pair.first.c_str(), measured->second / floor->second);
        }
    }

private:
    std::vector<std::pair<std::string, std::string>> mCasesAndFloors;
    std::map<std::string, double> mTimes;
};
