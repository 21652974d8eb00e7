#include "database/duckdb_database.h"
#include "host/exceptions.h"

namespace orkit::orsql {

smart_ptr<I_DuckDBStatement> DuckDBDatabase::CreateStatement(const String&) {
    throw xFeatureError(error_code::kFeature, "orDuckDB - statements");
}

void DuckDBDatabase::RemoveStatement(I_DuckDBStatement*) {}

}  // namespace orkit::orsql
