#include "extension/exports.h"

#include <string>
#include <string_view>

#include <duckdb.h>

#include "extension/duckdb_extension.h"
#include "host/runtime.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"

namespace {

/// Whether DuckDB's library has the version that the module was built for: part of the module uses DuckDB's
/// C++ headers, which fit that version only. Until this returns true, call nothing else of DuckDB: another
/// library may lack it.
bool IsDuckDBOfBuild(call_context context) {
    const std::string_view version = duckdb_library_version();
    if (version == ORLIMBARA_DUCKDB_VERSION) {
        return true;
    }
    if (orlimbara::procedures::GetProcedureApi()) {
        orlimbara::procedures::ReportError(context, "orlimbara_duckdb needs DuckDB " ORLIMBARA_DUCKDB_VERSION
                                                    ", but the library is " +
                                                        std::string(version) + ".");
    }
    return false;
}

} // namespace

void orlimbara_extension_bind_api(const procedure_api* api) { orlimbara::procedures::BindProcedureApi(api); }

void orlimbara_extension_init(call_context context) {
    if (!IsDuckDBOfBuild(context)) {
        return;
    }
    orkit::orsql::SetDuckDBExtension(orkit::smart_ptr<orkit::orsql::I_DuckDBExtension>(new DuckDBExtension));
    orlimbara::procedures::RegisterProcedures(context);
}
