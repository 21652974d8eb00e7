/// @file
/// Files by location. Every failure throws xException (or a class derived from it) with a text that names
/// the path and the cause.
#pragma once

#include <cstdint>
#include <memory>

#include "host/location.h"

namespace orkit {

/// A file that can be opened, read, written and deleted. Only one thread at a time may use an object.
class I_File : public I_Unknown {
public:
    /// Sets the location. Throws if it is null or the file is open.
    virtual void put_Location(smart_ptr<I_Location> inLocation) = 0;
    /// Whether the next Open is for reading only; false initially.
    virtual void put_IsReadOnly(bool inIsReadOnly) = 0;
    /// Creates an empty file and opens it for writing. Throws if the file exists.
    virtual void Create() = 0;
    /// Opens an existing file. Throws if it is missing or another process has locked it.
    virtual void Open() = 0;
    /// Closes; does nothing if the file isn't open.
    virtual void Close() = 0;
    /// Closes and deletes the file.
    virtual void ThrowOut() = 0;
    /// Size in bytes of the open file.
    virtual std::uint64_t get_Size() = 0;
    /// Reads up to `inLength` bytes from byte `inOffset` on. @return the bytes read; fewer at the file's end.
    virtual std::uint32_t Read(void* outBuffer, std::uint64_t inOffset, std::uint32_t inLength) = 0;
    /// Writes all bytes at byte `inOffset`. @return `inLength`.
    virtual std::uint32_t Write(const void* inBuffer, std::uint64_t inOffset, std::uint32_t inLength) = 0;
};

/// The host's file. Closes in its destructor. Its maker takes the first reference.
class FileWin final : public I_File, noncopyable {
public:
    FileWin();
    ~FileWin() override;

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    void* QueryInterface(std::uint32_t inInterfaceId) override;
    std::uint32_t get_RefsCount() const override;

    void put_Location(smart_ptr<I_Location> inLocation) override;
    void put_IsReadOnly(bool inIsReadOnly) override;
    void Create() override;
    void Open() override;
    void Close() override;
    void ThrowOut() override;
    std::uint64_t get_Size() override;
    std::uint32_t Read(void* outBuffer, std::uint64_t inOffset, std::uint32_t inLength) override;
    std::uint32_t Write(const void* inBuffer, std::uint64_t inOffset, std::uint32_t inLength) override;

private:
    struct Imp;
    std::unique_ptr<Imp> mImp;
};

/// A new file object for a location, without a reference. Throws if the location is null.
I_File* CreateFile(smart_ptr<I_Location> inLocation);

} // namespace orkit
