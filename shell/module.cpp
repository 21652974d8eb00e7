#include "shell/module.h"

#include <filesystem>

#include <fmt/format.h>

#include "host/runtime.h"
#include "host_standin/paths.h"
#include "host_standin/procedure_table.h"
#include "shell/failure.h"
#include "shell/system.h"

namespace orlimbara::shell {

namespace {

using BindApi = void (*)(const procedure_api*);
using Init = void (*)(call_context);

template <class Function>
Function FindExport(void* inLibrary, const std::string& inPath, const char* inName) {
    void* const symbol = FindSymbol(inLibrary, inName);
    if (!symbol) {
        throw ShellError(fmt::format("{} is not the module: it has no {}", inPath, inName));
    }
    return reinterpret_cast<Function>(symbol);
}

} // namespace

std::string_view ShellVersion() { return ORSQL_VERSION; }

std::string DefaultModulePath() {
    const std::filesystem::path program = orkit::standin::PathOf(ProgramPath());
    if (program.empty()) {
        return kModuleName;
    }
    const std::filesystem::path beside = program.parent_path() / kModuleName;
    const std::filesystem::path installed =
        (program.parent_path() / ORSQL_INSTALLED_MODULES / kModuleName).lexically_normal();
    for (const std::filesystem::path& path : {beside, installed}) {
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored)) {
            return orkit::standin::TextOf(path);
        }
    }
    throw ShellError(fmt::format("can't find the module: neither {} nor {} is there (--module names another)",
                                 orkit::standin::TextOf(beside), orkit::standin::TextOf(installed)));
}

Module::Module(const std::string& inPath) {
    // The loader would search its own paths for a name without a slash.
    const std::string path =
        orkit::standin::TextOf(std::filesystem::absolute(orkit::standin::PathOf(inPath)));
    std::string reason;
    void* const library = LoadLibraryFile(path, reason);
    if (!library) {
        throw ShellError("can't load the module: " + reason);
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
