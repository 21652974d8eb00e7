#include "shell/renderer.h"

#include <algorithm>

#include "shell/box_renderer.h"
#include "shell/json_renderer.h"
#include "shell/plain_renderers.h"

namespace orsql {

std::unique_ptr<Renderer> MakeRenderer(Mode inMode, Output& inOutput, const RenderSettings& inSettings) {
    switch (inMode) {
    case Mode::Csv:
        return MakeCsvRenderer(inOutput, inSettings);
    case Mode::Json:
        return MakeJsonRenderer(inOutput);
    case Mode::Jsonl:
        return MakeJsonlRenderer(inOutput);
    case Mode::Line:
        return MakeLineRenderer(inOutput, inSettings);
    case Mode::Markdown:
        return MakeMarkdownRenderer(inOutput, inSettings);
    case Mode::Box:
        break;
    }
    return MakeBoxRenderer(inOutput, inSettings);
}

std::optional<Mode> FindMode(std::string_view inName) {
    const auto found = std::find(kModeNames.begin(), kModeNames.end(), inName);
    return found == kModeNames.end() ? std::nullopt
                                     : std::optional(static_cast<Mode>(found - kModeNames.begin()));
}

} // namespace orsql
