/// @file
/// What a renderer writes, as a text.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "shell/files.h"
#include "shell/renderer.h"

namespace orlimbara::shell {

/// A file that is gone at the end.
class ScratchFile {
public:
    ScratchFile() {
        mPath = (std::filesystem::temp_directory_path() / "orsql_test_XXXXXX").string();
        close(mkstemp(mPath.data()));
    }
    ~ScratchFile() { std::filesystem::remove(mPath); }
    const std::string& get_Path() const { return mPath; }

private:
    std::string mPath;
};

template <class Write>
std::string Written(Mode inMode, const RenderSettings& inSettings, Write inWrite) {
    const ScratchFile file;
    Output output(file.get_Path());
    const auto renderer = MakeRenderer(inMode, output, inSettings);
    inWrite(*renderer);
    renderer->Finish();
    output.Close();
    return ReadFile(file.get_Path());
}

inline std::string Rendered(Mode inMode, const RenderSettings& inSettings, RowSource& inRows) {
    return Written(inMode, inSettings, [&](Renderer& renderer) { renderer.WriteRows(inRows); });
}

} // namespace orlimbara::shell
