#include "shell/renderers.h"

#include <algorithm>

#include "shell/rows_loop.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// For other programs, so it writes only rows, no counts.
class CsvRenderer final : public TextRenderer {
public:
    using TextRenderer::TextRenderer;

    void WriteChanged(std::int64_t) override {}

    RowsEnd WriteRows(RowSource& inRows) override {
        const std::string_view nullText = NullText("");
        if (mSettings.hasHeader) {
            for (const Column& column : inRows.get_Columns()) {
                PutField(&column == inRows.get_Columns().data(), column.name, "");
            }
            mOutput.Write("\n");
        }
        RowsEnd end = ReadRows(inRows, [&](const Row& row) {
            for (const Cell& cell : row) {
                if (cell.kind == Cell::Kind::Null) {
                    PutSeparator(&cell == row.data());
                    PutPlainOrQuoted(nullText, false);
                } else if (cell.IsBare() && cell.text != nullText) {
                    PutSeparator(&cell == row.data());
                    mOutput.Put(cell.text);
                } else {
                    PutField(&cell == row.data(), cell.text, nullText);
                }
            }
            mOutput.Write("\n");
        });
        mOutput.Flush();
        return end;
    }

private:
    void PutSeparator(bool inIsFirst) {
        if (!inIsFirst) {
            mOutput.Put(',');
        }
    }

    /// A text that looks like NULL is quoted, so that readers can tell them apart.
    void PutField(bool inIsFirst, std::string_view inText, std::string_view inNullText) {
        PutSeparator(inIsFirst);
        PutPlainOrQuoted(inText, inText == inNullText);
    }

    void PutPlainOrQuoted(std::string_view inText, bool inIsQuoted) {
        if (mSettings.isTerminal) {
            PutBytes(Harmless(inText), inIsQuoted);
        } else {
            PutBytes(inText, inIsQuoted);
        }
    }

    void PutBytes(std::string_view inText, bool inIsQuoted) {
        const auto hasSpecial = [](Bytes8 bytes) {
            return bytes.Has(',') || bytes.Has('"') || bytes.Has('\r') || bytes.Has('\n');
        };
        if (!inIsQuoted && !HasAny(inText, hasSpecial)) {
            mOutput.Put(inText);
            return;
        }
        mOutput.Put('"');
        for (const char c : inText) {
            if (c == '"') {
                mOutput.Put('"');
            }
            mOutput.Put(c);
        }
        mOutput.Put('"');
    }
};

/// One line per cell, with an empty line between rows.
class LineRenderer final : public TextRenderer {
public:
    using TextRenderer::TextRenderer;

    RowsEnd WriteRows(RowSource& inRows) override {
        std::size_t width = 0;
        for (const Column& column : inRows.get_Columns()) {
            width = std::max(width, DisplayWidth(OneLine(column.name)));
        }
        std::vector<std::string> heads;
        for (const Column& column : inRows.get_Columns()) {
            const std::string name = OneLine(column.name);
            heads.push_back(std::string(width - DisplayWidth(name), ' ') + name + " = ");
        }
        const std::string_view nullText = NullText(kNullText);
        bool isFirst = true;
        RowsEnd end = ReadRows(inRows, [&](const Row& row) {
            mOutput.Write(isFirst ? "" : "\n");
            isFirst = false;
            for (std::size_t i = 0; i < row.size(); ++i) {
                mOutput.Write(heads[i]);
                mOutput.Write(Harmless(CellText(row[i], inRows.get_Columns()[i], nullText)));
                mOutput.Write("\n");
            }
        });
        mOutput.Flush();
        return end;
    }
};

class MarkdownRenderer final : public TextRenderer {
public:
    using TextRenderer::TextRenderer;

    RowsEnd WriteRows(RowSource& inRows) override {
        for (const Column& column : inRows.get_Columns()) {
            PutField(column.name);
        }
        mOutput.Write("|\n");
        for (const Column& column : inRows.get_Columns()) {
            mOutput.Write(column.isNumber ? "|---:" : "|---");
        }
        mOutput.Write("|\n");
        const std::string_view nullText = NullText(kNullText);
        RowsEnd end = ReadRows(inRows, [&](const Row& row) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                PutField(CellText(row[i], inRows.get_Columns()[i], nullText));
            }
            mOutput.Write("|\n");
        });
        mOutput.Flush();
        return end;
    }

private:
    void PutField(std::string_view inText) {
        mOutput.Write("| ");
        for (const char c : Harmless(inText)) {
            if (c == '\n') {
                mOutput.Write("<br>");
            } else {
                mOutput.Write(c == '|' ? "\\|" : std::string_view(&c, 1));
            }
        }
        mOutput.Put(' ');
    }
};

} // namespace

std::unique_ptr<Renderer> MakeCsvRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<CsvRenderer>(inOutput, inSettings);
}

std::unique_ptr<Renderer> MakeLineRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<LineRenderer>(inOutput, inSettings);
}

std::unique_ptr<Renderer> MakeMarkdownRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<MarkdownRenderer>(inOutput, inSettings);
}

} // namespace orlimbara::shell
