/// @file
/// The loop over rows that all renderers share.
#pragma once

#include "shell/interrupts.h"
#include "shell/renderer.h"

namespace orsql {

/// Reads rows to their end, to a failure or to Ctrl-C, and hands each to `inOnRow`. A failure to read is
/// told; a failure to write goes to the caller.
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
            return end;
        }
        ++end.count;
        inOnRow(row);
    }
}

/// The text of a cell in the forms for people, which show what stands inside JSON's objects.
inline std::string_view CellText(const Cell& inCell, std::string_view inNullText) {
    return inCell.kind == Cell::Kind::Null ? inNullText : std::string_view(inCell.text);
}

/// What an answer that is a count reads like.
inline std::string ChangedText(std::int64_t inCount) {
    return std::to_string(inCount) + (inCount == 1 ? " row changed" : " rows changed");
}

/// NULL where nothing else was asked for.
inline constexpr std::string_view kNullText = "NULL";

} // namespace orsql
