#include "host/value.h"

#include <cstdlib>
#include <string>
#include <thread>

#include "host/engine_lock.h"
#include "tests_support/host_fixture.h"

namespace orkit::standin::test {
namespace {

using namespace orkit::orsql;
using namespace orkit::test;
using Value = smart_ptr<I_Value>;
using Values = HostTest;

std::string TextOf(const Value& inValue) {
    String text;
    inValue->get_String(text, -1);
    return Text(text);
}

/// A number converted to other numbers.
std::string NumbersOf(const Value& inValue) {
    return std::to_string(inValue->get_LLong()) + " " + std::to_string(inValue->get_ULLong()) + " " +
           std::to_string(inValue->get_Byte());
}

TEST_F(Values, OfNumbersAndTextsAreTruncatedToTheRequestedWidth) {
    const Value real = CreateValueDouble(false, nullptr, nullptr);
    for (const auto& row : Table(R"(-2.9|-2 0 0; 255.9|255 255 255; 256|256 256 255; NaN|0 0 0
             0x1p63|9223372036854775807 9223372036854775808 255; -1e300|-9223372036854775808 0 0
             1e300|9223372036854775807 18446744073709551615 255)")) {
        real->put_Double(std::strtod(row[0].c_str(), nullptr));
        EXPECT_EQ(NumbersOf(real), row[1]) << row[0];
    }
    const Value text = CreateValueString(true, nullptr, nullptr);
    text->put_MaxLength(100);
    text->put_String(" -300.75 apples");
    EXPECT_EQ(NumbersOf(text), "-300 18446744073709551316 212");
    EXPECT_EQ(text->get_Float(), -300.75F);
    EXPECT_TRUE(text->get_Boolean());
    const Value whole = CreateValueLLong(true, nullptr, nullptr);
    whole->put_LLong(0x1'0000'0002);
    EXPECT_EQ(whole->get_Long(), 2);
    whole->put_IsNull(true);
    EXPECT_EQ(whole->get_Double(), 0);
    EXPECT_EQ(TextOf(whole), "");
}

TEST_F(Values, OfTextKeepToTheirCapacity) {
    const Value value = CreateValueString(true, nullptr, nullptr);
    EXPECT_EQ(Refusal([&] { value->put_String(""); }), "the text doesn't fit the capacity of the value");
    value->put_MaxLength(2);
    value->put_String("");
    value->put_MaxLength(8);
    value->put_String(u"\U0001F600x"); // two code units and one
    EXPECT_EQ(value->get_Length(), 6U);
    EXPECT_NE(Refusal([&] { value->put_String("four"); }), "");
    EXPECT_NE(Refusal([&] { value->put_MaxLength(7); }), "");
    EXPECT_EQ(TextOf(value), "\xF0\x9F\x98\x80x");
    String text;
    value->get_String(text, 2);
    EXPECT_EQ(Text(text), "\xF0\x9F\x98\x80");
    value->get_String(text, 0);
    EXPECT_TRUE(text.isEmpty());
    value->put_IsNull(true);
    EXPECT_EQ(value->get_Long(), 0);
    EXPECT_EQ(Refusal([&] { value->put_Long(1); }), "this kind of value can't be set so");
    const String word("red");
    EXPECT_EQ(TextOf(CreateValueEnum(false, &word, nullptr)), "red");
    const Value notNullable = CreateValueLong(false, nullptr, nullptr);
    EXPECT_EQ(Refusal([&] { notNullable->put_IsNull(true); }), "this value can't be null");
}

TEST_F(Values, OfBytesKeepToTheirLengthAndCapacity) {
    const std::uint32_t length = 3;
    const Value value = CreateValueFixedBinary(true, &length, nullptr);
    auto* const binary = QueryAspect<I_ValueBinary>(value.get());
    EXPECT_NE(Refusal([&] { binary->WriteBytes("\1\2\3\4", 4); }), "");
    binary->WriteBytes("\xCA\xFE\0", 3);
    EXPECT_EQ(TextOf(value), "cafe00");
    EXPECT_NE(Refusal([&] { value->put_Length(4); }), "");
    EXPECT_NE(Refusal([&] { value->put_MaxLength(2); }), "");
    value->put_MaxLength(5);
    for (const auto& [newLength, text] :
         {std::pair(5U, "cafe000000"), std::pair(1U, "ca"), std::pair(2U, "ca00")}) {
        value->put_Length(newLength);
        EXPECT_EQ(TextOf(value), text);
    }
    std::string buffer = "####";
    EXPECT_EQ(binary->ReadBytes(buffer.data(), 1), 1U);
    EXPECT_EQ(buffer, "\xCA###");
    EXPECT_EQ(binary->ReadBytes(buffer.data(), 4), 2U);
    EXPECT_EQ(buffer.substr(2), "##");
    value->put_IsNull(true);
    EXPECT_EQ(value->get_Length(), 0U);
    EXPECT_EQ(Value(CreateValueFixedBinary(false, nullptr, nullptr))->get_Length(), 0U);
}

TEST_F(Values, OfJsonKeepTheirTextGiveMembersAndGoIntoArrays) {
    const Value value = CreateValueJSON(true, nullptr, nullptr);
    EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr);
    const char* const text =
        R"({"s":"a\"\u0000\u20AC", "t":true, "z":null, "o":{ "k":[1.50]}, "n":-1.5e+2 } )";
    value->put_String(text);
    for (const String& other : {String("{"), String(""), String("{}\0", 3)}) {
        EXPECT_EQ(Refusal([&] { value->put_String(other); }), "the text is not JSON") << Text(other);
    }
    EXPECT_EQ(TextOf(value), text);
    const auto* const json = QueryAspect<I_ValueJSON>(value.get());
    ASSERT_NE(json, nullptr);
    EXPECT_EQ(json->get_Member("k"), nullptr);
    EXPECT_TRUE(json->get_Member("z")->get_IsNull());
    EXPECT_EQ(TextOf(json->get_Member("n")), "-1.5e+2");
    const std::uint32_t itemType = value_type::kLong;
    const Value array = CreateValueArray(true, &itemType, nullptr);
    auto* const items = QueryAspect<I_ValueArray>(array.get());
    const Value holder = CreateValueHolder(true, nullptr, nullptr);
    EXPECT_EQ(TextOf(holder), "");
    QueryAspect<I_ValueHolder>(holder.get())->put_Inner(json->get_Member("t"));
    const Value number = CreateValueDouble(false, nullptr, nullptr);
    number->put_Double(1e300);
    const Value infinite = CreateValueFloat(false, nullptr, nullptr);
    infinite->put_Double(-1e300 * 1e300);
    for (const Value& item : {json->get_Member("s"), holder, json->get_Member("z"), json->get_Member("o"),
                              number, infinite, Value(CreateValueByte(false, nullptr, nullptr)),
                              Value(CreateValueJSON(false, nullptr, nullptr)), Value()}) {
        items->AppendItem(item);
    }
    EXPECT_EQ(TextOf(array),
              "[\"a\\\"\\u0000\xE2\x82\xAC\",true,null,{ \"k\":[1.50]},1e+300,\"-Infinity\",0,null,null]");
    EXPECT_EQ(items->get_ItemType(), itemType);
    EXPECT_EQ(items->get_Count(), 9U);
    EXPECT_EQ(items->get_Item(2), holder);
    EXPECT_TRUE(!items->get_Item(0) && !items->get_Item(10) && items->get_Item(1));
    for (const Value& each : {value, array, holder}) {
        each->put_IsNull(true);
        EXPECT_EQ(TextOf(each), "");
    }
    EXPECT_EQ(items->get_Count(), 0U);
    EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr);
    value->put_String("[1]");
    EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr);
}

TEST(EngineLock, FlagsArePerThreadAndInitiallyFalse) {
    gIsGlobalLockTaken.put(true);
    std::thread([] {
        EXPECT_FALSE(gIsGlobalLockTaken.get());
        gIsThisDiagnoseMTThread.put(true);
        EXPECT_FALSE(gIsGlobalLockTaken.get());
    }).join();
    EXPECT_TRUE(gIsGlobalLockTaken.get());
    EXPECT_FALSE(gIsThisDiagnoseMTThread.get());
    gIsGlobalLockTaken.put(false);
}

TEST(EngineLockDeathTest, AbortsOnWrongUse) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    Thread_Mutex_Win* const lock = GetGlobalEngineLock();
    EXPECT_DEATH((lock->lock(), lock->lock()), "locked twice");
    EXPECT_DEATH(lock->unlock(), "doesn't hold it");
}

} // namespace
} // namespace orkit::standin::test
