/// @file
/// Where files and folders lie.
#pragma once

#include "host/string.h"
#include "host/unknown.h"

namespace orkit {

/// The location of a file or folder that may or may not exist. Immutable; any thread may call it.
class I_Location : public I_Unknown {
public:
    void* QueryInterface(std::uint32_t inInterfaceId) override = 0;
    /// The absolute path, without symbolic links, "." and "..", so that one file has one path. A text that
    /// names no file (":memory:", or one that begins with "md:") is the path as it was given.
    virtual const String& get_Path() const = 0;
    /// The location of `inName`, a relative path, inside this folder.
    virtual smart_ptr<I_Location> get_ChildLocation(const String& inName) const = 0;
    /// The folder that contains this location; null if there is none.
    virtual smart_ptr<I_Location> get_ParentLocation() const = 0;
    /// The last component of the path without its extension.
    virtual const String& get_Name() const = 0;
    /// Whether a file or folder exists there now. Never throws.
    virtual bool get_Exists() const = 0;
};

/// What a location offers when it can hold other files (interface id 402). A location has it if it is an
/// existing folder or if nothing exists there yet.
class I_Folder {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kFolder;
    virtual ~I_Folder() = default;
    /// Whether a folder exists there now and files can be created in it. Never throws.
    virtual bool get_Exists() const = 0;
};

} // namespace orkit
