/// @file
/// The fixture of all tests on the object side: the module's code bound to the stand-in host, a folder for
/// each test, and the check that nothing is alive after it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "host/duckdb_objects.h"
#include "host/exceptions.h"
#include "tests_support/table.h"
#include "tests_support/temp_folder.h"

namespace orkit::orsql::test {

/// A text for messages and comparisons, in UTF-8.
std::string Text(const String& inText);

/// A cell as text: "NULL", the host's text of the value, or the bytes of a binary value as "x'CAFE'".
std::string Text(const smart_ptr<I_Value>& inValue);

using tests_support::Rows;
using tests_support::Table;

/// Reads a cursor from where it stands to its end.
Rows ReadAll(const smart_ptr<I_DuckDBCursor>& inCursor);

/// What a call threw, as far as it was one of the host's exceptions.
struct Raised {
    std::string mClass; ///< "xDuckDBError", "xFeatureError", "xDBError", "xException", "std::exception", or
                        ///< "" for nothing
    std::uint32_t mCode = 0;
    std::optional<std::string> mContext; ///< the first text
    std::optional<std::string> mMessage; ///< the second text; of a std::exception its `what`
    bool mHasMoreTexts = false;          ///< a third or fourth text was given
};

/// Calls and tells what it threw.
Raised Catch(const std::function<void()>& inCall);

/// Checks that a call throws xDuckDBError, code 468225, with these two texts and no others.
void ExpectDuckDBError(const std::function<void()>& inCall, std::string_view inContext,
                       std::string_view inMessage);
/// The same where the message is DuckDB's: it must contain `inPart`.
void ExpectDuckDBErrorWith(const std::function<void()>& inCall, std::string_view inContext,
                           std::string_view inPart);

/// Base of the tests: nothing may be alive before and after each of them.
class ObjectTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// The root object, as the host gets it.
    static smart_ptr<I_DuckDBExtension> Extension();
    /// This test's own folder, empty at its start and gone after it.
    const std::filesystem::path& Folder() const { return mFolder.Path(); }
    /// A location of a file in the test's folder, or of ":memory:".
    smart_ptr<I_Location> At(std::string_view inName) const;
    /// A closed database object there.
    smart_ptr<I_DuckDBDatabase> MakeDatabase(std::string_view inName) const;
    /// A new, open database.
    smart_ptr<I_DuckDBDatabase> CreateDatabase(std::string_view inName = ":memory:") const;
    /// Opens a database that is there.
    smart_ptr<I_DuckDBDatabase> OpenDatabase(std::string_view inName, bool inReadOnly = false) const;

    /// Runs a text on the database and gives all rows of its only statement.
    static Rows Select(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql,
                       std::uint32_t inCursorLocation = kCursorLocationServer);
    /// The only cell of such a text.
    static std::string SelectOne(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql);
    /// Runs a script without values. @return the sum of the rows changed.
    static std::int64_t Execute(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql);
    /// SqlSelect without values.
    static smart_ptr<I_DuckDBCursor> OpenCursor(const smart_ptr<I_DuckDBDatabase>& inDatabase,
                                                std::string_view inSql, std::uint32_t inCursorLocation);

private:
    tests_support::TempFolder mFolder;
};

/// A String of UTF-8.
String Wide(std::string_view inText);

} // namespace orkit::orsql::test
