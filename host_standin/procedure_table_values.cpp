#include "host_standin/procedure_table_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <memory>
#include <stdexcept>

#include "host_standin/date_text.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/thread_objects.h"

namespace orkit::standin {

namespace {

// A date has 23 bits of year; the shift restores the sign.
constexpr unsigned kMonthShift = 5;
constexpr unsigned kYearShift = 9;
constexpr unsigned kSecondShift = 15;
constexpr unsigned kMinuteShift = 21;
constexpr unsigned kHourShift = 27;

template <typename Number>
std::string DigitsOf(Number inNumber) {
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), inNumber).ptr;
    return {text.data(), end};
}

/// The text of a value that isn't stored as bytes.
std::string MakeText(const orlimbara_host_value& inValue) {
    switch (inValue.mType) {
    case HOST_TYPE_BOOL:
        return inValue.mNumber != 0 ? "true" : "false";
    case HOST_TYPE_DATE:
        return FormatDate(UnpackDate(static_cast<std::uint32_t>(inValue.mNumber)));
    case HOST_TYPE_TIME:
        return FormatTime(UnpackTime(static_cast<std::uint32_t>(inValue.mNumber)));
    case HOST_TYPE_DATETIME: {
        const ProcedureDateTime parts = UnpackDateTime(inValue.mNumber);
        return FormatDateTime(parts.date, parts.time);
    }
    case HOST_TYPE_DOUBLE:
        return DigitsOf(std::bit_cast<double>(inValue.mNumber));
    case HOST_TYPE_UINT64:
        return DigitsOf(inValue.mNumber);
    default:
        return DigitsOf(static_cast<std::int64_t>(inValue.mNumber));
    }
}

bool HoldsBytes(std::int32_t inType) { return inType == HOST_TYPE_TEXT || inType == HOST_TYPE_BINARY; }

/// A value that the caller owns, in no context's ring.
host_value NewFreeValue(std::int32_t inType, std::uint64_t inNumber) {
    auto* value = new orlimbara_host_value;
    value->mType = inType;
    value->mNumber = inNumber;
    detail::Count(detail::Counted::ProcedureValues, +1);
    return value;
}

ProcedureValue FreeValue(std::int32_t inType, std::uint64_t inNumber) {
    return ProcedureValue::Adopt(NewFreeValue(inType, inNumber));
}

ProcedureValue FreeBytes(std::int32_t inType, std::string_view inBytes) {
    ProcedureValue value = FreeValue(inType, 0);
    value.get_Handle()->mBytes = inBytes;
    return value;
}

} // namespace

std::uint32_t PackDate(const ProcedureDate& inDate) {
    return inDate.mDay | inDate.mMonth << kMonthShift |
           static_cast<std::uint32_t>(inDate.mYear) << kYearShift;
}

std::uint32_t PackTime(const ProcedureTime& inTime) {
    return inTime.mMillisecond | inTime.mSecond << kSecondShift | inTime.mMinute << kMinuteShift |
           inTime.mHour << kHourShift;
}

std::uint64_t PackDateTime(const ProcedureDateTime& inDateTime) {
    return std::uint64_t{PackDate(inDateTime.date)} << 32 | PackTime(inDateTime.time);
}

ProcedureDate UnpackDate(std::uint32_t inPacked) {
    return {static_cast<std::int32_t>(inPacked) >> kYearShift, inPacked >> kMonthShift & 0xFU,
            inPacked & 0x1FU};
}

ProcedureTime UnpackTime(std::uint32_t inPacked) {
    return {inPacked >> kHourShift, inPacked >> kMinuteShift & 0x3FU, inPacked >> kSecondShift & 0x3FU,
            inPacked & 0x7FFFU};
}

ProcedureDateTime UnpackDateTime(std::uint64_t inPacked) {
    return {UnpackDate(static_cast<std::uint32_t>(inPacked >> 32)),
            UnpackTime(static_cast<std::uint32_t>(inPacked))};
}

void ReleaseProcedureValue(host_value inHandle) {
    detail::TakeValue(inHandle);
    if (inHandle != nullptr && --inHandle->mShares == 0) {
        delete inHandle;
        detail::Count(detail::Counted::ProcedureValues, -1);
    }
}

ProcedureValue::ProcedureValue(const ProcedureValue& inOther) : mHandle(inOther.mHandle) {
    if (mHandle != nullptr) {
        ++mHandle->mShares;
    }
}

ProcedureValue& ProcedureValue::operator=(ProcedureValue inOther) noexcept {
    std::swap(mHandle, inOther.mHandle);
    return *this;
}

ProcedureValue::~ProcedureValue() { ReleaseProcedureValue(mHandle); }

ProcedureValue ProcedureValue::Null() { return FreeValue(HOST_TYPE_NULL, 0); }
ProcedureValue ProcedureValue::Bool(bool inValue) { return FreeValue(HOST_TYPE_BOOL, inValue ? 1 : 0); }
ProcedureValue ProcedureValue::Int64(std::int64_t inValue) {
    return FreeValue(HOST_TYPE_INT64, static_cast<std::uint64_t>(inValue));
}
ProcedureValue ProcedureValue::UInt64(std::uint64_t inValue) { return FreeValue(HOST_TYPE_UINT64, inValue); }
ProcedureValue ProcedureValue::Double(double inValue) {
    return FreeValue(HOST_TYPE_DOUBLE, std::bit_cast<std::uint64_t>(inValue));
}
ProcedureValue ProcedureValue::Text(std::string_view inBytes) { return FreeBytes(HOST_TYPE_TEXT, inBytes); }
ProcedureValue ProcedureValue::Binary(std::string_view inBytes) {
    return FreeBytes(HOST_TYPE_BINARY, inBytes);
}
ProcedureValue ProcedureValue::Date(const ProcedureDate& inDate) {
    return FreeValue(HOST_TYPE_DATE, PackDate(inDate));
}
ProcedureValue ProcedureValue::Time(const ProcedureTime& inTime) {
    return FreeValue(HOST_TYPE_TIME, PackTime(inTime));
}
ProcedureValue ProcedureValue::DateTime(const ProcedureDateTime& inDateTime) {
    return FreeValue(HOST_TYPE_DATETIME, PackDateTime(inDateTime));
}
ProcedureValue ProcedureValue::Array(std::vector<ProcedureValue> inElements) {
    ProcedureValue value = FreeValue(HOST_TYPE_ARRAY, 0);
    value.mHandle->mElements = std::move(inElements);
    return value;
}

ProcedureValue ProcedureValue::Adopt(host_value inHandle) {
    detail::TakeValue(inHandle);
    return ProcedureValue(inHandle);
}

bool ProcedureValue::IsNull() const { return get_Type() == HOST_TYPE_NULL; }

std::int32_t ProcedureValue::get_Type() const { return mHandle == nullptr ? HOST_TYPE_NULL : mHandle->mType; }

namespace {

const orlimbara_host_value& OfType(host_value inHandle, std::initializer_list<std::int32_t> inTypes) {
    if (inHandle != nullptr) {
        for (const std::int32_t type : inTypes) {
            if (inHandle->mType == type) {
                return *inHandle;
            }
        }
    }
    throw std::logic_error("The host value is of another kind.");
}

} // namespace

bool ProcedureValue::get_Bool() const { return OfType(mHandle, {HOST_TYPE_BOOL}).mNumber != 0; }
std::int64_t ProcedureValue::get_Int64() const {
    return static_cast<std::int64_t>(OfType(mHandle, {HOST_TYPE_INT64}).mNumber);
}
std::uint64_t ProcedureValue::get_UInt64() const { return OfType(mHandle, {HOST_TYPE_UINT64}).mNumber; }
double ProcedureValue::get_Double() const {
    return std::bit_cast<double>(OfType(mHandle, {HOST_TYPE_DOUBLE}).mNumber);
}
std::string ProcedureValue::get_Bytes() const {
    return OfType(mHandle, {HOST_TYPE_TEXT, HOST_TYPE_BINARY}).mBytes;
}
ProcedureDate ProcedureValue::get_Date() const {
    return UnpackDate(static_cast<std::uint32_t>(OfType(mHandle, {HOST_TYPE_DATE}).mNumber));
}
ProcedureTime ProcedureValue::get_Time() const {
    return UnpackTime(static_cast<std::uint32_t>(OfType(mHandle, {HOST_TYPE_TIME}).mNumber));
}
ProcedureDateTime ProcedureValue::get_DateTime() const {
    return UnpackDateTime(OfType(mHandle, {HOST_TYPE_DATETIME}).mNumber);
}

std::string ProcedureValue::AsText() const {
    std::uint64_t length = 0;
    const char* text = mHandle == nullptr ? nullptr : detail::ValueText(nullptr, mHandle, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

bool operator==(const ProcedureValue& inLeft, const ProcedureValue& inRight) {
    if (inLeft.IsNull() || inRight.IsNull()) {
        return inLeft.IsNull() && inRight.IsNull();
    }
    const orlimbara_host_value& left = *inLeft.mHandle;
    const orlimbara_host_value& right = *inRight.mHandle;
    if (left.mType != right.mType || left.mNumber != right.mNumber) {
        return false;
    }
    return HoldsBytes(left.mType) ? left.mBytes == right.mBytes : left.mElements == right.mElements;
}

namespace detail {

host_value NewValue(call_context inContext, std::int32_t inType, std::uint64_t inNumber) noexcept {
    Require(inContext != nullptr, "values are made through a call context");
    if (TakeFault(Fault::NewProcedureValue)) {
        return nullptr;
    }
    host_value value = WithoutThrowing<host_value>(nullptr, [&] { return NewFreeValue(inType, inNumber); });
    if (value == nullptr) {
        return nullptr;
    }
    orlimbara_host_value& end = inContext->mUntaken;
    value->mNext = &end;
    value->mPrevious = end.mPrevious;
    end.mPrevious->mNext = value;
    end.mPrevious = value;
    return value;
}

void TakeValue(host_value inValue) noexcept {
    if (inValue != nullptr && inValue->mNext != nullptr) {
        inValue->mPrevious->mNext = inValue->mNext;
        inValue->mNext->mPrevious = inValue->mPrevious;
        inValue->mPrevious = inValue->mNext = nullptr;
    }
}

std::uint8_t ValueIsNull(host_value inValue) noexcept {
    Require(inValue != nullptr, "value_is_null needs a value");
    return inValue->mType == HOST_TYPE_NULL ? 1 : 0;
}

std::int32_t ValueType(host_value inValue) noexcept {
    Require(inValue != nullptr, "value_type needs a value");
    return inValue->mType;
}

std::int64_t ArraySize(host_value inValue) noexcept {
    Require(inValue != nullptr && inValue->mType == HOST_TYPE_ARRAY, "array_size needs an array");
    return static_cast<std::int64_t>(inValue->mElements.size());
}

host_value ArrayElement(host_value inValue, std::int64_t inIndex) noexcept {
    Require(inIndex >= 0 && inIndex < ArraySize(inValue), "array_element needs an index in range");
    return inValue->mElements[static_cast<std::size_t>(inIndex)].get_Handle();
}

std::int64_t ValueInt64(host_value inValue) noexcept {
    Require(inValue != nullptr && inValue->mType == HOST_TYPE_INT64, "value_int64 needs an int64");
    return static_cast<std::int64_t>(inValue->mNumber);
}

std::uint64_t ValueUInt64(host_value inValue) noexcept {
    Require(inValue != nullptr && inValue->mType == HOST_TYPE_UINT64, "value_uint64 needs a uint64");
    return inValue->mNumber;
}

namespace {

/// Of exactly the text's size, so that a read beyond it is detected.
struct TextBuffer {
    std::unique_ptr<char[]> mBytes;
    std::size_t mLength = 0;
};

} // namespace

void SpoilText() noexcept {
    auto& [bytes, length] = ThreadObject<TextBuffer>();
    std::fill_n(bytes.get(), std::exchange(length, 0), '\xDD');
}

const char* ValueText(call_context, host_value inValue, std::uint64_t* outLength) noexcept {
    Require(inValue != nullptr && outLength != nullptr, "value_text needs a value and a place");
    if (inValue->mType == HOST_TYPE_NULL || inValue->mType == HOST_TYPE_ARRAY) {
        return nullptr;
    }
    return WithoutThrowing<const char*>(nullptr, [&] {
        const std::string text = HoldsBytes(inValue->mType) ? inValue->mBytes : MakeText(*inValue);
        TextBuffer& buffer = ThreadObject<TextBuffer>();
        buffer.mBytes = std::make_unique<char[]>(text.size());
        buffer.mLength = text.size();
        std::copy(text.begin(), text.end(), buffer.mBytes.get());
        *outLength = text.size();
        return buffer.mBytes.get();
    });
}

} // namespace detail

} // namespace orkit::standin
