/// @file
/// The output of a renderer as a text.
#pragma once

#include <string>

#include "shell/files.h"
#include "shell/options.h"
#include "shell/output.h"
#include "shell/renderer.h"
#include "shell/row_source.h"
#include "tests_support/temp_folder.h"

namespace orlimbara::shell::test {

template <class Write>
std::string Written(Mode inMode, const RenderSettings& inSettings, Write inWrite) {
    const tests_support::TempFolder folder;
    const std::string path = folder / "written";
    Output output(path);
    const auto renderer = MakeRenderer(inMode, output, inSettings);
    inWrite(*renderer);
    renderer->Finish();
    output.Close();
    return ReadFile(path);
}

inline std::string Rendered(Mode inMode, const RenderSettings& inSettings, RowSource& inRows) {
    return Written(inMode, inSettings, [&](Renderer& renderer) { renderer.WriteRows(inRows); });
}

} // namespace orlimbara::shell::test
