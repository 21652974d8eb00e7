/// @file
/// How the C++ examples start and end the module, and show texts and failures.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#include "host/exceptions.h"
#include "host/runtime.h"
#include "host_standin/locations.h"
#include "host_standin/procedure_table.h"

/// The loaded module; one per process. All its objects must be gone before this one is destroyed.
class LoadedModule {
public:
    explicit LoadedModule(const char* inPath) {
        void* const module = dlopen(inPath, RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            throw std::runtime_error(dlerror());
        }
        const auto bindApi =
            reinterpret_cast<void (*)(const procedure_api*)>(dlsym(module, "orlimbara_extension_bind_api"));
        const auto init = reinterpret_cast<void (*)(call_context)>(dlsym(module, "orlimbara_extension_init"));
        if (!bindApi || !init) {
            throw std::runtime_error(std::string(inPath) + " is not the module");
        }
        bindApi(orkit::standin::GetProcedureTable());
        const orkit::standin::ProcedureContext context;
        init(context.get_Handle());
        mExtension = orkit::orsql::GetDuckDBExtension();
        if (!mExtension) { // the module refused, and reported why
            throw std::runtime_error(context.get_Errors().empty() ? "no root object"
                                                                  : context.get_Errors().front());
        }
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    /// The code stays mapped: DuckDB can't be unloaded safely.
    ~LoadedModule() {
        mExtension.reset();
        orkit::orsql::SetDuckDBExtension(nullptr);
        orkit::standin::ForgetProcedures();
    }

    /// A closed database object for a path or ":memory:".
    orkit::smart_ptr<orkit::orsql::I_DuckDBDatabase> MakeDatabase(const char* inPath) const {
        return mExtension->CreateDatabase(orkit::standin::MakeLocation(inPath));
    }

private:
    orkit::smart_ptr<orkit::orsql::I_DuckDBExtension> mExtension;
};

inline std::string Utf8(const orkit::String& inText) {
    return orkit::StFromUTF16(inText, orkit::GetConverter_UTF8()).c_str();
}

inline std::string TextOf(const orkit::orsql::I_Value& inValue) {
    orkit::String text;
    inValue.get_String(text, -1);
    return inValue.get_IsNull() ? "NULL" : Utf8(text);
}

/// The exception being handled, as one line. The host's exceptions aren't std::exceptions.
inline std::string CurrentFailure() {
    try {
        throw;
    } catch (const orkit::xException& failure) {
        std::string line = std::to_string(failure.get_Code());
        for (std::size_t i = 0; i < orkit::xException::kTextCount; ++i) {
            if (const orkit::String* const text = failure.get_Text(i)) {
                line += ": " + Utf8(*text);
            }
        }
        return line;
    } catch (const std::exception& failure) {
        return failure.what();
    }
}
