#include <cstdlib>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "host/procedure_api.h"
#include "host/runtime.h"
#include "host_standin/procedure_table.h"

namespace orkit::orsql::test {
namespace {

TEST(ModuleWithAnotherDuckDB, LoadsAndRefusesWithBothVersions) {
    // Has the name of DuckDB's library, so that the loader uses it for the module.
    ASSERT_TRUE(::dlopen(OTHER_DUCKDB, RTLD_NOW | RTLD_GLOBAL)) << ::dlerror();
    void* const module = ::dlopen(std::getenv("ORLIMBARA_MODULE"), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_TRUE(module) << ::dlerror();
    const auto bindApi =
        reinterpret_cast<void (*)(const procedure_api*)>(::dlsym(module, "orlimbara_extension_bind_api"));
    const auto init = reinterpret_cast<void (*)(call_context)>(::dlsym(module, "orlimbara_extension_init"));
    ASSERT_TRUE(bindApi && init);

    standin::ProcedureContext context;
    init(context.get_Handle()); // nowhere to report to
    EXPECT_TRUE(context.get_Errors().empty());
    bindApi(standin::GetProcedureTable());
    init(context.get_Handle());
    EXPECT_EQ(context.get_Errors(), (std::vector<std::string>{"orlimbara_duckdb needs DuckDB " DUCKDB_VERSION
                                                              ", but the library is v1.4.9."}));
    EXPECT_FALSE(GetDuckDBExtension());
    EXPECT_TRUE(standin::ListProcedures().empty());
}

} // namespace
} // namespace orkit::orsql::test
