/// @file
/// Fuzzes the splitting of scripts: a text gives the same pieces however it is fed, and each piece is one
/// piece by itself.
#include <cstdint>
#include <cstdlib>

#include "../tests/shell/pieces.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    using orlimbara::shell::test::Split;
    if (inSize == 0) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(inData) + 1, inSize - 1);
    const std::vector<std::string> pieces = Split(text);
    bool holds = pieces == Split(text, inData[0] % 8 + 1U);
    for (const std::string& piece : pieces) {
        const bool isCommand = piece.starts_with('\n');
        holds = holds &&
                (isCommand ? piece.starts_with("\n.") && piece.find('\n', 1) == piece.npos : !piece.empty());
        holds = holds && (isCommand || piece.starts_with('.') || Split(piece) == std::vector{piece});
    }
    if (!holds) {
        std::abort();
    }
    return 0;
}
