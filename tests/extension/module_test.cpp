#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "host/procedure_api.h"
#include "host/runtime.h"
#include "host_standin/procedure_table.h"

namespace orkit::orsql::test {
namespace {

TEST(Module, ExportsItsTwoFunctionsAndNothingElse) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(
        ::popen("nm --dynamic --defined-only --format=just-symbols \"$ORLIMBARA_MODULE\"", "r"), ::pclose);
    char names[4096] = {};
    std::fread(names, 1, sizeof names - 1, output.get());
    EXPECT_STREQ(names, "orlimbara_extension_bind_api\norlimbara_extension_init\n");
}

TEST(Module, GivesItsRootObjectAndProceduresBesideItsOwnDuckDBAlone) {
    // Another DuckDB has the name of the library, so that the loader uses it for the module.
    const char* const other = std::getenv("OTHER_DUCKDB");
    ASSERT_TRUE(!other || ::dlopen(other, RTLD_NOW | RTLD_GLOBAL)) << ::dlerror();
    void* const module = ::dlopen(std::getenv("ORLIMBARA_MODULE"), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_TRUE(module) << ::dlerror();
    const auto bindApi =
        reinterpret_cast<void (*)(const procedure_api*)>(::dlsym(module, "orlimbara_extension_bind_api"));
    const auto init = reinterpret_cast<void (*)(call_context)>(::dlsym(module, "orlimbara_extension_init"));
    ASSERT_TRUE(bindApi && init);

    standin::ProcedureContext context;
    std::vector<std::string> refusal;
    if (other) {
        init(context.get_Handle()); // has nowhere to report to
        refusal = {"orlimbara_duckdb needs DuckDB " DUCKDB_VERSION ", but the library is v1.4.9."};
    }
    EXPECT_TRUE(context.get_Errors().empty());
    bindApi(standin::GetProcedureTable());
    init(context.get_Handle());
    EXPECT_EQ(context.get_Errors(), refusal);
    EXPECT_EQ(standin::ListProcedures().size(), other ? 0u : 5u);
    const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension();
    EXPECT_EQ(extension ? extension->get_RefsCount() : 0, other ? 0u : 2u)
        << "the host's reference and this test's";
    SetDuckDBExtension(nullptr);
    standin::ForgetProcedures();
}

} // namespace
} // namespace orkit::orsql::test
