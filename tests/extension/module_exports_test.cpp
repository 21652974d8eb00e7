#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "host/procedure_api.h"
#include "host/runtime.h"
#include "host_standin/procedure_table.h"

namespace orkit::orsql::test {
namespace {

std::string ModulePath() {
    const char* const path = std::getenv("ORLIMBARA_MODULE");
    return path ? path : "";
}

TEST(Module, ExportsItsTwoFunctionsAndNothingElse) {
    const std::string command = "nm --dynamic --defined-only --format=posix '" + ModulePath() + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
    ASSERT_TRUE(output);
    std::set<std::string> names;
    std::array<char, 4096> line = {};
    while (std::fgets(line.data(), static_cast<int>(line.size()), output.get())) {
        std::string name;
        std::istringstream(line.data()) >> name;
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"orlimbara_extension_bind_api", "orlimbara_extension_init"}));
}

TEST(Module, GivesItsRootObjectAndProceduresWhenItIsLoaded) {
    void* const module = ::dlopen(ModulePath().c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    ASSERT_TRUE(module) << ::dlerror();
    using BindApi = void (*)(const procedure_api*);
    using Init = void (*)(call_context);
    const auto bindApi = reinterpret_cast<BindApi>(::dlsym(module, "orlimbara_extension_bind_api"));
    const auto init = reinterpret_cast<Init>(::dlsym(module, "orlimbara_extension_init"));
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
