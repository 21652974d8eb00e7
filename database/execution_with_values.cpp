#include "database/duckdb_database.h"
#include "host/exceptions.h"

namespace orkit::orsql {

orlimbara::duckdb_support::OwnedResult DuckDBDatabase::RunWithParameters(const char*, const smart_ptr<ValueArray>&) {
    throw xFeatureError(error_code::kFeature, "orDuckDB - values for a query");
}

}  // namespace orkit::orsql
