#include "procedures/registration.h"

#include <array>
#include <string>

#include "procedures/fetch_duckdb.h"
#include "procedures/fetch_parquet.h"
#include "procedures/inspection.h"
#include "procedures/procedure_frame.h"

namespace orlimbara::procedures {

namespace {

constexpr std::array gProcedures = {
    procedure_descriptor{"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]",
                         "Reads a parquet file.", 0, 0, fetch_parquet},
    procedure_descriptor{"parquet_schema", 1, 1, "uri", "Returns parquet column schema.", 0, 0,
                         parquet_schema},
    procedure_descriptor{"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata.", 0, 0,
                         parquet_metadata},
    procedure_descriptor{"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count.", 0, 0,
                         parquet_count},
    procedure_descriptor{"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]",
                         "Returns rows from a DuckDB table or view.", 0, 0, fetch_duckdb},
};

void ReportRefusal(call_context context, const char* name) {
    try {
        ReportError(context, std::string("Cannot register ") + name + " procedure.");
    } catch (...) { // no memory for the text: the other procedures are still worth trying
    }
}

} // namespace

void RegisterProcedures(call_context context) noexcept {
    if (!GetProcedureApi()) {
        return; // the host never bound its table: it gets no procedures
    }
    for (const procedure_descriptor& descriptor : gProcedures) {
        if (GetProcedureApi()->register_procedure(context, &descriptor) != 0) {
            ReportRefusal(context, descriptor.name);
        }
    }
}

} // namespace orlimbara::procedures
