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

TEST(Module, GivesItsRootObjectAndProceduresWhenItIsLoaded) {
    void* const module = ::dlopen(std::getenv("ORLIMBARA_MODULE"), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_TRUE(module) << ::dlerror();
    const auto bindApi =
        reinterpret_cast<void (*)(const procedure_api*)>(::dlsym(module, "orlimbara_extension_bind_api"));
    const auto init = reinterpret_cast<void (*)(call_context)>(::dlsym(module, "orlimbara_extension_init"));
    ASSERT_TRUE(bindApi && init);

    standin::ProcedureContext context;
    bindApi(standin::GetProcedureTable());
    init(context.get_Handle());
    EXPECT_TRUE(context.get_Errors().empty());
    EXPECT_EQ(standin::ListProcedures().size(), 5u);
    const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension();
    ASSERT_TRUE(extension);
    EXPECT_EQ(extension->get_RefsCount(), 2u) << "the host's reference and this test's";

    SetDuckDBExtension(nullptr);
    standin::ForgetProcedures();
}

} // namespace
} // namespace orkit::orsql::test
