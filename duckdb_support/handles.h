/// @file
/// Owners of DuckDB's handles: each destroys its handle with DuckDB's matching function, exactly once.
#pragma once

#include <duckdb.h>

#include <atomic>
#include <cassert>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

#include "duckdb_support/handle_count.h"

namespace orlimbara::duckdb_support {

namespace detail {

template <typename Handle>
[[nodiscard]] bool IsHeld(const Handle& inHandle) noexcept {
    return inHandle != nullptr;
}
[[nodiscard]] inline bool IsHeld(const duckdb_result& inResult) noexcept {
    return inResult.internal_data != nullptr;
}

/// Calls the function that destroys a handle: most of DuckDB's take its address, duckdb_free takes the
/// pointer. Ignores exceptions, since owners call it in their destructors.
template <auto Destroy, typename Handle>
void End(Handle& ioHandle) noexcept {
    try {
        if constexpr (std::is_invocable_v<decltype(Destroy), Handle*> &&
                      !std::is_same_v<decltype(Destroy), void (*)(void*)>) {
            Destroy(&ioHandle);
        } else {
            Destroy(ioHandle);
        }
    } catch (...) {
    }
}

/// A C out-parameter for one call: DuckDB writes to the owner through it, and at the end of the full
/// expression, also after an exception, the handle is counted. The owner must not be moved or reset within
/// that expression.
template <typename Handle>
class OutParameter {
public:
    OutParameter(Handle& ioTarget, HandleKind inKind) noexcept : mTarget(ioTarget), mKind(inKind) {}
    ~OutParameter() {
        if (IsHeld(mTarget)) {
            CountHandles(mKind, 1);
        }
    }
    OutParameter(const OutParameter&) = delete;
    OutParameter& operator=(const OutParameter&) = delete;

    operator Handle*() noexcept { return &mTarget; }

private:
    Handle& mTarget;
    HandleKind mKind;
};

} // namespace detail

/// The only owner of a DuckDB handle, or of none. Not thread-safe.
/// @tparam Type the handle's type. @tparam Kind what it counts as. @tparam Destroy the function that destroys
/// it; its exceptions are ignored.
template <typename Type, HandleKind Kind, auto Destroy>
class OwnedHandle {
public:
    OwnedHandle() noexcept = default;

    /// Takes ownership of a handle, which may be null. Nothing else may destroy a copy of it.
    explicit OwnedHandle(const Type& inHandle) noexcept : mHandle(inHandle) { Count(1); }

    OwnedHandle(OwnedHandle&& inOther) noexcept : mHandle(std::exchange(inOther.mHandle, Type{})) {}
    OwnedHandle& operator=(OwnedHandle&& inOther) noexcept {
        const Type handle = std::exchange(inOther.mHandle, Type{}); // first: it may be this one's
        Reset();
        mHandle = handle;
        return *this;
    }
    ~OwnedHandle() { Reset(); }

    /// The handle for a call of DuckDB; the owner keeps it.
    [[nodiscard]] Type Get() const noexcept { return mHandle; }
    explicit operator bool() const noexcept { return detail::IsHeld(mHandle); }

    /// For a C out-parameter: `duckdb_connect(database.Get(), connection.Put())`. The owner must be empty.
    [[nodiscard]] detail::OutParameter<Type> Put() noexcept {
        assert(!*this);
        return {mHandle, Kind};
    }

    /// Destroys the handle, if there is one.
    void Reset() noexcept {
        if (*this) {
            Count(-1);
            detail::End<Destroy>(mHandle);
            mHandle = Type{};
        }
    }

protected:
    Type mHandle = {};

private:
    void Count(int inChange) const noexcept {
        if (*this) {
            detail::CountHandles(Kind, inChange);
        }
    }
};

using OwnedDatabase = OwnedHandle<duckdb_database, HandleKind::Database, duckdb_close>;
using OwnedConnection = OwnedHandle<duckdb_connection, HandleKind::Connection, duckdb_disconnect>;
using OwnedConfig = OwnedHandle<duckdb_config, HandleKind::Config, duckdb_destroy_config>;
using OwnedPreparedStatement =
    OwnedHandle<duckdb_prepared_statement, HandleKind::PreparedStatement, duckdb_destroy_prepare>;
using OwnedExtractedStatements =
    OwnedHandle<duckdb_extracted_statements, HandleKind::ExtractedStatements, duckdb_destroy_extracted>;
using OwnedPendingResult =
    OwnedHandle<duckdb_pending_result, HandleKind::PendingResult, duckdb_destroy_pending>;
using OwnedDataChunk = OwnedHandle<duckdb_data_chunk, HandleKind::DataChunk, duckdb_destroy_data_chunk>;
using OwnedValue = OwnedHandle<duckdb_value, HandleKind::Value, duckdb_destroy_value>;
/// Not for the result of `duckdb_get_value_type`: that type belongs to its value.
using OwnedLogicalType =
    OwnedHandle<duckdb_logical_type, HandleKind::LogicalType, duckdb_destroy_logical_type>;
/// Text that DuckDB allocated, freed with `duckdb_free`; UTF-8, zero-terminated.
using OwnedText = OwnedHandle<char*, HandleKind::Text, duckdb_free>;
/// Bytes that DuckDB allocated, such as the data of a blob, freed with `duckdb_free`.
using OwnedBytes = OwnedHandle<void*, HandleKind::Bytes, duckdb_free>;

/// The text up to its zero byte, empty for none; valid while the owner holds it.
[[nodiscard]] inline std::string_view ViewOf(const OwnedText& inText) noexcept {
    return inText ? std::string_view(inText.Get()) : std::string_view();
}

/// The bytes of a text or blob of a vector; valid as long as the vector and the string stay where they are.
[[nodiscard]] inline std::string_view ViewOf(const duckdb_string_t& inString) noexcept {
    const std::size_t length = inString.value.inlined.length;
    return {length <= sizeof(inString.value.inlined.inlined) ? inString.value.inlined.inlined
                                                             : inString.value.pointer.ptr,
            length};
}

/// Whether a row of a vector isn't NULL, as `duckdb_validity_row_is_valid`, but inline.
/// @param inValidity the vector's mask; null if no row is NULL.
[[nodiscard]] inline bool IsRowValid(const std::uint64_t* inValidity, idx_t inRow) noexcept {
    if (!inValidity) [[likely]] {
        return true;
    }
    return (inValidity[inRow / 64] >> (inRow % 64) & 1) != 0;
}

/// The only owner of a `duckdb_result`, which DuckDB passes by value, or of none. A failed run leaves a
/// result that holds the error. An empty owner's result is zero-filled: `duckdb_rows_changed` and
/// `duckdb_row_count` crash on it.
class OwnedResult : public OwnedHandle<duckdb_result, HandleKind::Result, duckdb_destroy_result> {
public:
    using OwnedHandle::OwnedHandle;

    /// For calls of DuckDB that take the result's address; never null. Calls that fill a result take Put().
    [[nodiscard]] duckdb_result* Get() noexcept { return &mHandle; }
    /// For calls that take the result by value.
    [[nodiscard]] const duckdb_result& Struct() const noexcept { return mHandle; }
};

/// A handle that several objects share through a `std::shared_ptr` to this cell, and that only Close() ends,
/// for all of them at once. The destructor doesn't close the handle: a cell that is destroyed with an open
/// handle leaves it open and counted.
///
/// Get() and the test for a handle may run on any thread; the caller must lock for the other operations.
template <typename Type, HandleKind Kind, auto Destroy>
class SharedCell {
public:
    SharedCell() noexcept = default;
    SharedCell(const SharedCell&) = delete;
    SharedCell& operator=(const SharedCell&) = delete;

    /// The handle, null before it was opened and after Close().
    [[nodiscard]] Type Get() const noexcept {
        return std::atomic_ref(mHandle).load(std::memory_order_acquire);
    }
    explicit operator bool() const noexcept { return Get() != nullptr; }

    /// For a C out-parameter, as OwnedHandle::Put(). The cell must be empty, and no other thread may know it
    /// yet, since DuckDB writes to it without synchronisation.
    [[nodiscard]] detail::OutParameter<Type> Put() noexcept {
        assert(mHandle == nullptr);
        return {mHandle, Kind};
    }

    /// Closes the handle, if there is one; every holder of the cell sees null from then on. Ignores DuckDB's
    /// exceptions.
    void Close() noexcept {
        Type handle = std::atomic_ref(mHandle).exchange(nullptr, std::memory_order_acq_rel);
        if (handle != nullptr) {
            detail::CountHandles(Kind, -1);
            detail::End<Destroy>(handle);
        }
    }

private:
    alignas(std::atomic_ref<Type>::required_alignment) mutable Type mHandle = nullptr;
};

using DatabaseCell = SharedCell<duckdb_database, HandleKind::Database, duckdb_close>;
using ConnectionCell = SharedCell<duckdb_connection, HandleKind::Connection, duckdb_disconnect>;

} // namespace orlimbara::duckdb_support
