/// @file
/// The plug-in module, found and started as a host does it.
#pragma once

#include <string>
#include <string_view>

#include "host/duckdb_objects.h"

namespace orsql {

/// The version of the shell itself.
std::string_view ShellVersion();

/// The module beside the running program.
std::string DefaultModulePath();

/// The loaded module. There is at most one at a time. Its end gives up the root object and the procedures;
/// the code stays mapped. All objects of the module must be gone by then.
class Module {
public:
    /// Loads and starts the module. What the loader says raises ShellError.
    explicit Module(const std::string& inPath);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module();

    /// The root object.
    orkit::orsql::I_DuckDBExtension& get_Extension() const { return *mExtension; }

private:
    orkit::smart_ptr<orkit::orsql::I_DuckDBExtension> mExtension;
};

} // namespace orsql
