#include "host/exceptions.h"

#include <optional>

#include "host_standin/errors.h"

namespace orkit {

struct xException::Texts {
    std::array<std::optional<String>, kTextCount> mItems;
};

namespace {

// Null without texts, so that throwing without texts needs no memory.
template <class Texts, class Unit>
std::shared_ptr<const Texts> MakeTexts(std::array<const Unit*, xException::kTextCount> inTexts) {
    std::shared_ptr<Texts> texts;
    for (std::size_t i = 0; i < inTexts.size(); ++i) {
        if (inTexts[i]) {
            if (!texts) {
                texts = std::make_shared<Texts>();
            }
            texts->mItems[i].emplace(inTexts[i]);
        }
    }
    return texts;
}

} // namespace

xException::xException(std::uint32_t inCode, const char* inText1, const char* inText2, const char* inText3,
                       const char* inText4)
    : mCode(inCode), mTexts(MakeTexts<Texts, char>({inText1, inText2, inText3, inText4})) {}

xException::xException(std::uint32_t inCode, const char16_t* inText1, const char16_t* inText2,
                       const char16_t* inText3, const char16_t* inText4)
    : mCode(inCode), mTexts(MakeTexts<Texts, char16_t>({inText1, inText2, inText3, inText4})) {}

xException::~xException() = default;

const String* xException::get_Text(std::size_t inIndex) const noexcept {
    if (!mTexts || inIndex >= kTextCount || !mTexts->mItems[inIndex]) {
        return nullptr;
    }
    return &*mTexts->mItems[inIndex];
}

// Defined here, so that the library and its users share one type information per class.
xDBError::~xDBError() = default;
xFeatureError::~xFeatureError() = default;

namespace orsql {

xORSQLException::~xORSQLException() = default;
xDuckDBError::~xDuckDBError() = default;

} // namespace orsql

namespace standin {

void ThrowFileError(const std::string& inPath, std::string_view inWhat) {
    throw xException(error_code::kFileSystem, inPath.c_str(), std::string(inWhat).c_str());
}

void ThrowFileError(const std::string& inPath, std::string_view inWhat, const std::error_code& inCause) {
    ThrowFileError(inPath, std::string(inWhat) + ": " + inCause.message());
}

void ThrowFileError(const std::string& inPath, std::string_view inWhat, int inErrno) {
    ThrowFileError(inPath, inWhat, std::error_code(inErrno, std::generic_category()));
}

void ThrowValueError(const char* inMessage) { throw xException(error_code::kValue, "value", inMessage); }

} // namespace standin
} // namespace orkit
