#include "duckdb_support/supplement.h"

#include "duckdb_support/duckdb_internals.h"
#include "duckdb_support/variant_reader.h"

namespace internals = orlimbara::duckdb_support::internals;
using internals::OrElse;
using internals::Unwrap;
using internals::VariantReader;

namespace {

[[maybe_unused]] bool IsVariant(duckdb_value inValue) {
    return inValue != nullptr && Unwrap(inValue).type().id() == duckdb::LogicalTypeId::VARIANT;
}

} // namespace

extern "C" {

#if ORLIMBARA_SUPPLY_DATA_CHUNK_GET_VALUE
duckdb_value duckdb_data_chunk_get_value(duckdb_data_chunk chunk, idx_t column, idx_t row) {
    return OrElse<duckdb_value>(nullptr, [&]() -> duckdb_value {
        if (chunk == nullptr) {
            return nullptr;
        }
        const duckdb::DataChunk& cells = Unwrap(chunk);
        if (column >= cells.ColumnCount() || row >= cells.size()) {
            return nullptr;
        }
        return internals::WrapNew(cells.GetValue(column, row));
    });
}
#endif

#if ORLIMBARA_SUPPLY_VALUE_VARIANT_TYPE
int32_t duckdb_value_variant_type(duckdb_value value) {
    return OrElse<int32_t>(VariantReader::kUnreadable, [&]() -> int32_t {
        if (value != nullptr && Unwrap(value).IsNull()) {
            return 0;
        }
        if (!IsVariant(value)) {
            return VariantReader::kUnreadable;
        }
        duckdb::Vector vector(Unwrap(value));
        return VariantReader(vector, 1).Number(0);
    });
}
#endif

#if ORLIMBARA_SUPPLY_VALUE_VARIANT_CHILD
duckdb_value duckdb_value_variant_child(duckdb_value value) {
    return OrElse<duckdb_value>(nullptr, [&]() -> duckdb_value {
        if (value != nullptr && Unwrap(value).IsNull()) {
            return internals::WrapNew(duckdb::Value());
        }
        if (!IsVariant(value)) {
            return nullptr;
        }
        return internals::WrapNew(internals::VariantChild(Unwrap(value)));
    });
}
#endif

#if ORLIMBARA_SUPPLY_LOGICAL_TYPE_TO_STRING
char* duckdb_logical_type_to_string(duckdb_logical_type type) {
    return OrElse<char*>(nullptr, [&]() -> char* {
        return type == nullptr ? nullptr : internals::CopyText(Unwrap(type).ToString());
    });
}
#endif

} // extern "C"
