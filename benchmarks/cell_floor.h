/// @file
/// The plain loops over DuckDB's vectors that the cursors are measured against: the least work to make the
/// host values of a result, each written for one type, with no decisions at run time.
#pragma once

#include <cstddef>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql::bench {

/// How many columns every measured table has, all of one type.
inline constexpr idx_t kColumns = 16;

/// Makes the value of every cell of a result and drops it at once.
using DropAll = void (*)(const duckdb_result& inResult);
/// The same, but keeps the values in the same arrays as a client cursor, one per row.
using KeepAll = smart_ptr<RowArray> (*)(const duckdb_result& inResult);

struct Floor {
    DropAll mDropAll;
    KeepAll mKeepAll;
};

/// One loop for each way to convert a cell. The name is that of DuckDB's type if the way is for one type
/// only.
extern const Floor kBooleanFloor;
extern const Floor kTinyintFloor;
extern const Floor kSmallintFloor;
extern const Floor kIntegerFloor;
extern const Floor kBigintFloor;
extern const Floor kUTinyintFloor;
extern const Floor kUSmallintFloor;
extern const Floor kUIntegerFloor;
extern const Floor kUBigintFloor;
extern const Floor kFloatFloor;
extern const Floor kDoubleFloor;
extern const Floor kVarcharFloor;
extern const Floor kBlobFloor;
extern const Floor kDecimalFloor; ///< of the scale and width that the measured DECIMAL column has
extern const Floor kHugeintFloor;
extern const Floor kUhugeintFloor;
extern const Floor kDateFloor;
extern const Floor kTimeFloor;
extern const Floor kTimeNsFloor;
extern const Floor kTimestampFloor;
extern const Floor kTimestampSFloor;
extern const Floor kTimestampMsFloor;
extern const Floor kTimestampNsFloor;
extern const Floor kTimestampTzFloor;
extern const Floor kIntervalFloor;
extern const Floor kUuidFloor;
extern const Floor kTimeTzFloor;
extern const Floor kBitFloor;
extern const Floor kEnumFloor;     ///< of at most 256 texts
extern const Floor kTextCastFloor; ///< the vector cast to VARCHAR first
extern const Floor kVariantFloor;  ///< of what the measured VARIANT column holds

} // namespace orkit::orsql::bench
