/// @file
/// The host's exceptions: a code and four texts, of which the callers of this module use the first two.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/string.h"

namespace orkit {

/// The codes that this module throws.
namespace error_code {
inline constexpr std::uint32_t kFeature = 0xA000;           ///< 40960, xFeatureError
inline constexpr std::uint32_t kNullLocation = 0x51501;     ///< 333057, xDBError
inline constexpr std::uint32_t kMissingBackup = 0x66000;    ///< 417792, xDBError
inline constexpr std::uint32_t kDuckDB = 0x72501;           ///< 468225, xDuckDBError
inline constexpr std::uint32_t kUnexpectedDuckDB = 0x72000; ///< 466944, in a DuckDBExecutionResult only
inline constexpr std::uint32_t kOpen = 0x99000;             ///< 626688, xException
} // namespace error_code

/// The root of the host's exceptions; not of the standard family. Copying never throws.
class xException {
public:
    static constexpr std::size_t kTextCount = 4;

    /// @param inText1, inText2, inText3, inText4 zero-terminated UTF-8; each may be null.
    explicit xException(std::uint32_t inCode, const char* inText1 = nullptr, const char* inText2 = nullptr,
                        const char* inText3 = nullptr, const char* inText4 = nullptr);
    /// The same with wide texts.
    xException(std::uint32_t inCode, const char16_t* inText1, const char16_t* inText2,
               const char16_t* inText3, const char16_t* inText4);
    virtual ~xException();
    xException(const xException&) noexcept = default;
    xException& operator=(const xException&) noexcept = default;

    std::uint32_t get_Code() const noexcept { return mCode; }
    /// @param inIndex 0 to 3. @return null if there is no such text; valid as long as any copy of this
    /// exception.
    const String* get_Text(std::size_t inIndex) const noexcept;

private:
    struct Texts;

    std::uint32_t mCode;
    std::shared_ptr<const Texts> mTexts; // shared by the copies, so that copying can't fail
};

/// A failure in the host's database layer.
class xDBError : public xException {
public:
    using xException::xException;
    ~xDBError() override;
};

/// A feature that isn't supported.
class xFeatureError : public xException {
public:
    using xException::xException;
    ~xFeatureError() override;
};

namespace orsql {

/// A failure in the host's SQL layer.
class xORSQLException : public xException {
public:
    using xException::xException;
    ~xORSQLException() override;
};

/// Every failure of a DuckDB database, statement, result, cursor or value. The first text is the context (the
/// database's name, "unknown", "value" or "variant"), the second the message; the others are null.
class xDuckDBError : public xORSQLException {
public:
    using xORSQLException::xORSQLException;
    ~xDuckDBError() override;
};

} // namespace orsql
} // namespace orkit
