/// @file
/// Counts of the DuckDB handles that are held, for leak checks.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orlimbara::duckdb_support {

/// What the owners of handles.h can hold.
enum class HandleKind : std::size_t {
    Database,
    Connection,
    Config,
    PreparedStatement,
    ExtractedStatements,
    PendingResult,
    Result,
    DataChunk,
    Value,
    LogicalType,
    Text,
    Bytes,
};

/// Names of the kinds, in the order of HandleKind, for test messages.
inline constexpr std::array<std::string_view, 12> kHandleKindNames = {"database",
                                                                      "connection",
                                                                      "config",
                                                                      "prepared statement",
                                                                      "extracted statements",
                                                                      "pending result",
                                                                      "result",
                                                                      "chunk",
                                                                      "value",
                                                                      "logical type",
                                                                      "text",
                                                                      "bytes"};

namespace detail {

/// The counts synchronise nothing, so relaxed order is enough.
inline std::array<std::atomic<std::int64_t>, kHandleKindNames.size()> gLiveHandles = {};

inline void CountHandles(HandleKind inKind, std::int64_t inChange) noexcept {
    gLiveHandles[static_cast<std::size_t>(inKind)].fetch_add(inChange, std::memory_order_relaxed);
}

} // namespace detail

/// How many handles of one kind the owners and cells of handles.h hold now, in all threads. The supplement's
/// own instance (supplement.h) isn't counted.
inline std::int64_t LiveHandleCount(HandleKind inKind) noexcept {
    return detail::gLiveHandles[static_cast<std::size_t>(inKind)].load(std::memory_order_relaxed);
}

/// The sum of LiveHandleCount over all kinds. The tests' fixture checks that it is 0 after each test.
inline std::int64_t LiveHandleCount() noexcept {
    std::int64_t total = 0;
    for (const auto& count : detail::gLiveHandles) {
        total += count.load(std::memory_order_relaxed);
    }
    return total;
}

} // namespace orlimbara::duckdb_support
