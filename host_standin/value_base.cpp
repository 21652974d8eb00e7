#include "host/value.h"
#include "host_standin/live_objects.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace detail {

void GiveText(std::u16string_view inText, std::int32_t inMaxLength, String& outText) {
    if (inMaxLength >= 0) {
        inText = inText.substr(0, static_cast<std::size_t>(inMaxLength));
    }
    outText = ToString(inText);
}

void GiveText(std::string_view inAscii, std::int32_t inMaxLength, String& outText) {
    if (inMaxLength >= 0) {
        inAscii = inAscii.substr(0, static_cast<std::size_t>(inMaxLength));
    }
    outText = String(inAscii.data(), static_cast<std::ptrdiff_t>(inAscii.size()));
}

} // namespace detail

namespace {

[[noreturn]] void RefuseRead() { standin::ThrowValueError("this kind of value can't be read so"); }
[[noreturn]] void RefuseWrite() { standin::ThrowValueError("this kind of value can't be set so"); }
[[noreturn]] void RefuseLength() { standin::ThrowValueError("this kind of value has no length to set"); }

} // namespace

AspectHost_imp::AspectHost_imp(bool inIsNullable) noexcept : mIsNullable(inIsNullable) {
    standin::detail::Count(standin::detail::Counted::Values, +1);
}
AspectHost_imp::~AspectHost_imp() { standin::detail::Count(standin::detail::Counted::Values, -1); }

// A value without a reference belongs to its creator alone, and one with a single reference to its holder:
// then no other thread counts, and a plain write takes a fraction of the time of an atomic addition.
std::uint32_t AspectHost_imp::AddRef() {
    if (mRefCount.load(std::memory_order_relaxed) == 0) {
        mRefCount.store(1, std::memory_order_relaxed);
        return 1;
    }
    return mRefCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t AspectHost_imp::Release() {
    if (mRefCount.load(std::memory_order_acquire) == 1) {
        delete this;
        return 0;
    }
    const std::uint32_t left = mRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}

void* AspectHost_imp::QueryInterface(std::uint32_t) { return nullptr; }
std::uint32_t AspectHost_imp::get_RefsCount() const { return mRefCount.load(std::memory_order_relaxed); }

bool AspectHost_imp::get_IsNull() const { return mIsNull; }

void AspectHost_imp::put_IsNull(bool inIsNull) {
    if (inIsNull && !mIsNullable) {
        standin::ThrowValueError("this value can't be null");
    }
    mIsNull = inIsNull;
}

std::uint32_t AspectHost_imp::get_Length() const { RefuseLength(); }
void AspectHost_imp::put_Length(std::uint32_t) { RefuseLength(); }
std::uint32_t AspectHost_imp::get_MaxLength() const { RefuseLength(); }
void AspectHost_imp::put_MaxLength(std::uint32_t) { RefuseLength(); }
void AspectHost_imp::put_String(const String&) { RefuseWrite(); }
bool AspectHost_imp::get_Boolean() const { RefuseRead(); }
void AspectHost_imp::put_Boolean(bool) { RefuseWrite(); }
std::uint8_t AspectHost_imp::get_Byte() const { RefuseRead(); }
void AspectHost_imp::put_Byte(std::uint8_t) { RefuseWrite(); }
std::int16_t AspectHost_imp::get_Short() const { RefuseRead(); }
void AspectHost_imp::put_Short(std::int16_t) { RefuseWrite(); }
std::uint16_t AspectHost_imp::get_UShort() const { RefuseRead(); }
void AspectHost_imp::put_UShort(std::uint16_t) { RefuseWrite(); }
std::int32_t AspectHost_imp::get_Long() const { RefuseRead(); }
void AspectHost_imp::put_Long(std::int32_t) { RefuseWrite(); }
std::uint32_t AspectHost_imp::get_ULong() const { RefuseRead(); }
void AspectHost_imp::put_ULong(std::uint32_t) { RefuseWrite(); }
std::int64_t AspectHost_imp::get_LLong() const { RefuseRead(); }
void AspectHost_imp::put_LLong(std::int64_t) { RefuseWrite(); }
std::uint64_t AspectHost_imp::get_ULLong() const { RefuseRead(); }
void AspectHost_imp::put_ULLong(std::uint64_t) { RefuseWrite(); }
float AspectHost_imp::get_Float() const { RefuseRead(); }
void AspectHost_imp::put_Float(float) { RefuseWrite(); }
double AspectHost_imp::get_Double() const { RefuseRead(); }
void AspectHost_imp::put_Double(double) { RefuseWrite(); }

} // namespace orkit::orsql
