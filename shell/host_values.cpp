#include "shell/host_values.h"

#include <utility>

#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using orkit::QueryAspect;
using orkit::smart_ptr;
using orkit::orsql::I_Value;
using orkit::standin::ProcedureValue;
using Kind = Literal::Kind;
namespace value_type = orkit::orsql::value_type;

smart_ptr<I_Value> MakeBinaryValue(const std::string& inBytes) {
    const auto length = static_cast<std::uint32_t>(inBytes.size());
    smart_ptr<I_Value> value = orkit::orsql::CreateValueFixedBinary(false, &length, nullptr);
    if (length > 0) {
        value->put_MaxLength(length);
        value->put_Length(length);
        QueryAspect<orkit::orsql::I_ValueBinary>(value.get())->WriteBytes(inBytes.data(), length);
    }
    return value;
}

std::uint32_t ItemType(Kind inKind) {
    switch (inKind) {
    case Kind::Boolean:
        return value_type::kBoolean;
    case Kind::Long:
        return value_type::kLong;
    case Kind::LLong:
        return value_type::kLLong;
    case Kind::ULLong:
        return value_type::kULLong;
    case Kind::Double:
        return value_type::kDouble;
    case Kind::Binary:
        return value_type::kFixedBinary;
    case Kind::Date:
        return value_type::kDate;
    case Kind::Time:
        return value_type::kTime;
    case Kind::DateTime:
        return value_type::kDateTime;
    case Kind::Json:
        return value_type::kJSON;
    case Kind::Array:
        return value_type::kArray;
    case Kind::Null:
    case Kind::Text:
        break;
    }
    return value_type::kString;
}

smart_ptr<I_Value> MakeArrayValue(const Literal& inLiteral) {
    const std::uint32_t itemType = ItemType(inLiteral.itemKind);
    smart_ptr<I_Value> value = orkit::orsql::CreateValueArray(false, &itemType, nullptr);
    auto* const array = QueryAspect<orkit::orsql::I_ValueArray>(value.get());
    for (const Literal& item : inLiteral.items) {
        array->AppendItem(MakeHostValue(item));
    }
    return value;
}

/// A new value, set through its own setter.
template <class Setter, class Content>
smart_ptr<I_Value> Filled(I_Value* inValue, Setter inSetter, Content inContent) {
    smart_ptr<I_Value> value = inValue;
    (value.get()->*inSetter)(inContent);
    return value;
}

orkit::standin::ProcedureDate PackableDate(const CalendarDate& inDate) {
    constexpr std::int32_t kYears = 1 << 22; // 23 bits with a sign
    if (inDate.year < -kYears || inDate.year >= kYears) {
        throw ShellError("a procedure's date has no room for the year of " + FormatDate(inDate));
    }
    return {inDate.year, inDate.month, inDate.day};
}

orkit::standin::ProcedureTime PackableTime(const ClockTime& inTime) {
    return {inTime.hour, inTime.minute, inTime.second, inTime.millisecond};
}

} // namespace

smart_ptr<I_Value> MakeTextValue(const orkit::String& inText) {
    smart_ptr<I_Value> value = orkit::orsql::CreateValueString(false, nullptr, nullptr);
    value->put_MaxLength(static_cast<std::uint32_t>(inText.get_Length() * 2 + 2));
    value->put_String(inText);
    return value;
}

smart_ptr<I_Value> MakeNullValue() {
    smart_ptr<I_Value> value = orkit::orsql::CreateValueBoolean(true, nullptr, nullptr);
    value->put_IsNull(true);
    return value;
}

smart_ptr<I_Value> MakeHostValue(const Literal& inLiteral) {
    using namespace orkit::orsql;
    switch (inLiteral.kind) {
    case Kind::Null:
        return MakeNullValue();
    case Kind::Boolean:
        return Filled(CreateValueBoolean(false, nullptr, nullptr), &I_Value::put_Boolean, inLiteral.boolean);
    case Kind::Long:
        return Filled(CreateValueLong(false, nullptr, nullptr), &I_Value::put_Long,
                      static_cast<std::int32_t>(inLiteral.number));
    case Kind::LLong:
        return Filled(CreateValueLLong(false, nullptr, nullptr), &I_Value::put_LLong, inLiteral.number);
    case Kind::ULLong:
        return Filled(CreateValueULLong(false, nullptr, nullptr), &I_Value::put_ULLong,
                      inLiteral.unsignedNumber);
    case Kind::Double:
        return Filled(CreateValueDouble(false, nullptr, nullptr), &I_Value::put_Double, inLiteral.real);
    case Kind::Text:
        return MakeTextValue(ToHost(inLiteral.text));
    case Kind::Binary:
        return MakeBinaryValue(inLiteral.text);
    case Kind::Json:
        return Filled(CreateValueJSON(false, nullptr, nullptr), &I_Value::put_String, ToHost(inLiteral.text));
    case Kind::Array:
        return MakeArrayValue(inLiteral);
    case Kind::Date: {
        smart_ptr<I_Value> value = CreateValueDate(false, nullptr, nullptr);
        const CalendarDate& date = inLiteral.date;
        QueryAspect<I_ValueDate>(value.get())->put_Date(date.year, date.month, date.day);
        return value;
    }
    case Kind::Time: {
        smart_ptr<I_Value> value = CreateValueTime(false, nullptr, nullptr);
        const ClockTime& time = inLiteral.time;
        QueryAspect<I_ValueTime>(value.get())
            ->put_Time(time.hour, time.minute, time.second, time.millisecond);
        return value;
    }
    case Kind::DateTime: {
        smart_ptr<I_Value> value = CreateValueDateTime(false, nullptr, nullptr);
        const CalendarDate& date = inLiteral.date;
        const ClockTime& time = inLiteral.time;
        QueryAspect<I_ValueDateTime>(value.get())
            ->put_DateTime(date.year, date.month, date.day, time.hour, time.minute, time.second,
                           time.millisecond);
        return value;
    }
    }
    return MakeNullValue();
}

ProcedureValue MakeProcedureValue(const Literal& inLiteral) {
    switch (inLiteral.kind) {
    case Kind::Null:
        return ProcedureValue::Null();
    case Kind::Boolean:
        return ProcedureValue::Bool(inLiteral.boolean);
    case Kind::Long:
    case Kind::LLong:
        return ProcedureValue::Int64(inLiteral.number);
    case Kind::ULLong:
        return ProcedureValue::UInt64(inLiteral.unsignedNumber);
    case Kind::Double:
        return ProcedureValue::Double(inLiteral.real);
    case Kind::Text:
    case Kind::Json:
        return ProcedureValue::Text(inLiteral.text);
    case Kind::Binary:
        return ProcedureValue::Binary(inLiteral.text);
    case Kind::Date:
        return ProcedureValue::Date(PackableDate(inLiteral.date));
    case Kind::Time:
        return ProcedureValue::Time(PackableTime(inLiteral.time));
    case Kind::DateTime:
        return ProcedureValue::DateTime({PackableDate(inLiteral.date), PackableTime(inLiteral.time)});
    case Kind::Array: {
        std::vector<ProcedureValue> items;
        for (const Literal& item : inLiteral.items) {
            items.push_back(MakeProcedureValue(item));
        }
        return ProcedureValue::Array(std::move(items));
    }
    }
    return {};
}

} // namespace orlimbara::shell
