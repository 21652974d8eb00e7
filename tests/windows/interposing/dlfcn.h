/// @file
/// For tests that define functions of DuckDB and pass calls on to DuckDB's own. The linker's option --wrap
/// replaces the loader's order: it sends all calls to the names that the definitions get here.
#pragma once

#include <string_view>

#define RTLD_NEXT nullptr

#ifdef ORLIMBARA_RESULT_TESTS

#pragma redefine_extname duckdb_fetch_chunk __wrap_duckdb_fetch_chunk
extern "C" void __real_duckdb_fetch_chunk();

inline void* dlsym(void*, std::string_view) { return reinterpret_cast<void*>(__real_duckdb_fetch_chunk); }

#else

#pragma redefine_extname duckdb_open __wrap_duckdb_open
#pragma redefine_extname duckdb_connect __wrap_duckdb_connect
#pragma redefine_extname duckdb_query __wrap_duckdb_query
#pragma redefine_extname duckdb_result_get_chunk __wrap_duckdb_result_get_chunk
extern "C" void __real_duckdb_open();
extern "C" void __real_duckdb_connect();
extern "C" void __real_duckdb_query();
extern "C" void __real_duckdb_result_get_chunk();

inline void* dlsym(void*, std::string_view inName) {
    return reinterpret_cast<void*>(inName == "duckdb_open"      ? __real_duckdb_open
                                   : inName == "duckdb_connect" ? __real_duckdb_connect
                                   : inName == "duckdb_query"   ? __real_duckdb_query
                                                                : __real_duckdb_result_get_chunk);
}

#endif
