/// @file
/// For benchmarks that measure their time themselves: clocks, plain names, and the run.
#pragma once

#include <algorithm>
#include <chrono>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <time.h>

namespace orkit::orsql::bench {

using Seconds = std::chrono::duration<double>;

/// Processor time, which doesn't depend on other programs.
template <clockid_t kClock>
struct ProcessorClock {
    static Seconds Now() {
        timespec time{};
        clock_gettime(kClock, &time);
        return Seconds(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9);
    }
};

/// The processor time of this thread.
using ThreadClock = ProcessorClock<CLOCK_THREAD_CPUTIME_ID>;
/// The processor time of all threads of this process, including DuckDB's.
using ProcessClock = ProcessorClock<CLOCK_PROCESS_CPUTIME_ID>;

/// Wall time, for work so short that reading a thread's time would matter and that is hardly ever
/// interrupted.
struct WallClock {
    static Seconds Now() { return std::chrono::steady_clock::now().time_since_epoch(); }
};

template <class Clock, class Call>
Seconds Time(Call&& inCall) {
    const Seconds start = Clock::Now();
    inCall();
    return Clock::Now() - start;
}

/// Reports with the registered names, without the suffix for the way of measuring.
template <class Reporter>
class PlainNames : public Reporter {
public:
    void ReportRuns(const std::vector<benchmark::BenchmarkReporter::Run>& inRuns) override {
        std::vector<benchmark::BenchmarkReporter::Run> runs = inRuns;
        for (benchmark::BenchmarkReporter::Run& run : runs) {
            run.run_name.iterations.clear();
            run.run_name.time_type.clear();
        }
        Reporter::ReportRuns(runs);
    }
};

/// Runs the registered benchmarks. @return the exit code for main().
inline int RunBenchmarks(int inCount, char** inArguments) {
    const bool hasOutputFile =
        std::any_of(inArguments, inArguments + inCount,
                    [](std::string_view inArgument) { return inArgument.starts_with("--benchmark_out="); });
    benchmark::Initialize(&inCount, inArguments);
    if (benchmark::ReportUnrecognizedArguments(inCount, inArguments)) {
        return 1;
    }
    PlainNames<benchmark::ConsoleReporter> display;
    PlainNames<benchmark::JSONReporter> file;
    benchmark::RunSpecifiedBenchmarks(&display, hasOutputFile ? &file : nullptr);
    benchmark::Shutdown();
    return 0;
}

} // namespace orkit::orsql::bench
