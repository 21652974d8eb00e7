/// @file
/// The shell beside plain programs that do the same. Both sides of a pair run in turns; each reports its
/// median of processor time.
///
///   Shell/start/module   `orsql -c "SELECT 1"`, a process
///   Shell/start/plain    a C program that opens a database in memory and runs SELECT 1
///   Shell/csv/module     a million flights from a server cursor through the shell's renderer, to /dev/null
///   Shell/csv/plain      a loop that writes the same host values, with std::to_chars, into one reused buffer
///   Shell/jsonl/module, Shell/jsonl/plain   the same as lines of JSON
///   Shell/box/module     the same flights as a box of 40 rows
///   Shell/box/plain      a walk over the cursor that reads every cell and drops it
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/bench_database.h"
#include "benchmarks/bench_support.h"
#include "result/server_cursor.h"
#include "shell/files.h"
#include "shell/options.h"
#include "shell/output.h"
#include "shell/renderer.h"
#include "shell/row_source.h"

namespace orkit::orsql::bench {
namespace {

namespace shell = orlimbara::shell;

constexpr const char* kNowhere = "/dev/null";
constexpr int kMillion = 1'000'000;

void Require(bool inIsGood, const char* inWhat) {
    if (!inIsGood) {
        throw std::runtime_error(inWhat);
    }
}

/// Runs a program from this one's folder and discards its output. @return its processor time.
Seconds RunProgram(std::vector<const char*> inWords) {
    const std::string path =
        std::filesystem::read_symlink("/proc/self/exe").replace_filename(inWords.front()).string();
    inWords.front() = path.c_str();
    inWords.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, kNowhere, O_WRONLY, 0);
    pid_t child = 0;
    const int error = posix_spawn(&child, path.c_str(), &actions, nullptr,
                                  const_cast<char* const*>(inWords.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    Require(error == 0 && wait4(child, &status, 0, &usage) == child && status == 0, "a program failed");
    const auto seconds = [](const timeval& time) {
        return Seconds(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Seconds StartModule() { return RunProgram({"orsql", "-c", "SELECT 1"}); }
Seconds StartPlain() { return RunProgram({"start_plain"}); }

smart_ptr<I_DuckDBCursor> OpenFlights(int inRows) {
    static Database database;
    const char* const path = std::getenv("DUCKDB_FLIGHTS");
    return database.Open<DuckDBCursor_server>(database.Run("FROM read_parquet('" +
                                                           std::string(path ? path : FLIGHTS_PARQUET) +
                                                           "') LIMIT " + std::to_string(inRows)));
}

Seconds Render(shell::Mode inMode, int inRows, const char* inPath) {
    const smart_ptr<I_DuckDBCursor> cursor = OpenFlights(inRows);
    return Time<ThreadClock>([&] {
        shell::CursorRows rows(cursor);
        shell::Output output(inPath);
        const auto renderer = shell::MakeRenderer(inMode, output, {});
        Require(!renderer->WriteRows(rows).failure, "rows can't be read");
        renderer->Finish();
        output.Close();
    });
}

/// One buffer, written out when it is full.
class PlainOutput {
public:
    explicit PlainOutput(const char* inPath) : mFile(std::fopen(inPath, "w")) {
        std::setvbuf(mFile, nullptr, _IONBF, 0);
    }
    PlainOutput(const PlainOutput&) = delete;
    PlainOutput& operator=(const PlainOutput&) = delete;
    ~PlainOutput() {
        std::fwrite(mBuffer.data(), 1, mSize, mFile);
        std::fclose(mFile);
    }

    /// Reserves capacity for a row.
    void BeginRow() {
        if (mBuffer.size() - mSize < kLongestRow) {
            std::fwrite(mBuffer.data(), 1, std::exchange(mSize, 0), mFile);
        }
    }
    void Put(char inByte) { mBuffer[mSize++] = inByte; }
    void Put(std::int64_t inNumber) {
        char* const end = mBuffer.data() + mBuffer.size();
        mSize = static_cast<std::size_t>(std::to_chars(mBuffer.data() + mSize, end, inNumber).ptr -
                                         mBuffer.data());
    }
    /// An ASCII text, like all of the flights', in quotes if needed. Refuses others.
    template <bool kIsJson>
    void Put(const String& inText) {
        const std::size_t start = mSize;
        if (kIsJson) {
            Put('"');
        }
        unsigned all = 0;
        unsigned special = 0;
        const char16_t* const text = inText.c_str();
        for (std::size_t i = 0; i < inText.get_Length(); ++i) {
            const char16_t unit = text[i];
            all |= unit;
            special |= unit == '"' || unit < ' ' || unit == (kIsJson ? '\\' : ',') ? 1U : 0U;
            Put(static_cast<char>(unit));
        }
        if (kIsJson) {
            Put('"');
        }
        Require(all < 0x80 && special == 0 && mSize - start < kLongestText, "a text that flights don't have");
    }

private:
    static constexpr std::size_t kLongestText = 100;
    static constexpr std::size_t kLongestRow = 1'000;

    std::array<char, 1 << 16> mBuffer{};
    std::size_t mSize = 0;
    std::FILE* mFile;
};

/// Writes only the rows, without what surrounds them.
template <bool kIsJson>
Seconds WritePlain(int inRows, const char* inPath) {
    const smart_ptr<I_DuckDBCursor> cursor = OpenFlights(inRows);
    return Time<ThreadClock>([&] {
        PlainOutput output(inPath);
        String text;
        for (bool isFirst = true; cursor->NextRecord(); isFirst = false) {
            output.BeginRow();
            if (kIsJson && !isFirst) {
                output.Put(',');
            }
            for (std::uint32_t column = 0; column < 5; ++column) {
                if (kIsJson || column > 0) {
                    output.Put(column == 0 ? '[' : ',');
                }
                const smart_ptr<I_Value> value = cursor->get_Value(column);
                Require(!value->get_IsNull(), "flights have no NULL");
                if (column == 1 || column == 2) {
                    output.Put(value->get_LLong());
                } else {
                    value->get_String(text, -1);
                    output.Put<kIsJson>(text);
                }
            }
            output.Put(kIsJson ? ']' : '\n');
        }
    });
}

Seconds WalkPlain() {
    const smart_ptr<I_DuckDBCursor> cursor = OpenFlights(kMillion);
    return Time<ThreadClock>([&] {
        while (cursor->NextRecord()) {
            for (std::uint32_t column = 0; column < 5; ++column) {
                benchmark::DoNotOptimize(cursor->get_Value(column).get());
            }
        }
    });
}

struct Times {
    double mModule = 0;
    double mPlain = 0;
};

/// Runs both in turns. @return the medians in seconds.
template <class Module, class Plain>
Times Measure(std::size_t inRounds, Module inModule, Plain inPlain) {
    std::vector<double> module;
    std::vector<double> plain;
    inModule(); // warms up files, code and memory
    inPlain();
    for (std::size_t round = 0; round < inRounds; ++round) {
        module.push_back(inModule().count());
        plain.push_back(inPlain().count());
    }
    const auto median = [](std::vector<double>& ioTimes) {
        std::sort(ioTimes.begin(), ioTimes.end());
        return ioTimes[ioTimes.size() / 2];
    };
    return {median(module), median(plain)};
}

/// Both sides must write the same rows.
template <bool kIsJson>
Times MeasureWriting(shell::Mode inMode) {
    const std::string path =
        std::filesystem::temp_directory_path() / ("bench_shell." + std::to_string(getpid()));
    const auto written = [&](auto write) {
        write(10'000, path.c_str());
        std::string text = shell::ReadFile(path);
        std::filesystem::remove(path);
        return text;
    };
    const auto render = [&](int rows, const char* to) { return Render(inMode, rows, to); };
    Require(written(render).find(written(WritePlain<kIsJson>)) != std::string::npos,
            "the shell writes other rows than the plain loop");
    return Measure(
        9, [&] { return render(kMillion, kNowhere); },
        [] { return WritePlain<kIsJson>(kMillion, kNowhere); });
}

struct Subject {
    const char* mName;
    Times (*mMeasure)();
};

const std::array<Subject, 4> kSubjects = {
    Subject{"start", [] { return Measure(51, StartModule, StartPlain); }},
    Subject{"csv", [] { return MeasureWriting<false>(shell::Mode::Csv); }},
    Subject{"jsonl", [] { return MeasureWriting<true>(shell::Mode::Jsonl); }},
    Subject{"box", [] {
                return Measure(
                    9, [] { return Render(shell::Mode::Box, kMillion, kNowhere); }, WalkPlain);
            }}};

void Report(benchmark::State& ioState, const Subject& inSubject, double Times::*inSide) {
    static std::map<const char*, Times> times; // a pair is measured once
    for ([[maybe_unused]] auto _ : ioState) {
        const auto found = times.find(inSubject.mName);
        const Times& pair =
            found != times.end() ? found->second : times[inSubject.mName] = inSubject.mMeasure();
        ioState.SetIterationTime(pair.*inSide);
    }
}

void RegisterAll() {
    for (const Subject& subject : kSubjects) {
        for (const auto& [side, name] :
             {std::pair(&Times::mModule, "module"), std::pair(&Times::mPlain, "plain")}) {
            benchmark::RegisterBenchmark((std::string("Shell/") + subject.mName + "/" + name).c_str(), Report,
                                         std::cref(subject), side)
                ->UseManualTime()
                ->Iterations(1)
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    orkit::orsql::bench::RegisterAll();
    return orkit::orsql::bench::RunBenchmarks(inCount, inArguments);
}
