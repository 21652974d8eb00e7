/// @file
/// The forms for programs: an object an answer, as lines or as one indented array.
#pragma once

#include <memory>

#include "shell/renderer.h"

namespace orsql {

std::unique_ptr<Renderer> MakeJsonRenderer(Output& inOutput);
std::unique_ptr<Renderer> MakeJsonlRenderer(Output& inOutput);

} // namespace orsql
