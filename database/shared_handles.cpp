#include "database/shared_handles.h"

namespace orkit::orsql {

std::map<String, SharedDatabaseEntry> gSharedDatabases;

} // namespace orkit::orsql
