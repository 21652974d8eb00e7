/// @file
/// The plug-in module, found and started as a host does it.
#pragma once

#include <string>
#include <string_view>

#include "host/duckdb_objects.h"

namespace orlimbara::shell {

/// The version of the shell itself.
std::string_view ShellVersion();

/// The path of the module: beside the running program, else in the folder of private libraries that it was
/// installed with. Throws ShellError if it is in neither.
std::string DefaultModulePath();

/// The loaded module, at most one at a time. The destructor releases the root object and the procedures;
/// the code stays mapped. All objects of the module must be gone by then.
class Module {
public:
    /// Loads and starts the module. Throws ShellError with the loader's message.
    explicit Module(const std::string& inPath);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module();

    /// The root object.
    orkit::orsql::I_DuckDBExtension& get_Extension() const { return *mExtension; }

private:
    orkit::smart_ptr<orkit::orsql::I_DuckDBExtension> mExtension;
};

} // namespace orlimbara::shell
