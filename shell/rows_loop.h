/// @file
/// The loop over rows and the texts that all renderers share.
#pragma once

#include "shell/interrupts.h"
#include "shell/renderer.h"
#include "shell/row_source.h"

namespace orlimbara::shell {

/// Reads rows up to the end, a failure or Ctrl-C, and passes each to `inOnRow`. A failure to read is
/// returned; exceptions of `inOnRow` pass through.
/// @param inNext reads the next row, and tells whether there was one.
template <class AnyRow, class Next, class OnRow>
RowsEnd ReadRows(RowSource& inRows, Next inNext, OnRow inOnRow) {
    RowsEnd end;
    AnyRow row;
    for (;;) {
        if (IsInterrupted()) {
            end.isInterrupted = true;
            return end;
        }
        try {
            if (!inNext(row)) {
                return end;
            }
        } catch (...) {
            end.failure = CurrentFailure();
            if (inRows.get_Origin()) {
                inRows.get_Origin()->Mark(*end.failure);
            }
            return end;
        }
        ++end.count;
        inOnRow(row);
    }
}

/// The same, with each row formatted.
template <class OnRow>
RowsEnd ReadRows(RowSource& inRows, OnRow inOnRow) {
    return ReadRows<Row>(
        inRows, [&inRows](Row& row) { return inRows.Next(row); }, inOnRow);
}

/// The text of a cell in the forms for people, which show the inner value of JSON's objects and a DECIMAL
/// with its scale.
inline std::string CellText(const Cell& inCell, const Column& inColumn, std::string_view inNullText) {
    if (inCell.kind == Cell::Kind::Null) {
        return std::string(inNullText);
    }
    return inColumn.decimal && inCell.kind == Cell::Kind::Number ? DecimalText(inCell.text, *inColumn.decimal)
                                                                 : inCell.text;
}

/// The text of an answer that is a count.
inline std::string ChangedText(std::int64_t inCount) {
    return std::to_string(inCount) + (inCount == 1 ? " row changed" : " rows changed");
}

/// The default text of NULL in the forms for people.
inline constexpr std::string_view kNullText = "NULL";

} // namespace orlimbara::shell
