/// @file
/// Values and cursors as JSON texts.
///
/// | Value | JSON |
/// |---|---|
/// | null, a null pointer, an empty JSON value, a holder of nothing | null |
/// | Boolean | true, false |
/// | number | the number's text; "Infinity", "-Infinity" and "NaN" as strings |
/// | JSON value | its text, as it is |
/// | array | an array |
/// | holder | the inner value |
/// | binary | a string of two lower-case hexadecimal digits a byte |
/// | date, time, text, enum | a string of the value's text |
///
/// A cursor is an array of objects, a member a column under the column's name; columns of one name stand
/// there side by side.
#pragma once

#include "host/string.h"
#include "host/value.h"

namespace orkit::standin {

String ValueToJson(const orsql::I_Value& inValue);

} // namespace orkit::standin
