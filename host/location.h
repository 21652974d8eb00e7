/// @file
/// Where files and folders lie.
#pragma once

#include "host/string.h"
#include "host/unknown.h"

namespace orkit {

/// A place of a file or folder that may or may not exist. Immutable; callable from any thread.
class I_Location : public I_Unknown {
public:
    void* QueryInterface(std::uint32_t inInterfaceId) override = 0;
    /// The absolute path, free of symbolic links, "." and "..", so that one file has one path. A text that
    /// names no file (":memory:", or one that begins with "md:") is the path as it was given.
    virtual const String& get_Path() const = 0;
    /// The place of `inName`, a relative path, inside this folder.
    virtual smart_ptr<I_Location> get_ChildLocation(const String& inName) const = 0;
    /// The folder that this place lies in; null where there is none.
    virtual smart_ptr<I_Location> get_ParentLocation() const = 0;
    /// The last component of the path without its ending.
    virtual const String& get_Name() const = 0;
    /// Whether a file or folder is there now. Never throws.
    virtual bool get_Exists() const = 0;
};

/// What a location offers when it can hold other files (interface id 402). A location of an existing folder,
/// or of a place where nothing exists yet, has it.
class I_Folder {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kFolder;
    virtual ~I_Folder() = default;
    /// Whether a folder is there now and files can be made in it. Never throws.
    virtual bool get_Exists() const = 0;
};

} // namespace orkit
