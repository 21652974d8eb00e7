#include "database/duckdb_database.h"
#include "host/exceptions.h"

namespace orkit::orsql {

void DuckDBDatabase::Backup(smart_ptr<I_Location>) {
    throw xFeatureError(error_code::kFeature, "orDuckDB - backup");
}

}  // namespace orkit::orsql
