/// @file
/// DuckDB's C++ interface, for the sources of this folder only; all other code sees DuckDB's C header.
#pragma once

#include <duckdb.hpp>
#include <duckdb/main/capi/capi_internal.hpp>

#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace orlimbara::duckdb_support::internals {

/// The objects behind DuckDB's C handles.
inline duckdb::Value& Unwrap(duckdb_value inValue) { return *reinterpret_cast<duckdb::Value*>(inValue); }
inline duckdb::LogicalType& Unwrap(duckdb_logical_type inType) {
    return *reinterpret_cast<duckdb::LogicalType*>(inType);
}
inline duckdb::DataChunk& Unwrap(duckdb_data_chunk inChunk) {
    return *reinterpret_cast<duckdb::DataChunk*>(inChunk);
}
inline duckdb::ExtractStatementsWrapper& Unwrap(duckdb_extracted_statements inStatements) {
    return *reinterpret_cast<duckdb::ExtractStatementsWrapper*>(inStatements);
}
inline duckdb::Connection& Unwrap(duckdb_connection inConnection) {
    return *reinterpret_cast<duckdb::Connection*>(inConnection);
}

/// A new value, which the caller destroys.
inline duckdb_value WrapNew(duckdb::Value inValue) {
    return reinterpret_cast<duckdb_value>(new duckdb::Value(std::move(inValue)));
}

/// A copy of a text, which the caller frees with duckdb_free.
inline char* CopyText(const std::string& inText) {
    auto* copy = static_cast<char*>(duckdb_malloc(inText.size() + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy, inText.c_str(), inText.size() + 1);
    return copy;
}

/// Calls the function and returns its result, or false if it throws: the caller then takes another way.
/// std::bad_alloc passes, since another way would fail too.
template <typename Function>
bool Succeeds(Function&& inFunction) {
    try {
        return std::forward<Function>(inFunction)();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return false;
    }
}

/// Calls the function and returns its result, or the fallback if it throws: no exception may reach a C
/// caller.
template <typename Result, typename Function>
Result OrElse(Result inFallback, Function&& inFunction) noexcept {
    try {
        return std::forward<Function>(inFunction)();
    } catch (...) {
        return inFallback;
    }
}

/// The check of times.h for a vector, which it may flatten. May throw.
[[nodiscard]] bool AreTimesInRange(duckdb::Vector& ioVector, duckdb::idx_t inCount);

} // namespace orlimbara::duckdb_support::internals
