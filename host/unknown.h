/// @file
/// Reference-counted objects and interfaces, the base of every object shared with the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace orkit {

/// The root of all interfaces. A new object has a count of 0; its creator takes the first reference.
class I_Unknown {
public:
    virtual ~I_Unknown() = default;
    /// Adds a reference. Atomic. @return the new count.
    virtual std::uint32_t AddRef() = 0;
    /// Drops a reference and, at 0, destroys and frees the object; this can happen on any thread.
    /// Atomic. @return the new count.
    virtual std::uint32_t Release() = 0;
    /// The part of this object with an interface id, or null. Adds no reference: the pointer is valid as long
    /// as the caller holds the object.
    virtual void* QueryInterface(std::uint32_t inInterfaceId) = 0;
    /// The current count; for tests and diagnosis.
    virtual std::uint32_t get_RefsCount() const = 0;
};

/// Ids that `QueryInterface` takes. The ids of a value's aspects are in host/value.h.
namespace interface_id {
inline constexpr std::uint32_t kEnd = 0; ///< ends a table of INTERFACE_ITEM
inline constexpr std::uint32_t kDuckDBExtension = 1;
inline constexpr std::uint32_t kFolder = 402;
inline constexpr std::uint32_t kDuckDBDatabase = 406;
inline constexpr std::uint32_t kDuckDBStatement = 407;
inline constexpr std::uint32_t kDuckDBCursor = 408;
inline constexpr std::uint32_t kDuckDBQueryResult = 409;
inline constexpr std::uint32_t kForeignPlugin = 608;
} // namespace interface_id

/// Holds one reference on an object, or nothing. Works on every type with AddRef and Release.
template <class T>
class smart_ptr {
public:
    smart_ptr() noexcept = default;
    smart_ptr(std::nullptr_t) noexcept {}
    /// Adds a reference, also the first one of a new object.
    smart_ptr(T* inObject) : mObject(inObject) {
        if (mObject) {
            mObject->AddRef();
        }
    }
    smart_ptr(const smart_ptr& inOther) : smart_ptr(inOther.mObject) {}
    smart_ptr(smart_ptr&& inOther) noexcept : mObject(std::exchange(inOther.mObject, nullptr)) {}
    /// From a pointer to a derived type.
    template <class U>
    requires(std::is_convertible_v<U*, T*> && !std::is_same_v<U, T>) smart_ptr(const smart_ptr<U>& inOther)
        : smart_ptr(static_cast<T*>(inOther.get())) {}
    ~smart_ptr() { reset(); }

    smart_ptr& operator=(smart_ptr inOther) noexcept {
        std::swap(mObject, inOther.mObject);
        return *this;
    }

    /// Drops the reference. The pointer is null before Release runs, so that nested code finds nothing.
    void reset() {
        if (T* const object = std::exchange(mObject, nullptr)) {
            object->Release();
        }
    }

    T* get() const noexcept { return mObject; }
    T* operator->() const noexcept { return mObject; }
    T& operator*() const noexcept { return *mObject; }
    explicit operator bool() const noexcept { return mObject != nullptr; }
    friend bool operator==(const smart_ptr& inLeft, const smart_ptr& inRight) noexcept {
        return inLeft.mObject == inRight.mObject;
    }
    friend bool operator==(const smart_ptr& inLeft, std::nullptr_t) noexcept {
        return inLeft.mObject == nullptr;
    }

private:
    T* mObject = nullptr;
};

/// Base of classes that can't be copied.
class noncopyable {
public:
    noncopyable(const noncopyable&) = delete;
    noncopyable& operator=(const noncopyable&) = delete;

protected:
    noncopyable() = default;
    ~noncopyable() = default;
};

/// One row of an object's interface table: how to get from the object to the part for an id. A row with
/// `interface_id::kEnd` ends the table.
struct INTERFACE_ITEM {
    std::uint32_t mInterfaceId;
    void* (*mCast)(void* inObject);
};

/// A row of the table of class `Object` for the part `Interface`. The object pointer that the table is walked
/// with must be an `Object*`.
template <class Object, class Interface>
constexpr INTERFACE_ITEM InterfaceRow(std::uint32_t inInterfaceId) {
    return {inInterfaceId,
            [](void* inObject) -> void* { return static_cast<Interface*>(static_cast<Object*>(inObject)); }};
}

/// The row that ends a table.
inline constexpr INTERFACE_ITEM kInterfaceTableEnd = {interface_id::kEnd, nullptr};

/// Searches a table for an id. @return the part of the object, without a new reference, or null if no row has
/// the id. Id 0 finds nothing.
void* InterfaceTableQueryInterface(void* inObject, const INTERFACE_ITEM* inTable,
                                   std::uint32_t inInterfaceId);

/// Asks an object for the interface `Interface`, whose id is `Interface::kInterfaceId`.
/// @return null if the object is null or lacks it; no reference is added.
template <class Interface, class Object>
Interface* QueryAspect(Object* inObject) {
    return inObject ? static_cast<Interface*>(inObject->QueryInterface(Interface::kInterfaceId)) : nullptr;
}

/// What the host stores in a plug-in's object for its own use. The plug-in calls none of it.
class I_ForeignPlugin : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kForeignPlugin;
    /// Called with the back reference when the object is destroyed. Must not throw.
    using Finalize = void (*)(void* inBackRef);

    virtual void* get_Xtra() const = 0;
    virtual void put_Xtra(void* inXtra) = 0;
    virtual void* get_BackRef() const = 0;
    virtual void put_BackRef(void* inBackRef) = 0;
    virtual void put_Finalize(Finalize inFinalize) = 0;
};

/// The host's implementation of I_ForeignPlugin, a base of every object of a plug-in. The reference counting
/// comes from the derived class. Takes no lock: the host serialises its own calls.
class ForeignPlugin_imp : public I_ForeignPlugin {
public:
    void* get_Xtra() const override;
    void put_Xtra(void* inXtra) override;
    void* get_BackRef() const override;
    void put_BackRef(void* inBackRef) override;
    void put_Finalize(Finalize inFinalize) override;

protected:
    ForeignPlugin_imp();
    /// Calls the finalizer, if there is one.
    ~ForeignPlugin_imp() override;

private:
    void* mXtra = nullptr;
    void* mBackRef = nullptr;
    Finalize mFinalize = nullptr;
};

} // namespace orkit
