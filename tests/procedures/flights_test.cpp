#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class FlightsTest : public ProcedureTest {};

/// What identifies a column's values without keeping them: how many there are, and a sum over all of them
/// that depends on their order.
struct Digest {
    std::uint64_t values = 0;
    std::uint64_t sum = 0;
    bool operator==(const Digest&) const = default;

    void Add(std::string_view text) {
        ++values;
        for (const char byte : text) {
            sum = sum * 31 + static_cast<unsigned char>(byte);
        }
    }
};

TEST_F(FlightsTest, ReadTheSameAsThroughDuckDBAlone) {
    ProcedureCursor cursor = Open("fetch_parquet", {Text(FLIGHTS_PARQUET)});
    EXPECT_EQ(cursor.get_RowCount(), 3'000'000);
    const std::vector<std::string> names = NamesOf(cursor);
    std::vector<Digest> digests(names.size());
    std::int64_t rows = 0;
    for (; cursor.NextRow(); ++rows) {
        for (std::size_t column = 0; column < names.size(); ++column) {
            const ProcedureValue value = cursor.ReadValue(static_cast<std::int32_t>(column));
            if (!value.IsNull()) {
                digests[column].Add(value.AsText());
            }
        }
    }
    EXPECT_EQ(rows, 3'000'000);

    Duck duck;
    for (std::size_t column = 0; column < names.size(); ++column) {
        const std::string quoted = "\"" + names[column] + "\"";
        const std::string text = cursor.get_ColumnType(column) == HOST_TYPE_DATETIME
                                     ? "strftime(" + quoted + ", '%Y-%m-%d %H:%M:%S.%g')"
                                     : quoted + "::VARCHAR";
        Digest expected;
        for (const std::string& each :
             duck.Texts("SELECT " + text + " FROM '" FLIGHTS_PARQUET "' WHERE " + quoted + " IS NOT NULL")) {
            expected.Add(each);
        }
        EXPECT_EQ(digests[column].values, expected.values) << names[column];
        EXPECT_EQ(digests[column].sum, expected.sum) << names[column];
    }
}

TEST_F(FlightsTest, AreCountedWithAndWithoutAPredicate) {
    EXPECT_EQ(Fetch("parquet_count", {Text(FLIGHTS_PARQUET)}), std::vector<Row>{{Int(3'000'000)}});
    const std::int64_t none = 0;
    EXPECT_EQ(Fetch("parquet_count", {Text(FLIGHTS_PARQUET), Text("1 = 0")}), std::vector<Row>{{Int(none)}});
}

} // namespace

} // namespace orlimbara::procedures::test
