/// @file
/// Functions of DuckDB that this test executable makes fail, where nothing else can.
#pragma once

#include <string_view>

namespace orlimbara::procedures::test {

/// The name of the function that fails now; empty for none. One of `duckdb_connect`, `duckdb_query` (without
/// a text) and `duckdb_result_get_chunk`. Set it before and reset it after the call in question.
inline std::string_view gFailingFunction;

} // namespace orlimbara::procedures::test
