#include "shell/renderer.h"

#include "shell/options.h"
#include "shell/output.h"
#include "shell/renderers.h"

namespace orlimbara::shell {

std::unique_ptr<Renderer> MakeRenderer(Mode inMode, Output& inOutput, const RenderSettings& inSettings) {
    inOutput.put_IsJson(inMode == Mode::Json || inMode == Mode::Jsonl);
    switch (inMode) {
    case Mode::Csv:
        return MakeCsvRenderer(inOutput, inSettings);
    case Mode::Json:
        return MakeJsonRenderer(inOutput, inSettings);
    case Mode::Jsonl:
        return MakeJsonlRenderer(inOutput, inSettings);
    case Mode::Line:
        return MakeLineRenderer(inOutput, inSettings);
    case Mode::Markdown:
        return MakeMarkdownRenderer(inOutput, inSettings);
    case Mode::Box:
        break;
    }
    return MakeBoxRenderer(inOutput, inSettings);
}

} // namespace orlimbara::shell
