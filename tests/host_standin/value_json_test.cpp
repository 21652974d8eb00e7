#include "host_standin/value_json.h"

#include <limits>
#include <string>
#include <vector>

#include "host/json.h"
#include "host/runtime.h"
#include "standin_test.h"

namespace orkit::standin {

namespace {

using namespace orkit::orsql;
using Value = smart_ptr<I_Value>;

// A cursor of the plug-in's kind over given rows.
class RowsCursor final : public I_DuckDBCursor, noncopyable {
public:
    RowsCursor(std::vector<String> inNames, std::vector<std::vector<Value>> inRows)
        : mNames(std::move(inNames)), mRows(std::move(inRows)) {}

    std::uint32_t AddRef() override { return ++mRefCount; }
    std::uint32_t Release() override {
        const std::uint32_t left = --mRefCount;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    void* QueryInterface(std::uint32_t) override { return nullptr; }
    std::uint32_t get_RefsCount() const override { return mRefCount; }

    std::uint32_t get_ColumnCount() const override { return static_cast<std::uint32_t>(mNames.size()); }
    const String& get_ColumnName(std::uint32_t inColumnIndex) const override { return mNames[inColumnIndex]; }
    const String& get_ColumnTypeName(std::uint32_t) const override { return String::sEmpty; }
    std::uint32_t get_ColumnType(std::uint32_t) const override { return 0; }
    std::uint64_t get_RecordCount() const override { throw xException(1); }
    std::uint32_t get_CurrentRecord() const override { throw xException(1); }
    bool put_CurrentRecord(std::uint32_t) override { throw xException(1); }
    smart_ptr<I_DuckDBDatabase> get_Database() const override { return nullptr; }
    void Invalidate() override {}
    bool FirstRecord() override { throw xException(1); }
    bool LastRecord() override { throw xException(1); }
    bool NextRecord() override { return ++mRow <= mRows.size(); }
    bool PrevRecord() override { throw xException(1); }
    Value get_Value(std::uint32_t inColumnIndex) override { return mRows[mRow - 1][inColumnIndex]; }
    void Dispose() override {}

private:
    std::atomic<std::uint32_t> mRefCount = 0;
    std::vector<String> mNames;
    std::vector<std::vector<Value>> mRows;
    std::size_t mRow = 0;
};

Value Text(const String& inText) {
    Value value = CreateValueString(false, nullptr, nullptr);
    value->put_MaxLength(1000);
    value->put_String(inText);
    return value;
}

Value JsonOf(const char* inText) {
    Value value = CreateValueJSON(false, nullptr, nullptr);
    value->put_String(inText);
    return value;
}

Value Double(double inNumber) {
    Value value = CreateValueDouble(false, nullptr, nullptr);
    value->put_Double(inNumber);
    return value;
}

Value Null() {
    Value value = CreateValueBoolean(true, nullptr, nullptr);
    value->put_IsNull(true);
    return value;
}

class CursorsAsJson : public StandinTest {};

TEST_F(CursorsAsJson, HaveAFormForEachKindOfCell) {
    const Value yes = CreateValueBoolean(false, nullptr, nullptr);
    yes->put_Boolean(true);
    const Value big = CreateValueULLong(false, nullptr, nullptr);
    big->put_ULLong(std::numeric_limits<std::uint64_t>::max());
    const std::uint32_t length = 2;
    const Value bytes = CreateValueFixedBinary(false, &length, nullptr);
    QueryAspect<I_ValueBinary>(bytes.get())->WriteBytes("\xCA\x0E", 2);
    const Value date = CreateValueDate(false, nullptr, nullptr);
    QueryAspect<I_ValueDate>(date.get())->put_Date(2024, 1, 31);
    const Value holder = CreateValueHolder(false, nullptr, nullptr);
    QueryAspect<I_ValueHolder>(holder.get())->put_Inner(yes);
    const Value array = CreateValueArray(false, nullptr, nullptr);
    for (const Value& item : {big, Null(), Text("x"), holder}) {
        QueryAspect<I_ValueArray>(array.get())->AppendItem(item);
    }
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<Value, const char*>> cases = {
        {Null(), "null"},
        {nullptr, "null"},
        {yes, "true"},
        {big, "18446744073709551615"},
        {Double(0.1), "0.1"},
        {Double(1e300), "1e+300"},
        {Double(-kInfinity), "\"-Infinity\""},
        {Double(std::numeric_limits<double>::quiet_NaN()), "\"NaN\""},
        {Text(String(u"a\"\\\n\u0001\u20AC\U0001F600\0z", 10)), R"("a\"\\\n\u0001€😀\u0000z")"},
        {Text(""), "\"\""},
        {JsonOf("{\"k\": [1.50]}"), "{\"k\": [1.50]}"},
        {Value(CreateValueJSON(false, nullptr, nullptr)), "null"},
        {bytes, "\"ca0e\""},
        {date, "\"2024-01-31\""},
        {Value(CreateValueHolder(false, nullptr, nullptr)), "null"},
        {array, "[18446744073709551615,null,\"x\",true]"},
    };
    for (const auto& [value, text] : cases) {
        const smart_ptr<I_DuckDBCursor> cursor = new RowsCursor({"c"}, {{value}});
        const std::string json = Narrow(CursorToJSON(cursor));
        EXPECT_EQ(json, "[{\"c\":" + std::string(text) + "}]");
        EXPECT_TRUE(Json(json.c_str()).isValid()) << json;
    }
    EXPECT_EQ(TextOf(array), "[18446744073709551615,null,\"x\",true]");
}

TEST_F(CursorsAsJson, AreRowsFromWhereTheyStandToTheirEnd) {
    const smart_ptr<I_DuckDBCursor> cursor =
        new RowsCursor({"a\"b", "n"}, {{Text("1"), Null()}, {Text("2"), Double(2)}, {Text("3"), Double(3)}});
    cursor->NextRecord();
    EXPECT_EQ(Narrow(CursorToJSON(cursor)), R"([{"a\"b":"2","n":2},{"a\"b":"3","n":3}])");
    EXPECT_EQ(Narrow(CursorToJSON(new RowsCursor({"a"}, {}))), "[]");
    EXPECT_EQ(Narrow(CursorToJSON(nullptr)), "null");
}

} // namespace
} // namespace orkit::standin
