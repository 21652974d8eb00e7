/// @file
/// A factory per form of output, and the parts that are tested separately.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "shell/renderer.h"

namespace orlimbara::shell {

/// For terminals: a table drawn with lines, as wide as its cells or as the terminal allows.
std::unique_ptr<Renderer> MakeBoxRenderer(Output& inOutput, const RenderSettings& inSettings);
/// For other programs: RFC 4180, lines ending in LF.
std::unique_ptr<Renderer> MakeCsvRenderer(Output& inOutput, const RenderSettings& inSettings);
/// For programs: one indented array of an object per answer.
std::unique_ptr<Renderer> MakeJsonRenderer(Output& inOutput, const RenderSettings& inSettings);
/// For programs that drive the shell: an object per line, each flushed at once.
std::unique_ptr<Renderer> MakeJsonlRenderer(Output& inOutput, const RenderSettings& inSettings);
/// For wide rows: a line per cell.
std::unique_ptr<Renderer> MakeLineRenderer(Output& inOutput, const RenderSettings& inSettings);
/// For documents: a Markdown table.
std::unique_ptr<Renderer> MakeMarkdownRenderer(Output& inOutput, const RenderSettings& inSettings);

/// How wide a box's column is, in columns of text.
struct ColumnWidth {
    std::size_t wanted = 1; ///< of everything that it shows
    std::size_t least = 1;  ///< to which it may be narrowed
};

/// Stands for the columns that a box leaves out.
inline constexpr std::size_t kLeftOut = ~std::size_t{0};

/// The columns whose least widths fit a box: all, or the first and last ones with one kLeftOut between them.
/// @param inTotal the width to fit; 0 means no limit.
std::vector<std::size_t> ChooseColumns(const std::vector<ColumnWidth>& inWidths, std::size_t inTotal);
/// The widths of a box's columns: the widest are narrowed until the box fits, none below its least.
std::vector<std::size_t> FitColumns(const std::vector<ColumnWidth>& inWidths, std::size_t inTotal);

} // namespace orlimbara::shell
