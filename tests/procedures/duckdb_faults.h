/// @file
/// Functions of DuckDB that this test executable can make fail, where nothing else does.
#pragma once

#include <string_view>

namespace orlimbara::procedures::test {

/// Makes one function fail as long as it lives: `duckdb_open`, `duckdb_connect`, `duckdb_query` (without a
/// text) or `duckdb_result_get_chunk`. One at a time.
class FailingFunction {
public:
    explicit FailingFunction(std::string_view name) { gName = name; }
    FailingFunction(const FailingFunction&) = delete;
    FailingFunction& operator=(const FailingFunction&) = delete;
    ~FailingFunction() { gName = {}; }

    static bool Is(std::string_view name) { return gName == name; }

private:
    static inline std::string_view gName;
};

} // namespace orlimbara::procedures::test
