/// @file
/// One cell of a result as the shell writes it, from a query, a procedure or the shell itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/value.h"
#include "host_standin/procedure_table.h"

namespace orlimbara::shell {

struct Cell {
    enum class Kind {
        Null,
        Boolean, ///< "true", "false"
        Number,  ///< a number as JSON writes it
        Special, ///< a double without a JSON form: "NaN", "Infinity", "-Infinity"
        Text,
        Binary, ///< hexadecimal, upper case
        Date,
        Time,
        DateTime,
        Json, ///< the text of a JSON value
    };
    Kind kind = Kind::Null;
    std::string text; ///< UTF-8; empty for NULL

    bool operator==(const Cell&) const = default;
    /// Whether its text is of letters, digits and signs alone, which no form of output quotes or escapes.
    bool IsBare() const { return kind != Kind::Text && kind != Kind::Json; }
    bool IsNumber() const { return kind == Kind::Number || kind == Kind::Special; }
};

using Row = std::vector<Cell>;

/// Width and scale of a DECIMAL column.
struct DecimalType {
    int width = 0;
    int scale = 0;
    /// A double holds every number of at most this many digits exactly.
    static constexpr int kExactWidth = 15;
    bool IsExact() const { return width <= kExactWidth; }
};

/// The text of a DECIMAL's double for people: with the scale if a double holds it exactly, else 15 digits.
/// @param inNumber a cell's text.
std::string DecimalText(const std::string& inNumber, const DecimalType& inType);

/// Reads a host value. Exceptions of the value pass through.
void ReadCell(const orkit::orsql::I_Value& inValue, Cell& outCell);
/// Reads a procedure's value; a missing one is NULL.
void ReadCell(const orkit::standin::ProcedureValue& inValue, Cell& outCell);

Cell TextCell(std::string_view inText);
Cell BooleanCell(bool inValue);
Cell NumberCell(std::int64_t inNumber);
/// The shortest digits that read back as the same double, with a point or an exponent.
Cell DoubleCell(double inNumber);

} // namespace orlimbara::shell
