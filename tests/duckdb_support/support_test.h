#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "duckdb_support/handles.h"
#include "duckdb_support/supplement.h"

namespace orlimbara::duckdb_support::test {

constexpr auto kVariantId = static_cast<duckdb_type>(41);

/// A DuckDB in memory and a connection to it. After each test every handle must be gone.
class SupportTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(LiveHandleCount(), 0);
        ASSERT_EQ(duckdb_open(nullptr, mDatabase.Put()), DuckDBSuccess);
        ASSERT_EQ(duckdb_connect(mDatabase.Get(), mConnection.Put()), DuckDBSuccess);
        Run("SET TimeZone = 'UTC'"); // casts without a connection know no other
    }
    void TearDown() override {
        mConnection.Reset();
        mDatabase.Reset();
        for (std::size_t kind = 0; kind < kHandleKindNames.size(); ++kind) {
            EXPECT_EQ(LiveHandleCount(static_cast<HandleKind>(kind)), 0) << kHandleKindNames[kind];
        }
    }

    OwnedResult Run(const std::string& inSql) {
        OwnedResult result;
        if (duckdb_query(mConnection.Get(), inSql.c_str(), result.Put()) != DuckDBSuccess) {
            ADD_FAILURE() << inSql << ": " << duckdb_result_error(result.Get());
        }
        return result;
    }

    OwnedDataChunk FirstChunk(const std::string& inSql) {
        OwnedResult result = Run(inSql);
        return OwnedDataChunk(duckdb_fetch_chunk(result.Struct()));
    }

    /// The value of the first cell.
    OwnedValue ValueOf(const std::string& inExpression) {
        const OwnedDataChunk chunk = FirstChunk("SELECT " + inExpression);
        return OwnedValue(duckdb_data_chunk_get_value(chunk.Get(), 0, 0));
    }

    OwnedDatabase mDatabase;
    OwnedConnection mConnection;
};

/// The text of a value, none for SQL NULL, which `duckdb_get_varchar` doesn't take.
inline std::optional<std::string> TextOf(duckdb_value inValue) {
    if (inValue == nullptr || duckdb_is_null_value(inValue)) {
        return std::nullopt;
    }
    const OwnedText text(duckdb_get_varchar(inValue));
    return std::string(ViewOf(text));
}

inline std::string TypeOf(duckdb_value inValue) {
    const OwnedText text(duckdb_logical_type_to_string(duckdb_get_value_type(inValue)));
    return std::string(ViewOf(text));
}

inline OwnedLogicalType MakeType(duckdb_type inId) {
    return OwnedLogicalType(duckdb_create_logical_type(inId));
}

inline OwnedLogicalType MakeJsonType() {
    OwnedLogicalType type = MakeType(DUCKDB_TYPE_VARCHAR);
    duckdb_logical_type_set_alias(type.Get(), "JSON");
    return type;
}

inline OwnedValue MakeText(const std::string& inText) {
    return OwnedValue(duckdb_create_varchar_length(inText.data(), inText.size()));
}

} // namespace orlimbara::duckdb_support::test
