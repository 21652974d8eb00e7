/// @file
/// Fuzzes the cutting of scripts: whatever the text, it gives the same pieces however it comes, and a piece
/// is one piece by itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "shell/splitter.h"

namespace {

using orlimbara::shell::Piece;
using orlimbara::shell::Splitter;

/// @param inPart bytes that are fed at a time.
std::vector<Piece> Split(std::string_view inText, std::size_t inPart) {
    Splitter splitter;
    std::vector<Piece> pieces;
    const auto take = [&] {
        while (auto piece = splitter.Next()) {
            pieces.push_back(std::move(*piece));
        }
    };
    while (!inText.empty()) {
        const std::string_view part = inText.substr(0, inPart);
        splitter.Feed(part);
        inText.remove_prefix(part.size());
        take();
    }
    splitter.Finish();
    take();
    return pieces;
}

bool IsSame(const std::vector<Piece>& inLeft, const std::vector<Piece>& inRight) {
    if (inLeft.size() != inRight.size()) {
        return false;
    }
    for (std::size_t i = 0; i < inLeft.size(); ++i) {
        if (inLeft[i].kind != inRight[i].kind || inLeft[i].text != inRight[i].text) {
            return false;
        }
    }
    return true;
}

void Require(bool inCondition) {
    if (!inCondition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    if (inSize == 0) {
        return 0;
    }
    const std::size_t part = inData[0] % 8 + 1U;
    const std::string_view text(reinterpret_cast<const char*>(inData) + 1, inSize - 1);
    const std::vector<Piece> pieces = Split(text, std::string_view::npos);
    Require(IsSame(pieces, Split(text, part)));
    for (const Piece& piece : pieces) {
        const bool isStatement = piece.kind == Piece::Kind::Statement;
        Require(!isStatement || !piece.text.empty());
        Require(isStatement || (piece.text.starts_with('.') && piece.text.find('\n') == std::string::npos));
        if (isStatement && !piece.text.starts_with('.')) {
            Require(IsSame(Split(piece.text, std::string_view::npos), {piece}));
        }
    }
    return 0;
}
