/// @file
/// The fixture of the tests of duckdb_support/: a DuckDB in memory, and short functions for values.
#pragma once

#include <gtest/gtest.h>

#include "duckdb_support/supplement.h"
#include "tests_support/duck.h"
#include "tests_support/table.h"

namespace orlimbara::duckdb_support::test {

using tests_support::Table;

/// Checks at its end that every handle is gone.
struct NothingHeld {
    ~NothingHeld() { EXPECT_EQ(LiveHandleCount(), 0); }
};

/// A DuckDB in memory. After each test every handle must be gone.
class SupportTest : public testing::Test {
protected:
    SupportTest() { mDuck.Run("SET TimeZone = 'UTC'"); } // casts without a connection have no other

    OwnedDataChunk FirstChunk(const std::string& inSql) const {
        return OwnedDataChunk(duckdb_fetch_chunk(mDuck.Run(inSql).Struct()));
    }
    OwnedValue FirstCell(const std::string& inSql) const {
        return OwnedValue(duckdb_data_chunk_get_value(FirstChunk(inSql).Get(), 0, 0));
    }

    const NothingHeld mLast;
    const tests_support::Duck mDuck;
};

inline std::string TextOf(char* inText) {
    const OwnedText text(inText);
    return text ? text.Get() : "null";
}
/// The text of a value; "NULL" for SQL NULL, which `duckdb_get_varchar` doesn't take.
inline std::string TextOf(const OwnedValue& inValue) {
    return !inValue                              ? "none"
           : duckdb_is_null_value(inValue.Get()) ? "NULL"
                                                 : TextOf(duckdb_get_varchar(inValue.Get()));
}
inline std::string TypeOf(const OwnedValue& inValue) {
    return TextOf(duckdb_logical_type_to_string(duckdb_get_value_type(inValue.Get())));
}

inline OwnedValue MakeText(const std::string& inText) {
    return OwnedValue(duckdb_create_varchar_length(inText.data(), inText.size()));
}

} // namespace orlimbara::duckdb_support::test
