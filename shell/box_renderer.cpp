#include "shell/renderers.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "shell/rows_loop.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

constexpr std::size_t kNarrowest = 4;

/// The rows that a box shows: the first ones, and the last ones of more.
class ShownRows {
public:
    explicit ShownRows(std::uint64_t inMaxRows) : mMaxRows(inMaxRows), mHeadRows(inMaxRows - inMaxRows / 2) {}

    /// Keeps a row; `ioRow` gets another one to fill.
    void Add(Row& ioRow) {
        const std::uint64_t tailRows = mMaxRows - mHeadRows;
        if (mMaxRows == 0 || mHead.size() < mHeadRows) {
            mHead.push_back(std::exchange(ioRow, Row()));
        } else if (mTail.size() < tailRows) {
            mTail.push_back(std::exchange(ioRow, Row()));
        } else {
            mIsCut = true;
            if (tailRows > 0) {
                std::swap(mTail.front(), ioRow);
                mTail.push_back(std::move(mTail.front()));
                mTail.pop_front();
            }
        }
    }
    template <class Change>
    void ForEach(Change inChange) {
        std::for_each(mHead.begin(), mHead.end(), inChange);
        std::for_each(mTail.begin(), mTail.end(), inChange);
    }
    const std::vector<Row>& get_Head() const { return mHead; }
    const std::deque<Row>& get_Tail() const { return mTail; }
    /// Whether rows between head and tail are left out.
    bool IsCut() const { return mIsCut; }

private:
    std::uint64_t mMaxRows;
    std::uint64_t mHeadRows;
    std::vector<Row> mHead;
    std::deque<Row> mTail;
    bool mIsCut = false;
};

/// The lines of a cell without control characters; a final line feed begins no new line.
std::vector<std::string> LinesOf(std::string_view inText) {
    std::vector<std::string> lines;
    do {
        const std::size_t end = std::min(inText.find('\n'), inText.size());
        lines.push_back(OneLine(inText.substr(0, end)));
        inText.remove_prefix(std::min(end + 1, inText.size()));
    } while (!inText.empty());
    return lines;
}

class BoxRenderer final : public Renderer {
public:
    BoxRenderer(Output& inOutput, const RenderSettings& inSettings)
        : mOutput(inOutput), mSettings(inSettings) {}

    RowsEnd WriteRows(RowSource& inRows) override {
        ShownRows shown(mSettings.maxRows);
        RowsEnd end = ReadRows(inRows, [&shown](Row& row) { shown.Add(row); });
        if (!inRows.get_Columns().empty() && !end.isInterrupted) {
            Draw(inRows.get_Columns(), shown, end.count);
        }
        mOutput.Flush();
        return end;
    }

    void WriteText(std::string_view inText) override {
        mOutput.Write(inText);
        mOutput.Write("\n");
        mOutput.Flush();
    }

    void WriteChanged(std::int64_t inCount) override { WriteText(ChangedText(inCount)); }

private:
    std::string_view NullText() const {
        return mSettings.nullText ? std::string_view(*mSettings.nullText) : kNullText;
    }

    void Draw(const std::vector<Column>& inColumns, ShownRows& ioShown, std::uint64_t inCount) {
        MeasureColumns(inColumns, ioShown);
        const std::string between = fmt::format("… {} rows, {} shown …", inCount,
                                                ioShown.get_Head().size() + ioShown.get_Tail().size());
        if (ioShown.IsCut()) {
            const std::size_t inner = InnerWidth();
            const std::size_t needed = DisplayWidth(between) + 2;
            mWidths.back() += needed > inner ? needed - inner : 0;
        }
        DrawLine("┌", "┬", "┐");
        if (mSettings.hasHeader) {
            DrawHeader(inColumns);
            DrawLine("├", "┼", "┤");
        }
        DrawRows(inColumns, ioShown.get_Head());
        if (ioShown.IsCut()) {
            DrawLine("├", "┴", "┤");
            mOutput.Write("│ " + between + std::string(InnerWidth() - 1 - DisplayWidth(between), ' ') +
                          "│\n");
            DrawLine("├", "┬", "┤");
        }
        DrawRows(inColumns, ioShown.get_Tail());
        DrawLine("└", "┴", "┘");
    }

    void MeasureColumns(const std::vector<Column>& inColumns, ShownRows& ioShown) {
        mWidths.assign(inColumns.size(), 1);
        for (std::size_t i = 0; i < inColumns.size() && mSettings.hasHeader; ++i) {
            mWidths[i] = std::max(mWidths[i], DisplayWidth(OneLine(inColumns[i].name)));
        }
        ioShown.ForEach([this](const Row& row) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                for (const std::string& line : LinesOf(CellText(row[i], NullText()))) {
                    mWidths[i] = std::max(mWidths[i], DisplayWidth(line));
                }
            }
        });
        FitColumns(mWidths, mSettings.width);
    }

    /// Everything between the outer lines.
    std::size_t InnerWidth() const {
        return std::accumulate(mWidths.begin(), mWidths.end(), mWidths.size() * 3 - 1);
    }

    void DrawLine(std::string_view inLeft, std::string_view inMiddle, std::string_view inRight) {
        std::string line(inLeft);
        for (std::size_t i = 0; i < mWidths.size(); ++i) {
            line += i == 0 ? "" : inMiddle;
            for (std::size_t j = 0; j < mWidths[i] + 2; ++j) {
                line += "─";
            }
        }
        line += inRight;
        mOutput.Write(line + "\n");
    }

    void DrawHeader(const std::vector<Column>& inColumns) {
        for (std::size_t i = 0; i < inColumns.size(); ++i) {
            DrawCell(i, OneLine(inColumns[i].name), inColumns[i].isNumber, "\x1b[1m");
        }
        mOutput.Write("│\n");
    }

    /// Stops at Ctrl-C.
    template <class Rows>
    void DrawRows(const std::vector<Column>& inColumns, const Rows& inRows) {
        for (const Row& row : inRows) {
            if (IsInterrupted()) {
                return;
            }
            DrawRow(inColumns, row);
        }
    }

    void DrawRow(const std::vector<Column>& inColumns, const Row& inRow) {
        std::vector<std::vector<std::string>> cells;
        std::size_t height = 1;
        for (const Cell& cell : inRow) {
            cells.push_back(LinesOf(CellText(cell, NullText())));
            height = std::max(height, cells.back().size());
        }
        for (std::size_t line = 0; line < height; ++line) {
            for (std::size_t i = 0; i < cells.size(); ++i) {
                const bool isNull = inRow[i].kind == Cell::Kind::Null;
                DrawCell(i, line < cells[i].size() ? cells[i][line] : "", inColumns[i].isNumber,
                         isNull ? "\x1b[2m" : "");
            }
            mOutput.Write("│\n");
        }
    }

    void DrawCell(std::size_t inColumn, std::string_view inText, bool inIsRight, std::string_view inColor) {
        const std::string text = CutToWidth(inText, mWidths[inColumn]);
        const std::string room(mWidths[inColumn] - DisplayWidth(text), ' ');
        const bool isColored = mSettings.hasColor && !inColor.empty();
        mOutput.Write("│ ");
        mOutput.Write(inIsRight ? room : "");
        mOutput.Write(isColored ? inColor : "");
        mOutput.Write(text);
        mOutput.Write(isColored ? "\x1b[0m" : "");
        mOutput.Write(inIsRight ? "" : room);
        mOutput.Put(' ');
    }

    Output& mOutput;
    const RenderSettings& mSettings;
    std::vector<std::size_t> mWidths;
};

} // namespace

void FitColumns(std::vector<std::size_t>& ioWidths, std::size_t inTotal) {
    const std::size_t lines = ioWidths.size() * 3 + 1;
    if (inTotal == 0 || ioWidths.empty()) {
        return;
    }
    const auto widthAt = [&](std::size_t cap) {
        return std::accumulate(
            ioWidths.begin(), ioWidths.end(), lines,
            [cap](std::size_t sum, std::size_t width) { return sum + std::min(width, cap); });
    };
    std::size_t low = kNarrowest;
    std::size_t high = std::max(kNarrowest, *std::max_element(ioWidths.begin(), ioWidths.end()));
    while (low < high) { // the widest cap that fits
        const std::size_t middle = (low + high + 1) / 2;
        if (widthAt(middle) <= inTotal) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    // The rest goes to the columns that were cut, one character each from the left.
    const std::size_t used = widthAt(low);
    std::size_t left = inTotal > used ? inTotal - used : 0;
    for (std::size_t& width : ioWidths) {
        if (width > low) {
            width = low + (left > 0 ? 1 : 0);
            left -= left > 0 ? 1 : 0;
        }
    }
}

std::unique_ptr<Renderer> MakeBoxRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<BoxRenderer>(inOutput, inSettings);
}

} // namespace orlimbara::shell
