/// @file
/// For tests that define functions of DuckDB and pass calls on to DuckDB's own. The linker's option --wrap
/// replaces the loader's order: it sends all calls to the names that the definitions get here.
#pragma once

#include <string_view>

#pragma redefine_extname duckdb_open __wrap_duckdb_open
#pragma redefine_extname duckdb_connect __wrap_duckdb_connect
#pragma redefine_extname duckdb_query __wrap_duckdb_query
#pragma redefine_extname duckdb_result_get_chunk __wrap_duckdb_result_get_chunk
#pragma redefine_extname duckdb_fetch_chunk __wrap_duckdb_fetch_chunk

// Weak: a test defines some of them.
extern "C" [[gnu::weak]] void __real_duckdb_open();
extern "C" [[gnu::weak]] void __real_duckdb_connect();
extern "C" [[gnu::weak]] void __real_duckdb_query();
extern "C" [[gnu::weak]] void __real_duckdb_result_get_chunk();
extern "C" [[gnu::weak]] void __real_duckdb_fetch_chunk();

#define RTLD_NEXT nullptr
inline void* dlsym(void*, std::string_view inName) {
    const auto original = inName == "duckdb_open"               ? __real_duckdb_open
                          : inName == "duckdb_connect"          ? __real_duckdb_connect
                          : inName == "duckdb_query"            ? __real_duckdb_query
                          : inName == "duckdb_result_get_chunk" ? __real_duckdb_result_get_chunk
                                                                : __real_duckdb_fetch_chunk;
    return reinterpret_cast<void*>(original);
}
