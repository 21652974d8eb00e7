/// @file
/// Moving about in a ProcedureResult, and the callbacks through which the host does it.
#pragma once

#include <cstdint>

#include "procedures/procedure_result.h"

namespace orlimbara::procedures {

/// Puts the state and the five callbacks into the descriptor. `destroy` deletes the result, which must be on
/// the heap.
void BindCallbacks(ProcedureResult& result) noexcept;

/// Fills column data and column validity from the current chunk; without one they stay empty. The lists have
/// room for all columns since the result was opened, so this doesn't fail.
void BindChunkColumns(ProcedureResult& result) noexcept;

/// Goes to a row, counted from 0: 0 when positioned there, -1 otherwise. A row that doesn't exist leaves the
/// position as it was; a chunk that can't be fetched loses it. May raise what DuckDB raises, with the
/// position lost.
[[nodiscard]] std::int32_t SeekRow(ProcedureResult& result, std::int64_t row);

/// Goes to the row behind the current one, or to row 0 when there is none: 0 when positioned, -1 otherwise.
/// At the end it stays on the last row.
[[nodiscard]] std::int32_t NextRow(ProcedureResult& result);

/// Makes the value of a cell of the current row; null for SQL NULL, and when there is nothing to read.
[[nodiscard]] host_value ReadValue(call_context context, const ProcedureResult& result, std::int32_t column);

} // namespace orlimbara::procedures
