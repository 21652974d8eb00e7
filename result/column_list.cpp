#include "result/column_list.h"

#include "duckdb_support/handles.h"
#include "duckdb_support/supplement.h"
#include "object_support/text.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

ColumnList::ColumnList(duckdb_result* inResult) {
    mColumns.resize(duckdb_column_count(inResult));
    for (idx_t index = 0; index < mColumns.size(); ++index) {
        Column& column = mColumns[index];
        column.mName = StringFromUTF8(duckdb_column_name(inResult, index));
        const support::OwnedLogicalType type(duckdb_column_logical_type(inResult, index));
        column.mType = duckdb_column_type(inResult, index);
        const support::OwnedText typeName(support::type_text(type.Get()));
        column.mTypeName = StringFromUTF8(typeName.Get());
    }
}

} // namespace orkit::orsql
