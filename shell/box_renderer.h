/// @file
/// The form for terminals: a table drawn with lines, as wide as its cells or as the terminal allows.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "shell/renderer.h"

namespace orsql {

std::unique_ptr<Renderer> MakeBoxRenderer(Output& inOutput, const RenderSettings& inSettings);

/// Narrows the widest columns until a box of these columns fits, but none below a few characters.
/// @param ioWidths of the columns' content. @param inTotal the width to fit; 0 means no limit.
void FitColumns(std::vector<std::size_t>& ioWidths, std::size_t inTotal);

} // namespace orsql
