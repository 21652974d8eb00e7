// The smallest host: it loads the module, opens a database in memory, asks it something and prints the rows.
//
//     smallest_host LIBDIR/orlimbara/orlimbara_duckdb.so

#include <cstdio>
#include <dlfcn.h>

#include "host/runtime.h"
#include "host_standin/locations.h"
#include "host_standin/procedure_table.h"

using namespace orkit;
using namespace orkit::orsql;

int main(int, char** inArguments) {
    void* const module = dlopen(inArguments[1], RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        std::fprintf(stderr, "error: %s\n", dlerror());
        return 1;
    }
    // The two exports, in this order, once.
    const auto bindApi =
        reinterpret_cast<void (*)(const procedure_api*)>(dlsym(module, "orlimbara_extension_bind_api"));
    const auto init = reinterpret_cast<void (*)(call_context)>(dlsym(module, "orlimbara_extension_init"));
    bindApi(standin::GetProcedureTable());
    init(standin::ProcedureContext().get_Handle());

    if (const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension()) {
        const auto database = extension->CreateDatabase(standin::MakeLocation(":memory:"));
        database->Create();
        const auto cursor = database->SqlSelect("SELECT i, i * i AS square FROM range(1, 4) AS t(i)",
                                                kCursorLocationServer, nullptr);
        while (cursor->NextRecord()) {
            std::printf("%d squared is %d\n", cursor->get_Value(0)->get_Long(),
                        cursor->get_Value(1)->get_Long());
        }
    } // every object of the module is gone here, before the host gives up the root object
    SetDuckDBExtension(nullptr);
    standin::ForgetProcedures();
    return 0;
}
