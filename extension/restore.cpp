#include "extension/duckdb_extension.h"
#include "host/exceptions.h"

using namespace orkit;
using namespace orkit::orsql;

smart_ptr<I_DuckDBDatabase> DuckDBExtension::RestoreDatabase(smart_ptr<I_Location>, smart_ptr<I_Location>) {
    throw xFeatureError(error_code::kFeature, "orDuckDB - restore");
}
