#pragma once

#include <duckdb.h>

#include <atomic>
#include <cassert>
#include <cstddef>
#include <string_view>
#include <utility>

#include "duckdb_support/handle_count.h"

namespace orlimbara::duckdb_support {

/// What an owner needs to know of a kind of handle: its type, its kind and DuckDB's function that ends it.
struct DatabasePolicy {
    using Handle = duckdb_database;
    static constexpr HandleKind kKind = HandleKind::Database;
    static void Destroy(Handle* ioHandle) { duckdb_close(ioHandle); }
};

struct ConnectionPolicy {
    using Handle = duckdb_connection;
    static constexpr HandleKind kKind = HandleKind::Connection;
    static void Destroy(Handle* ioHandle) { duckdb_disconnect(ioHandle); }
};

struct ConfigPolicy {
    using Handle = duckdb_config;
    static constexpr HandleKind kKind = HandleKind::Config;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_config(ioHandle); }
};

struct PreparedStatementPolicy {
    using Handle = duckdb_prepared_statement;
    static constexpr HandleKind kKind = HandleKind::PreparedStatement;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_prepare(ioHandle); }
};

struct ExtractedStatementsPolicy {
    using Handle = duckdb_extracted_statements;
    static constexpr HandleKind kKind = HandleKind::ExtractedStatements;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_extracted(ioHandle); }
};

struct DataChunkPolicy {
    using Handle = duckdb_data_chunk;
    static constexpr HandleKind kKind = HandleKind::DataChunk;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_data_chunk(ioHandle); }
};

struct ValuePolicy {
    using Handle = duckdb_value;
    static constexpr HandleKind kKind = HandleKind::Value;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_value(ioHandle); }
};

struct LogicalTypePolicy {
    using Handle = duckdb_logical_type;
    static constexpr HandleKind kKind = HandleKind::LogicalType;
    static void Destroy(Handle* ioHandle) { duckdb_destroy_logical_type(ioHandle); }
};

struct TextPolicy {
    using Handle = char*;
    static constexpr HandleKind kKind = HandleKind::Text;
    static void Destroy(Handle* ioHandle) { duckdb_free(*ioHandle); }
};

struct BytesPolicy {
    using Handle = void*;
    static constexpr HandleKind kKind = HandleKind::Bytes;
    static void Destroy(Handle* ioHandle) { duckdb_free(*ioHandle); }
};

namespace detail {

template <typename Handle>
[[nodiscard]] bool IsHeld(const Handle& inHandle) noexcept {
    return inHandle != nullptr;
}
[[nodiscard]] inline bool IsHeld(const duckdb_result& inResult) noexcept {
    return inResult.internal_data != nullptr;
}

} // namespace detail

/// Stands for a C out-parameter while one call lasts: DuckDB writes to the owner through it, and when the
/// full expression of the call ends, also by an exception, what DuckDB wrote is counted. The owner must not
/// be moved, reset or released within that same expression.
template <typename Handle>
class OutParameter {
public:
    OutParameter(Handle& ioTarget, HandleKind inKind) noexcept : mTarget(ioTarget), mKind(inKind) {}
    ~OutParameter() {
        if (detail::IsHeld(mTarget)) {
            detail::CountHandles(mKind, 1);
        }
    }
    OutParameter(const OutParameter&) = delete;
    OutParameter& operator=(const OutParameter&) = delete;

    operator Handle*() noexcept { return &mTarget; }

private:
    Handle& mTarget;
    HandleKind mKind;
};

/// The one owner of a DuckDB handle, or of none. It ends the handle with DuckDB's matching function and
/// swallows what that function should raise. Not synchronised.
template <typename Policy>
class OwnedHandle {
public:
    using Handle = typename Policy::Handle;

    OwnedHandle() noexcept = default;

    /// Takes over a handle, which may be null.
    explicit OwnedHandle(Handle inHandle) noexcept : mHandle(inHandle) { Count(1); }

    OwnedHandle(OwnedHandle&& inOther) noexcept : mHandle(std::exchange(inOther.mHandle, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& inOther) noexcept {
        if (this != &inOther) {
            End();
            mHandle = std::exchange(inOther.mHandle, nullptr);
        }
        return *this;
    }
    ~OwnedHandle() { End(); }

    /// The handle for a call into DuckDB; it stays the owner's.
    [[nodiscard]] Handle Get() const noexcept { return mHandle; }
    explicit operator bool() const noexcept { return mHandle != nullptr; }

    /// For a C out-parameter: `duckdb_connect(database.Get(), connection.Put())`. The owner must be empty.
    [[nodiscard]] OutParameter<Handle> Put() noexcept {
        assert(mHandle == nullptr);
        return {mHandle, Policy::kKind};
    }

    /// Ends the handle that is held, if any, and takes over another one, which may be null.
    void Reset(Handle inHandle = nullptr) noexcept {
        if (inHandle != mHandle) {
            End();
            mHandle = inHandle;
            Count(1);
        }
    }

    /// Gives the handle away: the caller ends it.
    [[nodiscard]] Handle Release() noexcept {
        Count(-1);
        return std::exchange(mHandle, nullptr);
    }

private:
    void Count(int inChange) const noexcept {
        if (mHandle != nullptr) {
            detail::CountHandles(Policy::kKind, inChange);
        }
    }
    void End() noexcept {
        if (mHandle == nullptr) {
            return;
        }
        Count(-1);
        try {
            Policy::Destroy(&mHandle);
        } catch (...) { // an owner ends in destructors: nobody could take the failure
        }
        mHandle = nullptr;
    }

    Handle mHandle = nullptr;
};

using OwnedDatabase = OwnedHandle<DatabasePolicy>;
using OwnedConnection = OwnedHandle<ConnectionPolicy>;
using OwnedConfig = OwnedHandle<ConfigPolicy>;
using OwnedPreparedStatement = OwnedHandle<PreparedStatementPolicy>;
using OwnedExtractedStatements = OwnedHandle<ExtractedStatementsPolicy>;
using OwnedDataChunk = OwnedHandle<DataChunkPolicy>;
using OwnedValue = OwnedHandle<ValuePolicy>;
/// Not for what `duckdb_get_value_type` gives: that type belongs to its value.
using OwnedLogicalType = OwnedHandle<LogicalTypePolicy>;
/// Text that DuckDB allocated and that goes back through `duckdb_free`; UTF-8, ends with a zero byte.
using OwnedText = OwnedHandle<TextPolicy>;
/// Bytes that DuckDB allocated and that go back through `duckdb_free`, such as the data of a blob.
using OwnedBytes = OwnedHandle<BytesPolicy>;

/// The text up to its zero byte, empty for none; valid while the owner holds it.
[[nodiscard]] inline std::string_view ViewOf(const OwnedText& inText) noexcept {
    return inText ? std::string_view(inText.Get()) : std::string_view();
}

/// The one owner of a `duckdb_result`, which travels by value, or of none. It destroys the result once.
class OwnedResult {
public:
    using Handle = duckdb_result;

    OwnedResult() noexcept = default;

    /// Takes over a result, which may be zero-filled. No copy of the struct may be destroyed elsewhere.
    explicit OwnedResult(const duckdb_result& inResult) noexcept : mResult(inResult) { Count(1); }

    OwnedResult(OwnedResult&& inOther) noexcept : mResult(std::exchange(inOther.mResult, duckdb_result{})) {}
    OwnedResult& operator=(OwnedResult&& inOther) noexcept {
        if (this != &inOther) {
            End();
            mResult = std::exchange(inOther.mResult, duckdb_result{});
        }
        return *this;
    }
    ~OwnedResult() { End(); }

    /// The result for a call into DuckDB, never null; the struct stays the owner's and may be zero-filled.
    /// Not for calls that fill a result: those take Put().
    [[nodiscard]] duckdb_result* Get() noexcept { return &mResult; }
    [[nodiscard]] const duckdb_result& Struct() const noexcept { return mResult; }

    /// True when there is something to read or destroy. A failed run leaves a result that holds the error.
    /// On an empty one `duckdb_rows_changed` and `duckdb_row_count` crash.
    explicit operator bool() const noexcept { return detail::IsHeld(mResult); }

    /// For a C out-parameter: `duckdb_query(connection.Get(), sql, result.Put())`. The owner must be empty.
    [[nodiscard]] OutParameter<duckdb_result> Put() noexcept {
        assert(!*this);
        return {mResult, HandleKind::Result};
    }

    /// Destroys the result that is held, if any, and takes over another one.
    void Reset(const duckdb_result& inResult = {}) noexcept {
        if (inResult.internal_data == nullptr || inResult.internal_data != mResult.internal_data) {
            End();
            mResult = inResult;
            Count(1);
        }
    }

    /// Gives the struct away, for the caller to destroy, and zero-fills its own copy.
    [[nodiscard]] duckdb_result Release() noexcept {
        Count(-1);
        return std::exchange(mResult, duckdb_result{});
    }

private:
    void Count(int inChange) const noexcept {
        if (*this) {
            detail::CountHandles(HandleKind::Result, inChange);
        }
    }
    void End() noexcept {
        Count(-1);
        try {
            duckdb_destroy_result(&mResult);
        } catch (...) { // an owner ends in destructors: nobody could take the failure
        }
        mResult = duckdb_result{};
    }

    duckdb_result mResult = {};
};

/// A handle that several objects share through a `std::shared_ptr` to this cell, and that only Close()
/// ends, for all of them at once. The destructor closes nothing: a cell that goes with an open handle
/// leaves it open, and it stays in the count.
///
/// Get() and the test for a handle may run on any thread; the other operations need a lock of the caller's.
template <typename Policy>
class SharedCell {
public:
    using Handle = typename Policy::Handle;

    SharedCell() noexcept = default;
    SharedCell(const SharedCell&) = delete;
    SharedCell& operator=(const SharedCell&) = delete;

    /// The handle, null before it was opened and after Close().
    [[nodiscard]] Handle Get() const noexcept {
        return std::atomic_ref(mHandle).load(std::memory_order_acquire);
    }
    explicit operator bool() const noexcept { return Get() != nullptr; }

    /// For a C out-parameter, as OwnedHandle::Put(). The cell must be empty, and DuckDB writes to it as to
    /// any variable: no other thread may know the cell yet.
    [[nodiscard]] OutParameter<Handle> Put() noexcept {
        assert(mHandle == nullptr);
        return {mHandle, Policy::kKind};
    }

    /// Closes the handle that is held, if any; every holder of the cell sees null from then on. Swallows
    /// what DuckDB should raise.
    void Close() noexcept {
        Handle handle = std::atomic_ref(mHandle).exchange(nullptr, std::memory_order_acq_rel);
        if (handle == nullptr) {
            return;
        }
        detail::CountHandles(Policy::kKind, -1);
        try {
            Policy::Destroy(&handle);
        } catch (...) { // closing goes on to the next handle whatever happens to this one
        }
    }

private:
    alignas(std::atomic_ref<Handle>::required_alignment) mutable Handle mHandle = nullptr;
};

using DatabaseCell = SharedCell<DatabasePolicy>;
using ConnectionCell = SharedCell<ConnectionPolicy>;

} // namespace orlimbara::duckdb_support
