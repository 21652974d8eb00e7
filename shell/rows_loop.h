/// @file
/// What renderers share: the loop over rows, and a base for the forms other than JSON.
#pragma once

#include "shell/interrupts.h"
#include "shell/output.h"
#include "shell/renderer.h"
#include "shell/row_source.h"
#include "shell/text.h"

namespace orlimbara::shell {

/// Reads rows until the end, a failure or Ctrl-C, and passes each to `inOnRow`. A failure to read is
/// returned; exceptions of `inOnRow` pass through.
/// @param inNext reads the next row and returns whether there was one.
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

/// The text of a cell for people: the inner value of JSON's objects, and a DECIMAL with its scale.
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

/// The default text of NULL for people.
inline constexpr std::string_view kNullText = "NULL";

/// Base of the forms other than JSON: writes everything but rows.
class TextRenderer : public Renderer {
public:
    TextRenderer(Output& inOutput, const RenderSettings& inSettings)
        : mOutput(inOutput), mSettings(inSettings) {}

    void WriteText(std::string_view inText) override {
        mOutput.Write(mSettings.isTerminal ? Harmless(inText) : std::string(inText));
        mOutput.Write("\n");
        mOutput.Flush();
    }
    void WriteChanged(std::int64_t inCount) override { WriteText(ChangedText(inCount)); }

protected:
    std::string_view NullText(std::string_view inDefault) const {
        return mSettings.nullText ? std::string_view(*mSettings.nullText) : inDefault;
    }

    Output& mOutput;
    const RenderSettings& mSettings;
};

} // namespace orlimbara::shell
