/// @file
/// The functions of DuckDB's C interface that this project uses and that a stock build lacks.
#pragma once

#include <duckdb.h>

#include <cstdint>

#include "duckdb_support/supplement_config.h"

/// CMake looks for each of these functions in the configured DuckDB. Those that DuckDB's header declares
/// aren't declared here, and those that its library defines aren't defined here.
///
/// None throws, and null arguments are safe: the result is then null, or an error state. Several threads may
/// call them on different handles.
extern "C" {

#if ORLIMBARA_DECLARE_DATA_CHUNK_GET_VALUE
/// A new value of the cell at `column` and `row` (both from 0) of the chunk, which the caller destroys.
/// Null if there is no such cell or no memory.
duckdb_value duckdb_data_chunk_get_value(duckdb_data_chunk chunk, idx_t column, idx_t row);
#endif

#if ORLIMBARA_DECLARE_VALUE_VARIANT_TYPE
/// The number of a VARIANT's content, 0 (nothing) to 33 (GEOMETRY), in DuckDB's own numbering. 0 for SQL NULL
/// of any type; -1 for a null handle, a value of another type, and what can't be read.
int32_t duckdb_value_variant_type(duckdb_value value);
#endif

#if ORLIMBARA_DECLARE_VALUE_VARIANT_CHILD
/// The content of a VARIANT as a new value of the type that its number names, which the caller destroys. SQL
/// NULL for SQL NULL. An object or an array (29, 30) gives a value of type JSON, whose text casts back to a
/// VARIANT; if JSON can't hold it, as with a text that isn't UTF-8, a STRUCT or a LIST. Null for a null
/// handle, a value of another type, what can't be read, and no memory.
duckdb_value duckdb_value_variant_child(duckdb_value value);
#endif

#if ORLIMBARA_DECLARE_CAST_VALUE
/// Casts a value to a type as SQL's CAST does, without a connection and so without its settings: a
/// TIMESTAMPTZ is read and written as UTC. The caller keeps both. Returns DuckDBSuccess with a new value in
/// `out`, which the caller destroys, or DuckDBError with null in `out` and a text in `out_error`, which the
/// caller frees with duckdb_free. `out_error` may be null, and its text is null if there is no message.
///
/// Casts from text to JSON validate the text, as SQL does. They use a private DuckDB instance, one at a time.
/// A JSON text that is nested deeper than 1000 levels can only be cast to text.
duckdb_state duckdb_cast_value(duckdb_value value, duckdb_logical_type type, duckdb_value* out,
                               char** out_error);
#endif

#if ORLIMBARA_DECLARE_EXTRACTED_STATEMENT_SQL
/// The text of the statement at `index` (from 0): its part of the script or, if DuckDB made one statement
/// into several, the text that DuckDB generated. The caller frees it with duckdb_free. Null if there is no
/// such statement or no memory, or if `duckdb_prepare_extracted_statement` has removed the statement from the
/// list.
char* duckdb_extracted_statement_sql(duckdb_extracted_statements statements, idx_t index);
#endif

#if ORLIMBARA_DECLARE_LOGICAL_TYPE_TO_STRING
/// The type as SQL writes it, such as DECIMAL(18,3), or its alias. The caller frees it with duckdb_free.
/// Null for a null handle or no memory.
char* duckdb_logical_type_to_string(duckdb_logical_type type);
#endif

} // extern "C"

namespace orlimbara::duckdb_support {

/// The functions above for C++ callers. They let exceptions through, above all std::bad_alloc, so that a
/// failure isn't mistaken for a null with another meaning. @{
[[nodiscard]] duckdb_value chunk_value(duckdb_data_chunk chunk, idx_t column, idx_t row);
[[nodiscard]] std::int32_t variant_type(duckdb_value value);
[[nodiscard]] duckdb_value variant_child(duckdb_value value);
duckdb_state cast_value(duckdb_value value, duckdb_logical_type type, duckdb_value* out, char** out_error);
[[nodiscard]] char* statement_sql(duckdb_extracted_statements statements, idx_t index);
[[nodiscard]] char* type_text(duckdb_logical_type type);
/// @}

/// Prepares the statement at `index` (from 0) as `duckdb_prepare_extracted_statement` does, but leaves it in
/// the list, so that it can be prepared again and its text stays readable.
///
/// On success DuckDBSuccess and the prepared statement in `out`. On failure DuckDBError; `out` then holds a
/// statement whose `duckdb_prepare_error` is DuckDB's text, or null if there is no text: for null arguments,
/// no such statement, or a statement that was removed from the list. In both cases the caller destroys `out`
/// with `duckdb_destroy_prepare`. Throws std::bad_alloc.
duckdb_state prepare_extracted_copy(duckdb_connection connection, duckdb_extracted_statements statements,
                                    idx_t index, duckdb_prepared_statement* out);

/// Gives memory that DuckDB has freed back to the system; by itself DuckDB's allocator keeps it for later
/// queries. Takes longer the more there is. Throws nothing.
void release_free_memory() noexcept;

} // namespace orlimbara::duckdb_support
