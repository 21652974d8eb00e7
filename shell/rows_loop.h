/// @file
/// The loop over rows and the texts that all renderers share.
#pragma once

#include "shell/interrupts.h"
#include "shell/renderer.h"

namespace orlimbara::shell {

/// Reads rows up to the end, a failure or Ctrl-C, and passes each to `inOnRow`. A failure to read is
/// returned; exceptions of `inOnRow` pass through.
template <class OnRow>
RowsEnd ReadRows(RowSource& inRows, OnRow inOnRow) {
    RowsEnd end;
    Row row;
    for (;;) {
        if (IsInterrupted()) {
            end.isInterrupted = true;
            return end;
        }
        try {
            if (!inRows.Next(row)) {
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

/// The text of a cell in the forms for people, which show the inner value of JSON's objects.
inline std::string_view CellText(const Cell& inCell, std::string_view inNullText) {
    return inCell.kind == Cell::Kind::Null ? inNullText : std::string_view(inCell.text);
}

/// The text of an answer that is a count.
inline std::string ChangedText(std::int64_t inCount) {
    return std::to_string(inCount) + (inCount == 1 ? " row changed" : " rows changed");
}

/// The default text of NULL in the forms for people.
inline constexpr std::string_view kNullText = "NULL";

} // namespace orlimbara::shell
