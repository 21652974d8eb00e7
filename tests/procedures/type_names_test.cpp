#include "procedures/type_names.h"

#include <gtest/gtest.h>

#include <string>

namespace orlimbara::procedures::test {

namespace {

struct TypeCase {
    std::uint32_t number;
    const char* name;
    int runtime_type;
    int host_type;
};

/// Numbers, as they cross to the host; not DuckDB's enumerators, which the code is written with.
constexpr TypeCase gTypes[] = {
    {0, "INVALID", 17, 10},
    {1, "BOOLEAN", 1, 2},
    {2, "TINYINT", 2, 7},
    {3, "SMALLINT", 3, 7},
    {4, "INTEGER", 4, 7},
    {5, "BIGINT", 5, 7},
    {6, "UTINYINT", 6, 12},
    {7, "USMALLINT", 7, 12},
    {8, "UINTEGER", 8, 12},
    {9, "UBIGINT", 9, 12},
    {10, "FLOAT", 10, 6},
    {11, "DOUBLE", 11, 6},
    {12, "TIMESTAMP", 12, 5},
    {13, "DATE", 13, 4},
    {14, "TIME", 14, 11},
    {15, "INTERVAL", 17, 10},
    {16, "HUGEINT", 17, 10},
    {17, "VARCHAR", 17, 10},
    {18, "BLOB", 18, 3},
    {19, "DECIMAL", 11, 6},
    {20, "TIMESTAMP_S", 12, 5},
    {21, "TIMESTAMP_MS", 12, 5},
    {22, "TIMESTAMP_NS", 12, 5},
    {23, "ENUM", 17, 10},
    {24, "LIST", 17, 10},
    {25, "STRUCT", 17, 10},
    {26, "MAP", 17, 10},
    {27, "UUID", 17, 10},
    {28, "UNION", 17, 10},
    {29, "BIT", 17, 10},
    {30, "TIME_TZ", 14, 11},
    {31, "TIMESTAMP_TZ", 12, 5},
    {32, "UHUGEINT", 17, 10},
    {33, "ARRAY", 17, 10},
    {34, "ANY", 17, 10},
    {35, "BIGNUM", 17, 10},
    {36, "SQLNULL", 17, 10},
    {37, "STRING_LITERAL", 17, 10},
    {38, "INTEGER_LITERAL", 17, 10},
    {39, "TIME_NS", 14, 11},
    {40, "UNKNOWN", 17, 10},
    {41, "UNKNOWN", 17, 10},
    {0xFFFFFFFF, "UNKNOWN", 17, 10},
};

TEST(TypeNames, RelateTheThreeTypesOfEveryNumber) {
    for (const TypeCase& type : gTypes) {
        EXPECT_STREQ(DuckDBTypeName(type.number), type.name);
        EXPECT_EQ(RuntimeType(type.number), type.runtime_type) << type.name;
        EXPECT_EQ(HostTypeOf(RuntimeType(type.number)), type.host_type) << type.name;
    }
}

TEST(TypeNames, TakeADecimalThatIsNotCastForText) { EXPECT_EQ(HostTypeOf(DUCKDB_TYPE_DECIMAL), 10); }

TEST(TypeNames, NameTheHostTypes) {
    const char* const names[] = {"unknown",  "array",  "bool",   "binary",  "date",
                                 "datetime", "double", "int64",  "money",   "null",
                                 "text",     "time",   "uint64", "variant", "unknown"};
    for (std::int32_t number = 0; number < 15; ++number) {
        EXPECT_STREQ(HostTypeName(number), names[number]);
    }
    EXPECT_STREQ(HostTypeName(-1), "unknown");
}

} // namespace

} // namespace orlimbara::procedures::test
