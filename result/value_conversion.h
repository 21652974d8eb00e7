/// @file
/// From a DuckDB cell to a host value, through a `duckdb_value` of the cell: the reference meaning of every
/// cell. The readers of chunk_reader.h give the same values faster.
///
/// These functions take no lock and keep no state. Exceptions of the host's factories and of DuckDB pass
/// through.
#pragma once

#include <cstdint>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

/// A cell of a chunk. SQL NULL of any type gives the null value. Integers, floating-point numbers, BOOLEAN
/// and BLOB give the host's value of that kind, DECIMAL a double, a VARIANT what it holds; every other type
/// gives DuckDB's text of the value.
/// Throws xDuckDBError with the context "value" for a time out of its type's range, alone or inside the
/// value, where its text is needed.
/// @param inColumn, inRow inside the chunk. @param inColumnType the column's type, from the result.
smart_ptr<I_Value> ReadCell(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow, duckdb_type inColumnType);

/// @param inValue owned by the caller; null gives the null value.
/// @param inVariantType the number of a VARIANT's content; null if that is unknown or beyond the known
/// numbers, which gives the VARIANT's text.
smart_ptr<I_Value> DuckDBToValue(duckdb_value inValue, const std::int32_t* inVariantType);

/// The content of a VARIANT. A payload without an exact host value becomes an envelope.
/// @param inChild the payload, owned by the caller; null gives the null value.
smart_ptr<I_Value> VariantChildToValue(duckdb_value inChild, std::int32_t inVariantType);

/// A new value of the kind that a factory makes, not nullable, set by one setter.
template <class Setter, class Content>
inline smart_ptr<I_Value> MakeValue(I_Value* (*inFactory)(bool, const void*, const void*), Setter inSetter,
                                    Content inContent) {
    smart_ptr<I_Value> value(inFactory(false, nullptr, nullptr));
    (value.get()->*inSetter)(inContent);
    return value;
}

/// SQL NULL in the host: a Boolean value that is null.
smart_ptr<I_Value> MakeNullValue();

/// A binary value with a copy of the bytes.
/// @param inData may be null, which gives a value of length `inLength` without content set.
smart_ptr<I_Value> BytesToValue(const void* inData, std::uint32_t inLength);

/// A calendar date.
smart_ptr<I_Value> DateToValue(duckdb_date inDate);

/// A date and time of day; microseconds are truncated to milliseconds. Throws for infinity, which has no
/// calendar parts.
smart_ptr<I_Value> TimestampToValue(duckdb_timestamp inTimestamp);

} // namespace orkit::orsql
