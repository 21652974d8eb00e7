/// @file
/// Reading the rows of one VARIANT vector, on DuckDB's C++ side.
#pragma once

#include <cstdint>
#include <string_view>

#include "duckdb_support/duckdb_internals.h"

#include <duckdb/common/types/variant.hpp>

namespace orlimbara::duckdb_support::internals {

/// Reads the rows of one VARIANT vector. Holds a view of the vector, whose buffers must stay alive.
///
/// DuckDB keeps a VARIANT as a struct of lists: the root of a row is the first entry of the row's list of
/// values, a pair of a type number and an offset into the row's bytes.
class VariantReader {
public:
    /// The number for what isn't a VARIANT or can't be read.
    static constexpr std::int32_t kUnreadable = -1;

    /// Unpacks the vector, which must outlive the reader; may throw. It is flat, as those of fetched chunks,
    /// or constant, as one made of a value: the unified format of a struct drops a dictionary around it.
    VariantReader(duckdb::Vector& ioVector, duckdb::idx_t inCount);
    VariantReader(const VariantReader&) = delete;
    VariantReader& operator=(const VariantReader&) = delete;

    /// The number of the row's content, as `duckdb_value_variant_type` returns it.
    [[nodiscard]] std::int32_t Number(duckdb::idx_t inRow) const;

    /// The first byte of the row's content, in the row's bytes. The row's number must be positive.
    [[nodiscard]] const std::uint8_t* Address(duckdb::idx_t inRow) const;

    /// The bytes of a payload that is stored as a string, inside the row's bytes. The row's number must be
    /// one of VARCHAR, BLOB, BIGNUM, BITSTRING or GEOMETRY.
    [[nodiscard]] std::string_view Bytes(duckdb::idx_t inRow) const;

    /// The payload as a value of its own type, STRUCT or LIST for objects and arrays; may throw.
    [[nodiscard]] duckdb::Value Payload(duckdb::idx_t inRow) const;

    [[nodiscard]] static bool IsNested(std::int32_t inNumber) noexcept;

private:
    duckdb::RecursiveUnifiedVectorFormat mFormat;
    duckdb::unique_ptr<duckdb::UnifiedVariantVectorData> mData;
};

/// The result of `duckdb_value_variant_child` for a value of type VARIANT; may throw.
[[nodiscard]] duckdb::Value VariantChild(const duckdb::Value& inVariant);

} // namespace orlimbara::duckdb_support::internals
