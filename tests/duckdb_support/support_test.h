/// @file
/// The fixture of the tests of duckdb_support/: a DuckDB in memory, and short functions for values.
#pragma once

#include <optional>

#include <gtest/gtest.h>

#include "duckdb_support/supplement.h"
#include "tests_support/duck.h"
#include "tests_support/table.h"

namespace orlimbara::duckdb_support::test {

using tests_support::Table;

constexpr auto kVariantId = static_cast<duckdb_type>(41);

/// A DuckDB in memory. After each test every handle must be gone.
class SupportTest : public testing::Test {
protected:
    void SetUp() override {
        mDuck.emplace();
        mDuck->Run("SET TimeZone = 'UTC'"); // casts without a connection have no other
    }
    void TearDown() override {
        mDuck.reset();
        EXPECT_EQ(LiveHandleCount(), 0);
    }

    OwnedDataChunk FirstChunk(const std::string& inSql) const {
        const OwnedResult result = mDuck->Run(inSql);
        return OwnedDataChunk(duckdb_fetch_chunk(result.Struct()));
    }

    std::optional<tests_support::Duck> mDuck;
};

inline OwnedValue CellOf(const OwnedDataChunk& inChunk, idx_t inColumn = 0, idx_t inRow = 0) {
    return OwnedValue(duckdb_data_chunk_get_value(inChunk.Get(), inColumn, inRow));
}

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
