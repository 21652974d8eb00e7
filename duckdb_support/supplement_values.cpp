#include "duckdb_support/supplement.h"

#include "duckdb_support/duckdb_internals.h"
#include "duckdb_support/variant_reader.h"

#include <duckdb/common/allocator.hpp>

namespace support = orlimbara::duckdb_support;
namespace internals = support::internals;
using internals::OrElse;
using internals::Unwrap;
using internals::VariantReader;

namespace {

bool IsVariant(duckdb_value inValue) {
    return inValue != nullptr && Unwrap(inValue).type().id() == duckdb::LogicalTypeId::VARIANT;
}

} // namespace

namespace orlimbara::duckdb_support {

void release_free_memory() noexcept {
    try {
        duckdb::Allocator::FlushAll();
    } catch (...) { // the memory stays for later queries
    }
}

duckdb_value chunk_value(duckdb_data_chunk chunk, idx_t column, idx_t row) {
    if (chunk == nullptr || column >= Unwrap(chunk).ColumnCount() || row >= Unwrap(chunk).size()) {
        return nullptr;
    }
    return internals::WrapNew(Unwrap(chunk).GetValue(column, row));
}

std::int32_t variant_type(duckdb_value value) {
    if (value != nullptr && Unwrap(value).IsNull()) {
        return 0;
    }
    if (!IsVariant(value)) {
        return VariantReader::kUnreadable;
    }
    duckdb::Vector vector(Unwrap(value));
    return VariantReader(vector, 1).Number(0);
}

duckdb_value variant_child(duckdb_value value) {
    if (value != nullptr && Unwrap(value).IsNull()) {
        return internals::WrapNew(duckdb::Value());
    }
    return IsVariant(value) ? internals::WrapNew(internals::VariantChild(Unwrap(value))) : nullptr;
}

char* type_text(duckdb_logical_type type) {
    return type == nullptr ? nullptr : internals::CopyText(Unwrap(type).ToString());
}

} // namespace orlimbara::duckdb_support

extern "C" {

#if ORLIMBARA_SUPPLY_DATA_CHUNK_GET_VALUE
duckdb_value duckdb_data_chunk_get_value(duckdb_data_chunk chunk, idx_t column, idx_t row) {
    return OrElse<duckdb_value>(nullptr, [&] { return support::chunk_value(chunk, column, row); });
}
#endif

#if ORLIMBARA_SUPPLY_VALUE_VARIANT_TYPE
int32_t duckdb_value_variant_type(duckdb_value value) {
    return OrElse<int32_t>(VariantReader::kUnreadable, [&] { return support::variant_type(value); });
}
#endif

#if ORLIMBARA_SUPPLY_VALUE_VARIANT_CHILD
duckdb_value duckdb_value_variant_child(duckdb_value value) {
    return OrElse<duckdb_value>(nullptr, [&] { return support::variant_child(value); });
}
#endif

#if ORLIMBARA_SUPPLY_LOGICAL_TYPE_TO_STRING
char* duckdb_logical_type_to_string(duckdb_logical_type type) {
    return OrElse<char*>(nullptr, [&] { return support::type_text(type); });
}
#endif

} // extern "C"
