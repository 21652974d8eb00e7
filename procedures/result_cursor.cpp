#include "procedures/result_cursor.h"

#include <algorithm>
#include <iterator>

#include "procedures/cell_values.h"
#include "procedures/procedure_frame.h"

namespace orlimbara::procedures {

namespace {

constexpr std::int32_t kPositioned = 0;
constexpr std::int32_t kNotPositioned = -1;

ProcedureResult& ResultOf(void* state) noexcept { return *static_cast<ProcedureResult*>(state); }

void OnDestroy(call_context, void* state) noexcept { delete static_cast<ProcedureResult*>(state); }

host_value OnReadValue(call_context context, void* state, std::int32_t column) noexcept {
    return RunInCursorFrame<host_value>(nullptr, [&] { return ReadValue(context, ResultOf(state), column); });
}

std::int32_t OnSeekRow(call_context, void* state, std::int64_t row) noexcept {
    return RunInCursorFrame(kNotPositioned, [&] { return SeekRow(ResultOf(state), row); });
}

std::int32_t OnNextRow(call_context, void* state) noexcept {
    return RunInCursorFrame(kNotPositioned, [&] { return NextRow(ResultOf(state)); });
}

std::int64_t OnRowCount(call_context, void* state) noexcept {
    return static_cast<std::int64_t>(ResultOf(state).row_count);
}

/// The chunk that holds a row: the last one that starts at or before it, which passes over empty chunks.
std::uint64_t ChunkOfRow(const ProcedureResult& result, std::uint64_t row) {
    const auto behind = std::ranges::upper_bound(result.chunk_starts, row);
    return static_cast<std::uint64_t>(std::distance(result.chunk_starts.begin(), behind)) - 1;
}

void LosePosition(ProcedureResult& result) noexcept {
    result.chunk.Reset();
    result.row_in_chunk = 0;
    result.chunk_size = 0;
    result.chunk_index = 0;
    result.positioned = false;
    result.column_data.clear();
    result.column_validity.clear();
}

} // namespace

void BindCallbacks(ProcedureResult& result) noexcept {
    result.descriptor.state = &result;
    result.descriptor.destroy = OnDestroy;
    result.descriptor.read_value = OnReadValue;
    result.descriptor.seek_row = OnSeekRow;
    result.descriptor.next_row = OnNextRow;
    result.descriptor.row_count = OnRowCount;
}

void BindChunkColumns(ProcedureResult& result) noexcept {
    result.column_data.clear();
    result.column_validity.clear();
    if (!result.chunk) {
        return;
    }
    for (idx_t column = 0; column < result.columns.size(); ++column) {
        duckdb_vector vector = duckdb_data_chunk_get_vector(result.chunk.Get(), column);
        result.column_data.push_back(duckdb_vector_get_data(vector));
        result.column_validity.push_back(duckdb_vector_get_validity(vector));
    }
}

std::int32_t SeekRow(ProcedureResult& result, std::int64_t row) {
    if (row < 0 || static_cast<std::uint64_t>(row) >= result.row_count) {
        return kNotPositioned;
    }
    const auto target = static_cast<std::uint64_t>(row);
    const std::uint64_t index = ChunkOfRow(result, target);
    if (!result.chunk || result.chunk_index != index) {
        LosePosition(result);
        duckdb_support::OwnedDataChunk chunk(duckdb_result_get_chunk(result.result.Struct(), index));
        if (!chunk) {
            return kNotPositioned;
        }
        result.chunk = std::move(chunk);
        result.chunk_index = index;
        result.chunk_size = duckdb_data_chunk_get_size(result.chunk.Get());
        BindChunkColumns(result);
    }
    result.row_in_chunk = target - result.chunk_starts[index];
    result.current_row = target;
    result.positioned = true;
    return kPositioned;
}

std::int32_t NextRow(ProcedureResult& result) {
    if (!result.positioned) {
        return SeekRow(result, 0);
    }
    // The next row is mostly in the same chunk: no search then.
    if (result.row_in_chunk + 1 < result.chunk_size) {
        ++result.row_in_chunk;
        ++result.current_row;
        return kPositioned;
    }
    return SeekRow(result, static_cast<std::int64_t>(result.current_row + 1));
}

host_value ReadValue(call_context context, const ProcedureResult& result, std::int32_t column) {
    const auto index = static_cast<std::size_t>(column);
    // The two lists into the chunk are as long as the columns, or empty.
    if (!result.chunk || column < 0 || index >= result.column_data.size()) {
        return nullptr;
    }
    std::uint64_t* validity = result.column_validity[index];
    if (validity != nullptr && !duckdb_validity_row_is_valid(validity, result.row_in_chunk)) {
        return nullptr;
    }
    return MakeCellValue(context, result.columns[index].runtime_type, result.column_data[index],
                         result.row_in_chunk);
}

} // namespace orlimbara::procedures
