/// @file
/// The forms that need one row at a time: csv, line and markdown.
#pragma once

#include <memory>

#include "shell/renderer.h"

namespace orsql {

std::unique_ptr<Renderer> MakeCsvRenderer(Output& inOutput, const RenderSettings& inSettings);
std::unique_ptr<Renderer> MakeLineRenderer(Output& inOutput, const RenderSettings& inSettings);
std::unique_ptr<Renderer> MakeMarkdownRenderer(Output& inOutput, const RenderSettings& inSettings);

} // namespace orsql
