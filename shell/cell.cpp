#include "shell/cell.h"

#include <array>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "host/procedure_api.h"
#include "shell/calendar.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using orkit::orsql::I_Value;
using orkit::standin::ProcedureValue;
namespace value_type = orkit::orsql::value_type;

void Set(Cell& outCell, Cell::Kind inKind, std::string_view inText) {
    outCell.kind = inKind;
    outCell.text = inText;
}

template <class Number>
void SetNumber(Cell& outCell, Number inNumber) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), inNumber).ptr;
    outCell.kind = Cell::Kind::Number;
    outCell.text.assign(digits.data(), end);
}

/// `Real` is float or double: each has its own shortest digits.
template <class Real>
void SetReal(Cell& outCell, Real inNumber) {
    if (!std::isfinite(inNumber)) {
        Set(outCell, Cell::Kind::Special,
            std::isnan(inNumber) ? "NaN"
            : inNumber > 0       ? "Infinity"
                                 : "-Infinity");
        return;
    }
    SetNumber(outCell, inNumber);
    if (outCell.text.find_first_of(".e") == std::string::npos) {
        outCell.text += ".0";
    }
}

void SetHex(Cell& outCell, std::string_view inBytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    outCell.kind = Cell::Kind::Binary;
    outCell.text.clear();
    outCell.text.reserve(inBytes.size() * 2);
    for (const char c : inBytes) {
        const auto byte = static_cast<unsigned char>(c);
        outCell.text += kDigits[byte >> 4];
        outCell.text += kDigits[byte & 0xF];
    }
}

void SetText(Cell& outCell, Cell::Kind inKind, const I_Value& inValue) {
    thread_local orkit::String text; // keeps its memory
    inValue.get_String(text, -1);
    outCell.kind = inKind;
    AssignUtf8(text, outCell.text);
}

/// The part of a value for an interface; the values' QueryInterface changes nothing, but isn't const.
template <class Aspect>
const Aspect* AspectOf(const I_Value& inValue) {
    return orkit::QueryAspect<Aspect>(const_cast<I_Value*>(&inValue));
}

void SetBinary(Cell& outCell, const I_Value& inValue) {
    const auto* const binary = AspectOf<orkit::orsql::I_ValueBinary>(inValue);
    std::string bytes(inValue.get_Length(), '\0');
    bytes.resize(binary->ReadBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    SetHex(outCell, bytes);
}

void SetDate(Cell& outCell, const I_Value& inValue) {
    CalendarDate date;
    AspectOf<orkit::orsql::I_ValueDate>(inValue)->get_Date(date.year, date.month, date.day);
    Set(outCell, Cell::Kind::Date, FormatDate(date));
}

void SetTime(Cell& outCell, const I_Value& inValue) {
    ClockTime time;
    AspectOf<orkit::orsql::I_ValueTime>(inValue)->get_Time(time.hour, time.minute, time.second,
                                                           time.millisecond);
    Set(outCell, Cell::Kind::Time, FormatTime(time));
}

void SetDateTime(Cell& outCell, const I_Value& inValue) {
    CalendarDate date;
    ClockTime time;
    AspectOf<orkit::orsql::I_ValueDateTime>(inValue)->get_DateTime(
        date.year, date.month, date.day, time.hour, time.minute, time.second, time.millisecond);
    Set(outCell, Cell::Kind::DateTime, FormatDateTime(date, time));
}

CalendarDate FromPacked(const orkit::standin::ProcedureDate& inDate) {
    return {inDate.mYear, static_cast<std::uint16_t>(inDate.mMonth), static_cast<std::uint16_t>(inDate.mDay)};
}

ClockTime FromPacked(const orkit::standin::ProcedureTime& inTime) {
    return {static_cast<std::uint16_t>(inTime.mHour), static_cast<std::uint16_t>(inTime.mMinute),
            static_cast<std::uint16_t>(inTime.mSecond), static_cast<std::uint16_t>(inTime.mMillisecond)};
}

} // namespace

std::string DecimalText(const std::string& inNumber, const DecimalType& inType) {
    double number = 0;
    std::from_chars(inNumber.data(), inNumber.data() + inNumber.size(), number);
    return inType.IsExact() ? fmt::format("{:.{}f}", number, inType.scale)
                            : fmt::format("{:.{}g}", number, DecimalType::kExactWidth);
}

void ReadCell(const I_Value& inValue, Cell& outCell) {
    if (inValue.get_IsNull()) {
        Set(outCell, Cell::Kind::Null, "");
        return;
    }
    switch (inValue.get_Type()) {
    case value_type::kBoolean:
        return Set(outCell, Cell::Kind::Boolean, inValue.get_Boolean() ? "true" : "false");
    case value_type::kByte:
    case value_type::kShort:
    case value_type::kUShort:
    case value_type::kMedium:
    case value_type::kUMedium:
    case value_type::kLong:
    case value_type::kULong:
    case value_type::kLLong:
        return SetNumber(outCell, inValue.get_LLong());
    case value_type::kULLong:
        return SetNumber(outCell, inValue.get_ULLong());
    case value_type::kFloat:
        return SetReal(outCell, inValue.get_Float());
    case value_type::kDouble:
    case value_type::kDecimal:
    case value_type::kNumeric:
        return SetReal(outCell, inValue.get_Double());
    case value_type::kDate:
        return SetDate(outCell, inValue);
    case value_type::kTime:
        return SetTime(outCell, inValue);
    case value_type::kDateTime:
        return SetDateTime(outCell, inValue);
    case value_type::kFixedBinary:
    case value_type::kVarBinary:
    case value_type::kLongBinary:
    case value_type::kExternalBinary:
        return SetBinary(outCell, inValue);
    case value_type::kJSON:
        return SetText(outCell, Cell::Kind::Json, inValue);
    case value_type::kHolder: {
        const auto inner = AspectOf<orkit::orsql::I_ValueHolder>(inValue)->get_Inner();
        return inner ? ReadCell(*inner, outCell) : Set(outCell, Cell::Kind::Null, "");
    }
    default:
        return SetText(outCell, Cell::Kind::Text, inValue);
    }
}

void ReadCell(const ProcedureValue& inValue, Cell& outCell) {
    if (inValue.IsNull()) {
        Set(outCell, Cell::Kind::Null, "");
        return;
    }
    switch (inValue.get_Type()) {
    case HOST_TYPE_BOOL:
        return Set(outCell, Cell::Kind::Boolean, inValue.get_Bool() ? "true" : "false");
    case HOST_TYPE_INT64:
        return SetNumber(outCell, inValue.get_Int64());
    case HOST_TYPE_UINT64:
        return SetNumber(outCell, inValue.get_UInt64());
    case HOST_TYPE_DOUBLE:
        return SetReal(outCell, inValue.get_Double());
    case HOST_TYPE_BINARY:
        return SetHex(outCell, inValue.get_Bytes());
    case HOST_TYPE_DATE:
        return Set(outCell, Cell::Kind::Date, FormatDate(FromPacked(inValue.get_Date())));
    case HOST_TYPE_TIME:
        return Set(outCell, Cell::Kind::Time, FormatTime(FromPacked(inValue.get_Time())));
    case HOST_TYPE_DATETIME: {
        const orkit::standin::ProcedureDateTime moment = inValue.get_DateTime();
        return Set(outCell, Cell::Kind::DateTime,
                   FormatDateTime(FromPacked(moment.date), FromPacked(moment.time)));
    }
    default:
        return Set(outCell, Cell::Kind::Text, ValidUtf8(inValue.AsText()));
    }
}

Cell TextCell(std::string_view inText) { return {Cell::Kind::Text, ValidUtf8(inText)}; }

Cell BooleanCell(bool inValue) { return {Cell::Kind::Boolean, inValue ? "true" : "false"}; }

Cell NumberCell(std::int64_t inNumber) {
    Cell cell;
    SetNumber(cell, inNumber);
    return cell;
}

Cell DoubleCell(double inNumber) {
    Cell cell;
    SetReal(cell, inNumber);
    return cell;
}

} // namespace orlimbara::shell
