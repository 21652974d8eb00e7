/// @file
/// The host's value objects: the root interface, and the aspects that some kinds of value add to it.
#pragma once

#include <atomic>
#include <cstdint>

#include "host/arrays.h"
#include "host/string.h"
#include "host/unknown.h"

namespace orkit::orsql {

/// What `get_Type` returns. This numbering is the value object's own; the procedure table has another.
namespace value_type {
inline constexpr std::uint32_t kBoolean = 2;
inline constexpr std::uint32_t kByte = 3;   ///< unsigned 8-bit
inline constexpr std::uint32_t kShort = 4;  ///< signed 16-bit
inline constexpr std::uint32_t kUShort = 5; ///< unsigned 16-bit
inline constexpr std::uint32_t kMedium = 6; ///< signed 24-bit, read as 32-bit
inline constexpr std::uint32_t kUMedium = 7;
inline constexpr std::uint32_t kLong = 8; ///< signed 32-bit
inline constexpr std::uint32_t kULong = 9;
inline constexpr std::uint32_t kLLong = 10; ///< signed 64-bit
inline constexpr std::uint32_t kULLong = 11;
inline constexpr std::uint32_t kFloat = 12;
inline constexpr std::uint32_t kDouble = 13;
inline constexpr std::uint32_t kDecimal = 14; ///< read as a 64-bit float
inline constexpr std::uint32_t kNumeric = 15; ///< read as a 64-bit float
inline constexpr std::uint32_t kDate = 16;
inline constexpr std::uint32_t kTime = 17;
inline constexpr std::uint32_t kDateTime = 18;
inline constexpr std::uint32_t kString = 20;
inline constexpr std::uint32_t kFixedBinary = 21;
inline constexpr std::uint32_t kVarBinary = 22;
inline constexpr std::uint32_t kLongBinary = 23;
inline constexpr std::uint32_t kExternalBinary = 25;
inline constexpr std::uint32_t kEnum = 33;
inline constexpr std::uint32_t kEnumSet = 34;
inline constexpr std::uint32_t kHolder = 38;
inline constexpr std::uint32_t kArray = 39;
inline constexpr std::uint32_t kJSON = 40;
} // namespace value_type

/// One value of the host's SQL. Reading with another width than the value's own converts: numbers are
/// truncated as in C++, a text gives the number that it begins with, a null value gives 0, false or the empty
/// text. An operation that a kind of value doesn't have throws xException.
class I_Value : public I_Unknown {
public:
    virtual bool get_IsNull() const = 0;
    /// True makes the value null, which throws if it isn't nullable. Setting any content makes it not null.
    virtual void put_IsNull(bool inIsNull) = 0;
    /// One of `value_type`.
    virtual std::uint32_t get_Type() const = 0;

    /// Length of the content in bytes: of a binary value its bytes, of a text twice its UTF-16 code units.
    virtual std::uint32_t get_Length() const = 0;
    /// Sets the length of a binary value, at most its capacity; new bytes are zero.
    virtual void put_Length(std::uint32_t inLength) = 0;
    /// The capacity of the value in bytes; of a text, including a terminator of two bytes.
    virtual std::uint32_t get_MaxLength() const = 0;
    virtual void put_MaxLength(std::uint32_t inMaxLength) = 0;

    /// The value as text. @param inMaxLength in UTF-16 code units; -1 means no limit.
    virtual void get_String(String& outText, std::int32_t inMaxLength) const = 0;
    /// Sets the text of a string or JSON value. Throws if a string doesn't fit the capacity, and if the text
    /// for a JSON value isn't JSON.
    virtual void put_String(const String& inText) = 0;

    virtual bool get_Boolean() const = 0;
    virtual void put_Boolean(bool inValue) = 0;
    virtual std::uint8_t get_Byte() const = 0;
    virtual void put_Byte(std::uint8_t inValue) = 0;
    virtual std::int16_t get_Short() const = 0;
    virtual void put_Short(std::int16_t inValue) = 0;
    virtual std::uint16_t get_UShort() const = 0;
    virtual void put_UShort(std::uint16_t inValue) = 0;
    virtual std::int32_t get_Long() const = 0;
    virtual void put_Long(std::int32_t inValue) = 0;
    virtual std::uint32_t get_ULong() const = 0;
    virtual void put_ULong(std::uint32_t inValue) = 0;
    virtual std::int64_t get_LLong() const = 0;
    virtual void put_LLong(std::int64_t inValue) = 0;
    virtual std::uint64_t get_ULLong() const = 0;
    virtual void put_ULLong(std::uint64_t inValue) = 0;
    virtual float get_Float() const = 0;
    virtual void put_Float(float inValue) = 0;
    virtual double get_Double() const = 0;
    virtual void put_Double(double inValue) = 0;
};

/// Arrays of values: the parameters of a statement, or one row of a client cursor.
using ValueArray = ArrayOfSmartPtrs<I_Value>;
/// Several such rows.
using RowArray = ArrayOfSmartPtrs<ValueArray>;

/// The bytes of a binary value.
class I_ValueBinary {
public:
    static constexpr std::uint32_t kInterfaceId = 2202;
    virtual ~I_ValueBinary() = default;
    /// Copies at most `inLength` bytes. @return how many.
    virtual std::uint32_t ReadBytes(void* outBuffer, std::uint32_t inLength) const = 0;
    /// Copies the bytes to the start of the value; throws if there are more than the value's length.
    virtual void WriteBytes(const void* inData, std::uint32_t inLength) = 0;
};

/// A calendar date, proleptic Gregorian; year 0 is 1 BC.
class I_ValueDate {
public:
    static constexpr std::uint32_t kInterfaceId = 2203;
    virtual ~I_ValueDate() = default;
    virtual void get_Date(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay) const = 0;
    virtual void put_Date(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) = 0;
};

/// A date with a time of day, to the millisecond, in no time zone.
class I_ValueDateTime {
public:
    static constexpr std::uint32_t kInterfaceId = 2204;
    virtual ~I_ValueDateTime() = default;
    virtual void get_DateTime(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay,
                              std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                              std::uint16_t& outMillisecond) const = 0;
    virtual void put_DateTime(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay,
                              std::uint16_t inHour, std::uint16_t inMinute, std::uint16_t inSecond,
                              std::uint16_t inMillisecond) = 0;
};

/// A time of day, to the millisecond.
class I_ValueTime {
public:
    static constexpr std::uint32_t kInterfaceId = 2205;
    virtual ~I_ValueTime() = default;
    virtual void get_Time(std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                          std::uint16_t& outMillisecond) const = 0;
    virtual void put_Time(std::uint16_t inHour, std::uint16_t inMinute, std::uint16_t inSecond,
                          std::uint16_t inMillisecond) = 0;
};

/// A value that holds one other value, or none.
class I_ValueHolder {
public:
    static constexpr std::uint32_t kInterfaceId = 2211;
    virtual ~I_ValueHolder() = default;
    virtual smart_ptr<I_Value> get_Inner() const = 0;
    virtual void put_Inner(smart_ptr<I_Value> inValue) = 0;
};

/// An array of values of one type; the items are numbered from 1.
class I_ValueArray {
public:
    static constexpr std::uint32_t kInterfaceId = 2212;
    virtual ~I_ValueArray() = default;
    /// One of `value_type`; given when the array was made.
    virtual std::uint32_t get_ItemType() const = 0;
    virtual std::uint32_t get_Count() const = 0;
    /// @param inIndex from 1. @return the item, may be null; out of range gives null.
    virtual smart_ptr<I_Value> get_Item(std::uint32_t inIndex) const = 0;
    virtual void AppendItem(smart_ptr<I_Value> inValue) = 0;
};

/// A value that is a JSON object. Other JSON values don't have this aspect.
class I_ValueJSON {
public:
    static constexpr std::uint32_t kInterfaceId = 2213;
    virtual ~I_ValueJSON() = default;
    /// The member with exactly this name as a value of its own: a string gives its decoded text, a boolean a
    /// Boolean, a number a value whose text is the number as written in the JSON text, null a null value,
    /// objects and arrays a JSON value. @return null if there is no such member.
    virtual smart_ptr<I_Value> get_Member(const String& inName) const = 0;
};

/// The host's base of value classes: reference counting, the null flag, and a refusal of every operation that
/// a kind of value doesn't support. A value class overrides what it supports, and QueryInterface for its
/// aspects.
class AspectHost_imp : public I_Value, noncopyable {
public:
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    /// Null for every id; a class with an aspect overrides it.
    void* QueryInterface(std::uint32_t inInterfaceId) override;
    std::uint32_t get_RefsCount() const override;

    bool get_IsNull() const override;
    void put_IsNull(bool inIsNull) override;
    std::uint32_t get_Length() const override;
    void put_Length(std::uint32_t inLength) override;
    std::uint32_t get_MaxLength() const override;
    void put_MaxLength(std::uint32_t inMaxLength) override;
    void put_String(const String& inText) override;
    bool get_Boolean() const override;
    void put_Boolean(bool inValue) override;
    std::uint8_t get_Byte() const override;
    void put_Byte(std::uint8_t inValue) override;
    std::int16_t get_Short() const override;
    void put_Short(std::int16_t inValue) override;
    std::uint16_t get_UShort() const override;
    void put_UShort(std::uint16_t inValue) override;
    std::int32_t get_Long() const override;
    void put_Long(std::int32_t inValue) override;
    std::uint32_t get_ULong() const override;
    void put_ULong(std::uint32_t inValue) override;
    std::int64_t get_LLong() const override;
    void put_LLong(std::int64_t inValue) override;
    std::uint64_t get_ULLong() const override;
    void put_ULLong(std::uint64_t inValue) override;
    float get_Float() const override;
    void put_Float(float inValue) override;
    double get_Double() const override;
    void put_Double(double inValue) override;

protected:
    explicit AspectHost_imp(bool inIsNullable) noexcept;
    ~AspectHost_imp() override;
    /// For the setters: the value has content now.
    void SetNotNull() noexcept { mIsNull = false; }

private:
    std::atomic<std::uint32_t> mRefCount{0};
    const bool mIsNullable;
    bool mIsNull = false;
};

/// Factories of values. A new value has no reference yet; the smart_ptr that receives it adds the first.
/// @param inIsNullable whether `put_IsNull(true)` is allowed.
/// @param inTypeParameter what the kind of value needs, described at its factory; null if it needs nothing.
/// @param inReserved null.
/// New values hold 0, false, the empty text or no bytes, and aren't null. They throw std::bad_alloc when
/// memory runs out.
/// @{
I_Value* CreateValueBoolean(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueByte(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueShort(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueUShort(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueLong(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueULong(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueLLong(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueULLong(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueFloat(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueDouble(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// A text. Its capacity is 0 until put_MaxLength.
I_Value* CreateValueString(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// A JSON value; its capacity is unlimited.
I_Value* CreateValueJSON(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// Bytes. @param inTypeParameter points to the length, a std::uint32_t in bytes; null means 0.
I_Value* CreateValueFixedBinary(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueDate(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueTime(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueDateTime(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// An enum value, which can only be read as text. @param inTypeParameter points to its text, a String.
I_Value* CreateValueEnum(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
I_Value* CreateValueHolder(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// An array. @param inTypeParameter points to the type of its items, a std::uint32_t of `value_type`.
I_Value* CreateValueArray(bool inIsNullable, const void* inTypeParameter, const void* inReserved);
/// @}

} // namespace orkit::orsql
