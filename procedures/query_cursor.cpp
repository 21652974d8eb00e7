#include "procedures/query_cursor.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include "duckdb_support/times.h"
#include "procedures/cell_values.h"
#include "procedures/host_boundary.h"
#include "procedures/quoting.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures {

namespace {

constexpr std::int32_t kPositioned = 0;
constexpr std::int32_t kNotPositioned = -1;
constexpr std::string_view kUnexpectedMessage = "Unexpected error while reading a row.";

/// One SELECT item: the column, or the column cast to its runtime type, under its own name. With
/// `checks_times` a time outside its range makes the query fail before it is cast to text.
std::string ColumnProjection(std::string_view name, duckdb_type type, bool checks_times) {
    const std::string quoted = QuoteIdentifier(name);
    const duckdb_type runtime_type = RuntimeType(type);
    std::string item = checks_times ? duckdb_support::kTimeCheck + ("(" + quoted + ")") : quoted;
    if (runtime_type != type) {
        item = "CAST(" + item + " AS " + DuckDBTypeName(runtime_type) + ")";
    }
    return item == quoted ? quoted : item + " AS " + quoted;
}

template <typename Element>
[[nodiscard]] Element& ElementAt(void* data, std::uint64_t row) {
    return static_cast<Element*>(data)[row];
}

/// As `duckdb_is_finite_timestamp`, without a call.
[[nodiscard]] bool IsFinite(duckdb_timestamp timestamp) {
    constexpr std::int64_t kInfinity = std::numeric_limits<std::int64_t>::max();
    return timestamp.micros != kInfinity && timestamp.micros != -kInfinity;
}

[[nodiscard]] host_value MakeDateTime(call_context context, duckdb_timestamp timestamp) {
    if (!IsFinite(timestamp)) { // DuckDB throws if asked for the parts of infinity
        return nullptr;
    }
    return GetProcedureApi()->new_datetime(context, PackDateTime(duckdb_from_timestamp(timestamp)));
}

/// Whether the host has a value for a cell that isn't NULL. It has none for an infinite timestamp.
[[nodiscard]] bool HasCellValue(duckdb_type runtime_type, void* data, std::uint64_t row) {
    return runtime_type != DUCKDB_TYPE_TIMESTAMP || IsFinite(ElementAt<duckdb_timestamp>(data, row));
}

/// Makes the value of a cell that isn't NULL; the host owns it. `data` is the data of a flat vector of the
/// runtime type, and `row` counts from 0 in it. Null if the host has no such value or can't make it.
[[nodiscard]] host_value MakeCellValue(call_context context, duckdb_type runtime_type, void* data,
                                       std::uint64_t row) {
    const procedure_api& api = *GetProcedureApi();
    switch (runtime_type) {
    case DUCKDB_TYPE_BOOLEAN:
        return api.new_bool(context, ElementAt<std::uint8_t>(data, row));
    case DUCKDB_TYPE_TINYINT:
        return api.new_int64(context, ElementAt<std::int8_t>(data, row));
    case DUCKDB_TYPE_SMALLINT:
        return api.new_int64(context, ElementAt<std::int16_t>(data, row));
    case DUCKDB_TYPE_INTEGER:
        return api.new_int64(context, ElementAt<std::int32_t>(data, row));
    case DUCKDB_TYPE_BIGINT:
        return api.new_int64(context, ElementAt<std::int64_t>(data, row));
    case DUCKDB_TYPE_UTINYINT:
        return api.new_uint64(context, ElementAt<std::uint8_t>(data, row));
    case DUCKDB_TYPE_USMALLINT:
        return api.new_uint64(context, ElementAt<std::uint16_t>(data, row));
    case DUCKDB_TYPE_UINTEGER:
        return api.new_uint64(context, ElementAt<std::uint32_t>(data, row));
    case DUCKDB_TYPE_UBIGINT:
        return api.new_uint64(context, ElementAt<std::uint64_t>(data, row));
    case DUCKDB_TYPE_FLOAT:
        return api.new_double(context, static_cast<double>(ElementAt<float>(data, row)));
    case DUCKDB_TYPE_DOUBLE:
        return api.new_double(context, ElementAt<double>(data, row));
    case DUCKDB_TYPE_TIMESTAMP:
        return MakeDateTime(context, ElementAt<duckdb_timestamp>(data, row));
    case DUCKDB_TYPE_DATE:
        return api.new_date(context, PackDate(duckdb_from_date(ElementAt<duckdb_date>(data, row))));
    case DUCKDB_TYPE_TIME:
        return api.new_time(context, PackTime(duckdb_from_time(ElementAt<duckdb_time>(data, row))));
    case DUCKDB_TYPE_BLOB: {
        const auto bytes = duckdb_support::ViewOf(ElementAt<duckdb_string_t>(data, row));
        return api.new_binary(context, bytes.data(), bytes.size(), 0);
    }
    default: { // every other type was cast to VARCHAR
        const auto text = duckdb_support::ViewOf(ElementAt<duckdb_string_t>(data, row));
        return api.new_text(context, text.data(), text.size(), 0);
    }
    }
}

} // namespace

host_cursor QueryCursor::Open(call_context context, const std::string& path, const std::string& sql,
                              std::string_view limit) {
    std::unique_ptr<QueryCursor> state(new QueryCursor(path, sql, limit));
    host_cursor cursor = nullptr;
    if (GetProcedureApi()->make_callback_cursor(context, &state->descriptor_, &cursor) != 0) {
        throw std::runtime_error("Unable to create DuckDB cursor.");
    }
    static_cast<void>(state.release()); // the host owns it now, until it calls `destroy`
    return cursor;
}

QueryCursor::QueryCursor(const std::string& path, const std::string& sql, std::string_view limit)
    : instance_(path) {
    const std::string source = " FROM (" + sql + ") AS parquet_source";
    std::string select = ProbeColumns(source) + source;
    if (!limit.empty()) {
        select += " LIMIT ";
        select += limit;
    }
    result_ = instance_.Query(select);
    RequireRuntimeTypes();
    IndexChunks();
    FillDescriptor();
}

std::string QueryCursor::ProbeColumns(const std::string& source) {
    duckdb_support::OwnedResult probe = instance_.Query("SELECT *" + source + " LIMIT 0");
    const idx_t count = duckdb_column_count(probe.Get());
    columns_.reserve(count);
    bool knows_time_check = false;
    std::string select = "SELECT ";
    for (idx_t index = 0; index < count; ++index) {
        const char* name = duckdb_column_name(probe.Get(), index);
        const duckdb_type type = duckdb_column_type(probe.Get(), index);
        const Column& column = columns_.emplace_back(
            Column{name != nullptr ? name : "Column" + std::to_string(index + 1), RuntimeType(type)});
        const duckdb_support::OwnedLogicalType logical_type(duckdb_column_logical_type(probe.Get(), index));
        const bool checks_times = duckdb_support::CanHoldTimes(logical_type.Get());
        if (checks_times && !std::exchange(knows_time_check, true)) {
            duckdb_support::AddTimeCheck(instance_.Connection());
        }
        select += index == 0 ? "" : ", ";
        select += ColumnProjection(column.name, type, checks_times);
    }
    return select;
}

/// Cells are read as raw memory of the runtime types, so the result must really have these types: another
/// process may have replaced the file between probe and query.
void QueryCursor::RequireRuntimeTypes() {
    bool is_as_probed = duckdb_column_count(result_.Get()) == columns_.size();
    for (idx_t index = 0; is_as_probed && index < columns_.size(); ++index) {
        is_as_probed = duckdb_column_type(result_.Get(), index) == columns_[index].runtime_type;
    }
    if (!is_as_probed) {
        throw std::runtime_error("The columns of the DuckDB result have changed.");
    }
}

void QueryCursor::IndexChunks() {
    const idx_t count = duckdb_result_chunk_count(result_.Struct());
    chunk_starts_.reserve(count);
    for (idx_t index = 0; index < count; ++index) {
        chunk_starts_.push_back(row_count_);
        row_count_ += duckdb_data_chunk_get_size(FetchChunk(index).Get());
    }
}

duckdb_support::OwnedDataChunk QueryCursor::FetchChunk(std::uint64_t index) const {
    duckdb_support::OwnedDataChunk chunk(duckdb_result_get_chunk(result_.Struct(), index));
    if (!chunk) {
        throw std::runtime_error("Unable to access DuckDB result chunk.");
    }
    return chunk;
}

void QueryCursor::FillDescriptor() {
    column_names_.reserve(columns_.size());
    column_host_types_.reserve(columns_.size());
    for (const Column& column : columns_) {
        column_names_.push_back(column.name.c_str());
        column_host_types_.push_back(HostTypeOf(column.runtime_type));
    }
    descriptor_.state = this;
    descriptor_.column_count = columns_.size();
    descriptor_.column_names = column_names_.data();
    descriptor_.column_types = column_host_types_.data();
    descriptor_.destroy = OnDestroy;
    descriptor_.read_value = OnReadValue;
    descriptor_.seek_row = OnSeekRow;
    descriptor_.next_row = OnNextRow;
    descriptor_.row_count = OnRowCount;
}

std::int32_t QueryCursor::SeekRow(std::uint64_t row) {
    if (row >= row_count_) {
        return kNotPositioned;
    }
    // The chunk that holds the row: the last one that starts at or before it, which skips empty chunks.
    const auto behind = std::ranges::upper_bound(chunk_starts_, row);
    const auto index = static_cast<std::uint64_t>(std::distance(chunk_starts_.begin(), behind)) - 1;
    if (!chunk_ || chunk_index_ != index) {
        chunk_.Reset();
        duckdb_support::OwnedDataChunk chunk = FetchChunk(index);
        for (idx_t column = 0; column < columns_.size(); ++column) {
            duckdb_vector vector = duckdb_data_chunk_get_vector(chunk.Get(), column);
            columns_[column].data = duckdb_vector_get_data(vector);
            columns_[column].validity = duckdb_vector_get_validity(vector);
        }
        chunk_index_ = index;
        chunk_size_ = duckdb_data_chunk_get_size(chunk.Get());
        chunk_ = std::move(chunk);
    }
    row_in_chunk_ = row - chunk_starts_[index];
    return kPositioned;
}

std::int32_t QueryCursor::NextRow() {
    if (!chunk_) {
        return SeekRow(0);
    }
    // The next row is usually in the same chunk: no search then.
    if (row_in_chunk_ + 1 < chunk_size_) {
        ++row_in_chunk_;
        return kPositioned;
    }
    return SeekRow(chunk_starts_[chunk_index_] + row_in_chunk_ + 1);
}

inline host_value QueryCursor::ReadValue(call_context context, std::int32_t column) const {
    const auto index = static_cast<std::uint32_t>(column); // a negative one becomes one far past the end
    if (!chunk_ || index >= descriptor_.column_count) {
        return nullptr;
    }
    const Column& cells = columns_[index];
    if (!duckdb_support::IsRowValid(cells.validity, row_in_chunk_)) {
        return nullptr;
    }
    const host_value value = MakeCellValue(context, cells.runtime_type, cells.data, row_in_chunk_);
    if (value == nullptr && HasCellValue(cells.runtime_type, cells.data, row_in_chunk_)) {
        throw std::bad_alloc(); // null would pass for SQL NULL
    }
    return value;
}

void QueryCursor::OnDestroy(call_context, void* state) noexcept { delete static_cast<QueryCursor*>(state); }

host_value QueryCursor::OnReadValue(call_context context, void* state, std::int32_t column) noexcept {
    return RunAtBoundary<host_value>(context, kUnexpectedMessage, nullptr, [&] {
        return static_cast<QueryCursor*>(state)->ReadValue(context, column);
    });
}

std::int32_t QueryCursor::OnSeekRow(call_context context, void* state, std::int64_t row) noexcept {
    return RunAtBoundary(context, kUnexpectedMessage, kNotPositioned, [&] {
        // A negative row becomes one far past the end.
        return static_cast<QueryCursor*>(state)->SeekRow(static_cast<std::uint64_t>(row));
    });
}

std::int32_t QueryCursor::OnNextRow(call_context context, void* state) noexcept {
    return RunAtBoundary(context, kUnexpectedMessage, kNotPositioned,
                         [&] { return static_cast<QueryCursor*>(state)->NextRow(); });
}

std::int64_t QueryCursor::OnRowCount(call_context, void* state) noexcept {
    return static_cast<std::int64_t>(static_cast<QueryCursor*>(state)->row_count_);
}

} // namespace orlimbara::procedures
