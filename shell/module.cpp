#include "shell/module.h"

#include <filesystem>

#include <dlfcn.h>
#include <fmt/format.h>

#include "host/runtime.h"
#include "host_standin/procedure_table.h"
#include "shell/failure.h"

namespace orlimbara::shell {

namespace {

using BindApi = void (*)(const procedure_api*);
using Init = void (*)(call_context);

template <class Function>
Function FindExport(void* inLibrary, const std::string& inPath, const char* inName) {
    void* const symbol = dlsym(inLibrary, inName);
    if (!symbol) {
        throw ShellError(fmt::format("{} is not the module: it has no {}", inPath, inName));
    }
    return reinterpret_cast<Function>(symbol);
}

} // namespace

std::string_view ShellVersion() { return ORSQL_VERSION; }

std::string DefaultModulePath() {
    constexpr const char* kModuleName = "orlimbara_duckdb.so";
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return kModuleName;
    }
    const std::filesystem::path beside = program.parent_path() / kModuleName;
    const std::filesystem::path installed =
        (program.parent_path() / ORSQL_INSTALLED_MODULES / kModuleName).lexically_normal();
    for (const std::filesystem::path& path : {beside, installed}) {
        if (std::filesystem::exists(path, error)) {
            return path.string();
        }
    }
    throw ShellError(fmt::format("can't find the module: neither {} nor {} is there (--module names another)",
                                 beside.string(), installed.string()));
}

Module::Module(const std::string& inPath) {
    // A name without a slash would be looked for on the loader's paths.
    const std::string path = std::filesystem::absolute(inPath).string();
    // The module binds its own symbols at once in any case; DuckDB's many are bound when they are first
    // called.
    void* const library = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!library) {
        const char* const reason = dlerror();
        throw ShellError(fmt::format("can't load the module: {}", reason ? reason : path.c_str()));
    }
    const auto bindApi = FindExport<BindApi>(library, path, "orlimbara_extension_bind_api");
    const auto init = FindExport<Init>(library, path, "orlimbara_extension_init");
    bindApi(orkit::standin::GetProcedureTable());
    const orkit::standin::ProcedureContext context;
    init(context.get_Handle());
    mExtension = orkit::orsql::GetDuckDBExtension();
    if (!mExtension) {
        orkit::standin::ForgetProcedures();
        const std::vector<std::string>& errors = context.get_Errors();
        throw ShellError(errors.empty() ? fmt::format("the module {} gave no root object", path)
                                        : fmt::format("the module {}: {}", path, errors.front()));
    }
}

Module::~Module() {
    mExtension.reset();
    orkit::orsql::SetDuckDBExtension(nullptr);
    orkit::standin::ForgetProcedures();
}

} // namespace orlimbara::shell
