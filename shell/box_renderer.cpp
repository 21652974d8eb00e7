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

/// The least width to which texts are cut, and the most that a type may widen a column to.
constexpr std::size_t kNarrowest = 8;
constexpr std::size_t kWidestType = 16;

/// The width of what surrounds the columns' texts.
std::size_t LinesWidth(std::size_t inColumns) { return inColumns * 3 + 1; }

/// The rows that a box shows: the first ones and, if there are more, the last ones.
class ShownRows {
public:
    explicit ShownRows(std::uint64_t inMaxRows) : mMaxRows(inMaxRows), mHeadRows(inMaxRows - inMaxRows / 2) {}

    /// Keeps a row; `ioRow` becomes another one to fill.
    void Add(LazyRow& ioRow) {
        const std::uint64_t tailRows = mMaxRows - mHeadRows;
        if (mMaxRows == 0 || mHead.size() < mHeadRows) {
            mHead.push_back(std::exchange(ioRow, LazyRow()));
        } else if (mTail.size() < tailRows) {
            mTail.push_back(std::exchange(ioRow, LazyRow()));
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
    const std::vector<LazyRow>& get_Head() const { return mHead; }
    const std::deque<LazyRow>& get_Tail() const { return mTail; }
    /// Whether rows between head and tail are left out.
    bool IsCut() const { return mIsCut; }

private:
    std::uint64_t mMaxRows;
    std::uint64_t mHeadRows;
    std::vector<LazyRow> mHead;
    std::deque<LazyRow> mTail;
    bool mIsCut = false;
};

/// Rows that were already read, for another renderer.
class KeptRows final : public RowSource {
public:
    KeptRows(const std::vector<Column>& inColumns, const std::vector<LazyRow>& inRows) : mRows(inRows) {
        mColumns = inColumns;
    }
    bool Next(Row& outRow) override {
        if (mNext == mRows.size()) {
            return false;
        }
        outRow = mRows[mNext++].cells;
        return true;
    }

private:
    const std::vector<LazyRow>& mRows;
    std::size_t mNext = 0;
};

class BoxRenderer final : public TextRenderer {
public:
    using TextRenderer::TextRenderer;

    RowsEnd WriteRows(RowSource& inRows) override {
        ShownRows shown(inRows.IsKeptWhole() ? 0 : mSettings.maxRows);
        RowsEnd end = ReadRows<LazyRow>(
            inRows, [&inRows](LazyRow& row) { return inRows.NextLazy(row); },
            [&shown](LazyRow& row) { shown.Add(row); });
        if (!inRows.get_Columns().empty() && !end.isInterrupted) {
            shown.ForEach([](LazyRow& row) { row.Format(); });
            Draw(inRows, shown, end.count);
        }
        mOutput.Flush();
        return end;
    }

private:
    void Draw(const RowSource& inRows, ShownRows& ioShown, std::uint64_t inCount) {
        const std::vector<Column>& columns = inRows.get_Columns();
        MeasureColumns(columns, ioShown);
        const bool isWideRow = mColumns.size() < columns.size() && inCount == 1 && columns.front().type;
        const bool isTooWide = mSettings.width > 0 && InnerWidth() + 2 > mSettings.width;
        if (isWideRow || (isTooWide && inRows.IsKeptWhole())) {
            KeptRows rows(columns, ioShown.get_Head());
            MakeLineRenderer(mOutput, mSettings)->WriteRows(rows);
            if (isWideRow) {
                mOutput.Write(fmt::format("one row of {} columns, shown as in line mode\n", columns.size()));
            }
            return;
        }
        const std::string between = fmt::format("… {} rows, {} shown …", inCount,
                                                ioShown.get_Head().size() + ioShown.get_Tail().size());
        if (ioShown.IsCut()) {
            const std::size_t inner = InnerWidth();
            const std::size_t needed = DisplayWidth(between) + 2;
            mWidths.back() += needed > inner ? needed - inner : 0;
        }
        DrawLine("┌", "┬", "┐");
        if (mSettings.hasHeader) {
            DrawHeader(columns);
            DrawLine("├", "┼", "┤");
        }
        DrawRows(columns, ioShown.get_Head());
        if (ioShown.IsCut()) {
            DrawLine("├", "┴", "┤");
            mOutput.Write("│ " + between + std::string(InnerWidth() - 1 - DisplayWidth(between), ' ') +
                          "│\n");
            DrawLine("├", "┬", "┤");
        }
        DrawRows(columns, ioShown.get_Tail());
        DrawLine("└", "┴", "┘");
        DrawFooter(columns);
    }

    void DrawFooter(const std::vector<Column>& inColumns) {
        if (mColumns.size() < inColumns.size()) {
            mOutput.Write(fmt::format("{} columns, {} shown\n", inColumns.size(), mColumns.size() - 1));
        }
        const bool isRounded = std::any_of(mColumns.begin(), mColumns.end(), [&](std::size_t inIndex) {
            return inIndex != kLeftOut && inColumns[inIndex].decimal &&
                   !inColumns[inIndex].decimal->IsExact();
        });
        if (isRounded) {
            mOutput.Write("shown to 15 digits\n");
        }
    }

    std::string TextOf(const Cell& inCell, const Column& inColumn) const {
        return OneLine(CellText(inCell, inColumn, NullText(kNullText)));
    }

    /// Chooses the columns to show and their widths.
    void MeasureColumns(const std::vector<Column>& inColumns, ShownRows& ioShown) {
        std::vector<ColumnWidth> widths(inColumns.size());
        ioShown.ForEach([&](const LazyRow& row) {
            for (std::size_t i = 0; i < row.cells.size(); ++i) {
                widths[i].wanted =
                    std::max(widths[i].wanted, DisplayWidth(TextOf(row.cells[i], inColumns[i])));
            }
        });
        for (std::size_t i = 0; i < inColumns.size(); ++i) {
            widths[i].least =
                inColumns[i].isWhole ? widths[i].wanted : std::min(widths[i].wanted, kNarrowest);
            if (mSettings.hasHeader) {
                const std::size_t name = DisplayWidth(OneLine(inColumns[i].name));
                const std::size_t type =
                    std::min(inColumns[i].type ? DisplayWidth(OneLine(*inColumns[i].type)) : 0, kWidestType);
                widths[i].wanted = std::max({widths[i].wanted, name, type});
                widths[i].least = std::max(widths[i].least, std::min(name, kNarrowest));
            }
        }
        mColumns = ChooseColumns(widths, mSettings.width);
        std::vector<ColumnWidth> shown;
        for (const std::size_t column : mColumns) {
            shown.push_back(column == kLeftOut ? ColumnWidth{} : widths[column]);
        }
        mWidths = FitColumns(shown, mSettings.width);
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
        DrawEach(
            inColumns, [&](const Column& column) { return column.name; }, "\x1b[1m");
        if (inColumns.front().type) {
            DrawEach(
                inColumns, [&](const Column& column) { return column.type.value_or(""); }, "\x1b[2m");
        }
    }

    /// One line with a text per shown column.
    template <class Text>
    void DrawEach(const std::vector<Column>& inColumns, Text inText, std::string_view inColor) {
        for (std::size_t i = 0; i < mColumns.size(); ++i) {
            if (mColumns[i] == kLeftOut) {
                DrawCell(i, "…", false, "");
            } else {
                const Column& column = inColumns[mColumns[i]];
                DrawCell(i, OneLine(inText(column)), column.isNumber, inColor);
            }
        }
        mOutput.Write("│\n");
    }

    /// Stops at Ctrl-C.
    template <class Rows>
    void DrawRows(const std::vector<Column>& inColumns, const Rows& inRows) {
        for (const LazyRow& row : inRows) {
            if (IsInterrupted()) {
                return;
            }
            for (std::size_t i = 0; i < mColumns.size(); ++i) {
                if (mColumns[i] == kLeftOut) {
                    DrawCell(i, "…", false, "");
                } else {
                    const Cell& cell = row.cells[mColumns[i]];
                    const Column& column = inColumns[mColumns[i]];
                    DrawCell(i, TextOf(cell, column), column.isNumber,
                             cell.kind == Cell::Kind::Null ? "\x1b[2m" : "");
                }
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

    std::vector<std::size_t> mColumns; ///< those shown, and kLeftOut for the others
    std::vector<std::size_t> mWidths;  ///< of each of them
};

} // namespace

std::vector<std::size_t> ChooseColumns(const std::vector<ColumnWidth>& inWidths, std::size_t inTotal) {
    std::vector<std::size_t> columns(inWidths.size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    const auto least = std::accumulate(inWidths.begin(), inWidths.end(), LinesWidth(inWidths.size()),
                                       [](std::size_t sum, const ColumnWidth& w) { return sum + w.least; });
    if (inTotal == 0 || least <= inTotal || inWidths.size() < 2) {
        return columns;
    }
    // Alternately one from the left and one from the right; the mark for those left out is one wide.
    std::size_t used = LinesWidth(2) + inWidths.front().least + 1;
    std::size_t left = 1;
    std::size_t right = inWidths.size();
    for (bool isRight = true; left + 1 < right; isRight = !isRight) {
        const std::size_t next = 3 + inWidths[isRight ? right - 1 : left].least;
        if (used + next > inTotal) {
            break;
        }
        used += next;
        isRight ? --right : ++left;
    }
    columns.erase(columns.begin() + static_cast<std::ptrdiff_t>(left),
                  columns.begin() + static_cast<std::ptrdiff_t>(right));
    columns.insert(columns.begin() + static_cast<std::ptrdiff_t>(left), kLeftOut);
    return columns;
}

std::vector<std::size_t> FitColumns(const std::vector<ColumnWidth>& inWidths, std::size_t inTotal) {
    const auto widthAt = [&](std::size_t cap) {
        std::vector<std::size_t> widths;
        for (const ColumnWidth& width : inWidths) {
            widths.push_back(std::max({std::min(width.wanted, cap), width.least, std::size_t{1}}));
        }
        return widths;
    };
    std::size_t low = 0;
    std::size_t high = 0;
    for (const ColumnWidth& width : inWidths) {
        high = std::max(high, width.wanted);
    }
    if (inTotal == 0) {
        return widthAt(high);
    }
    const auto sum = [&](const std::vector<std::size_t>& widths) {
        return std::accumulate(widths.begin(), widths.end(), LinesWidth(widths.size()));
    };
    while (low < high) { // the widest cap that fits
        const std::size_t middle = (low + high + 1) / 2;
        if (sum(widthAt(middle)) <= inTotal) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    // The rest goes to the columns that were cut, one character each, from the left.
    std::vector<std::size_t> widths = widthAt(low);
    const std::size_t used = sum(widths);
    std::size_t rest = inTotal > used ? inTotal - used : 0;
    for (std::size_t i = 0; i < widths.size() && rest > 0; ++i) {
        if (widths[i] < inWidths[i].wanted) {
            ++widths[i];
            --rest;
        }
    }
    return widths;
}

std::unique_ptr<Renderer> MakeBoxRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<BoxRenderer>(inOutput, inSettings);
}

} // namespace orlimbara::shell
