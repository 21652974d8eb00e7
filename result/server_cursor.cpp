#include "result/server_cursor.h"

#include <cstddef>
#include <exception>
#include <new>
#include <tuple>
#include <utility>

#include "extension/engine_lock_guard.h"
#include "result/cast_reader.h"
#include "result/fixed_types.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

/// The value of a cell that isn't NULL, as its reader makes it. Halves the list at each step, so that
/// each type takes three or four comparisons; one after the other, a DOUBLE would take ten.
/// @param inType from First to Last in the list, whose numbers follow each other.
template <std::size_t First, std::size_t Last, class... Types>
smart_ptr<I_Value> MakeFixed(TypeList<Types...> inTypes, duckdb_type inType, const CellReader& inReader,
                             idx_t inRow) {
    if constexpr (First == Last) {
        using Type = std::tuple_element_t<First, std::tuple<Types...>>;
        return Type::Make(inReader.DataAt<typename Type::Item>(inRow));
    } else {
        constexpr std::size_t kMiddle = (First + Last) / 2;
        if (inType <= kFixedTypes[kMiddle].mType) {
            return MakeFixed<First, kMiddle>(inTypes, inType, inReader, inRow);
        }
        return MakeFixed<kMiddle + 1, Last>(inTypes, inType, inReader, inRow);
    }
}

} // namespace

DuckDBCursor_server::DuckDBCursor_server(DuckDBDatabase* inDatabase, support::OwnedResult inResult)
    : DuckDBCursor_imp(inDatabase, std::move(inResult)), mReader(Columns(), ChunkReader::Access::AnyCell) {}

bool DuckDBCursor_server::NextRecord() {
    const EngineLockGuard guard;
    RequireValid();
    if (mChunkRow + 1 < mChunkSize) {
        ++mChunkRow;
        return true;
    }
    // A chunk that has no size yet couldn't be bound for want of memory: it is the next one still.
    if (mChunkSize != 0 || !mChunk) {
        put_HasRow(false);
        mReader.Bind(nullptr);
        mChunkSize = 0;
        mChunk.Reset();
        mChunk = FetchChunk();
    }
    const idx_t size = mChunk ? duckdb_data_chunk_get_size(mChunk.Get()) : 0;
    if (size == 0) {
        // A chunk without rows counts as the end.
        mChunk.Reset();
        return false;
    }
    mReader.Bind(mChunk.Get());
    mChunkRow = 0;
    mChunkSize = size;
    put_HasRow(true);
    return true;
}

smart_ptr<I_Value> DuckDBCursor_server::get_Value(std::uint32_t inColumnIndex) {
    if (!isReadable(inColumnIndex)) [[unlikely]] {
        ThrowUnreadable(inColumnIndex);
    }
    CellReader& reader = mReader.get_Reader(inColumnIndex);
    const duckdb_type type = reader.Setup().mType;
    // The cheapest cells are made here: the call of a reader would take a good part of their time.
    if (IsFixedType(type) && !reader.IsNull(mChunkRow)) [[likely]] {
        return MakeFixed<0, kFixedTypes.size() - 1>(FixedTypes(), type, reader, mChunkRow);
    }
    if (type == DUCKDB_TYPE_DECIMAL && !reader.IsNull(mChunkRow)) {
        double number;
        if (static_cast<const DecimalReader&>(reader).Divide(mChunkRow, number)) {
            return MakeValue(CreateValueDouble, &I_Value::put_Double, number);
        }
    }
    try {
        return reader.Read(mChunkRow);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        ThrowError(error.what());
    }
}

std::uint64_t DuckDBCursor_server::get_RecordCount() const {
    ThrowError("get_RecordCount() is not supported for server-side cursors");
}

std::uint32_t DuckDBCursor_server::get_CurrentRecord() const {
    ThrowError("get_CurrentRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::put_CurrentRecord(std::uint32_t) {
    ThrowError("put_CurrentRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::FirstRecord() {
    ThrowError("FirstRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::LastRecord() {
    ThrowError("LastRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::PrevRecord() {
    ThrowError("PrevRecord() is not supported for server-side cursors");
}

void DuckDBCursor_server::ThrowUnreadable(std::uint32_t inColumnIndex) const {
    RequireValid();
    RequireColumn(inColumnIndex);
    ThrowError("Data is not available. Use NextRecord() to fetch data.");
}

} // namespace orkit::orsql
