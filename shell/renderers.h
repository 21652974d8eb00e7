/// @file
/// The forms of output, a factory each, and what of them tests look at by itself.
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

/// Narrows the widest columns until a box of these columns fits, but none below a few characters.
/// @param ioWidths the widths of the columns' content. @param inTotal the width to fit; 0 means no limit.
void FitColumns(std::vector<std::size_t>& ioWidths, std::size_t inTotal);

} // namespace orlimbara::shell
