#include "extension/exports.h"

#include "extension/duckdb_extension.h"
#include "host/runtime.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"

void orlimbara_extension_bind_api(const procedure_api* api) { orlimbara::procedures::BindProcedureApi(api); }

void orlimbara_extension_init(call_context context) {
    orkit::orsql::SetDuckDBExtension(orkit::smart_ptr<orkit::orsql::I_DuckDBExtension>(new DuckDBExtension));
    orlimbara::procedures::RegisterProcedures(context);
}
