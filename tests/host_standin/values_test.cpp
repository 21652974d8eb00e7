#include "host/value.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "standin_test.h"

namespace orkit::standin {

namespace {

using namespace orkit::orsql;
using Value = smart_ptr<I_Value>;
using Factory = I_Value* (*)(bool, const void*, const void*);

class Values : public StandinTest {};

struct NumberKind {
    const char* mName;
    Factory mFactory;
    std::uint32_t mType;
};

constexpr std::array<NumberKind, 10> kNumberKinds = {{
    {"Boolean", CreateValueBoolean, value_type::kBoolean},
    {"Byte", CreateValueByte, value_type::kByte},
    {"Short", CreateValueShort, value_type::kShort},
    {"UShort", CreateValueUShort, value_type::kUShort},
    {"Long", CreateValueLong, value_type::kLong},
    {"ULong", CreateValueULong, value_type::kULong},
    {"LLong", CreateValueLLong, value_type::kLLong},
    {"ULLong", CreateValueULLong, value_type::kULLong},
    {"Float", CreateValueFloat, value_type::kFloat},
    {"Double", CreateValueDouble, value_type::kDouble},
}};

// Sets one content through each setter and reads it through each getter: one wrong line among the twenty of
// a kind shows.
TEST_F(Values, OfNumbersKeepASmallNumberInEveryWidth) {
    const std::vector<std::function<void(I_Value&)>> setters = {
        [](I_Value& ioValue) { ioValue.put_Boolean(true); }, [](I_Value& ioValue) { ioValue.put_Byte(1); },
        [](I_Value& ioValue) { ioValue.put_Short(1); },      [](I_Value& ioValue) { ioValue.put_UShort(1); },
        [](I_Value& ioValue) { ioValue.put_Long(1); },       [](I_Value& ioValue) { ioValue.put_ULong(1); },
        [](I_Value& ioValue) { ioValue.put_LLong(1); },      [](I_Value& ioValue) { ioValue.put_ULLong(1); },
        [](I_Value& ioValue) { ioValue.put_Float(1); },      [](I_Value& ioValue) { ioValue.put_Double(1); },
    };
    for (const NumberKind& kind : kNumberKinds) {
        SCOPED_TRACE(kind.mName);
        for (const auto& set : setters) {
            const Value value = kind.mFactory(true, nullptr, nullptr);
            EXPECT_EQ(value->get_Type(), kind.mType);
            EXPECT_FALSE(value->get_IsNull());
            EXPECT_EQ(value->get_Double(), 0.0);
            value->put_IsNull(true);
            set(*value);
            EXPECT_FALSE(value->get_IsNull());
            EXPECT_EQ(value->get_Boolean(), true);
            EXPECT_EQ(value->get_Byte(), 1);
            EXPECT_EQ(value->get_Short(), 1);
            EXPECT_EQ(value->get_UShort(), 1);
            EXPECT_EQ(value->get_Long(), 1);
            EXPECT_EQ(value->get_ULong(), 1U);
            EXPECT_EQ(value->get_LLong(), 1);
            EXPECT_EQ(value->get_ULLong(), 1U);
            EXPECT_EQ(value->get_Float(), 1.0F);
            EXPECT_EQ(value->get_Double(), 1.0);
            value->put_IsNull(true);
            EXPECT_EQ(value->get_Double(), 0.0);
            EXPECT_FALSE(value->get_Boolean());
            EXPECT_EQ(TextOf(value), "");
        }
    }
}

TEST_F(Values, OfNumbersAreCutToTheWidthThatIsAsked) {
    const Value whole = CreateValueLLong(false, nullptr, nullptr);
    whole->put_LLong(-1);
    EXPECT_EQ(whole->get_Byte(), 255);
    EXPECT_EQ(whole->get_ULLong(), std::numeric_limits<std::uint64_t>::max());
    whole->put_ULLong(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(whole->get_LLong(), -1);
    whole->put_LLong(0x1'0000'0002);
    EXPECT_EQ(whole->get_Long(), 2);
    EXPECT_TRUE(whole->get_Boolean());

    struct Case {
        double mNumber;
        std::int64_t mLLong;
        std::uint64_t mULLong;
        std::uint8_t mByte;
        std::int16_t mShort;
    };
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    constexpr auto kUMax = std::numeric_limits<std::uint64_t>::max();
    const std::vector<Case> cases = {
        {2.9, 2, 2, 2, 2},
        {-2.9, -2, 0, 0, -2},
        {255.9, 255, 255, 255, 255},
        {256, 256, 256, 255, 256},
        {-32768.5, -32768, 0, 0, -32768},
        {9223372036854775807.0, kMax, std::uint64_t{1} << 63, 255, 32767},
        {-9223372036854775808.0, kMin, 0, 0, -32768},
        {1e300, kMax, kUMax, 255, 32767},
        {-1e300, kMin, 0, 0, -32768},
        {std::numeric_limits<double>::infinity(), kMax, kUMax, 255, 32767},
        {std::numeric_limits<double>::quiet_NaN(), 0, 0, 0, 0},
    };
    const Value real = CreateValueDouble(false, nullptr, nullptr);
    for (const Case& test : cases) {
        real->put_Double(test.mNumber);
        EXPECT_EQ(real->get_LLong(), test.mLLong) << test.mNumber;
        EXPECT_EQ(real->get_ULLong(), test.mULLong) << test.mNumber;
        EXPECT_EQ(real->get_Byte(), test.mByte) << test.mNumber;
        EXPECT_EQ(real->get_Short(), test.mShort) << test.mNumber;
    }
}

TEST_F(Values, HaveATextForEachKind) {
    const auto make = [](Factory inFactory, const std::function<void(I_Value&)>& inSet) {
        const Value value = inFactory(false, nullptr, nullptr);
        inSet(*value);
        return TextOf(value);
    };
    EXPECT_EQ(make(CreateValueBoolean, [](I_Value& ioValue) { ioValue.put_Boolean(true); }), "true");
    EXPECT_EQ(make(CreateValueByte, [](I_Value& ioValue) { ioValue.put_Byte(255); }), "255");
    EXPECT_EQ(make(CreateValueLLong, [](I_Value& ioValue) { ioValue.put_LLong(INT64_MIN); }),
              "-9223372036854775808");
    EXPECT_EQ(make(CreateValueFloat, [](I_Value& ioValue) { ioValue.put_Float(0.1F); }), "0.1");
    EXPECT_EQ(make(CreateValueDouble, [](I_Value& ioValue) { ioValue.put_Double(-1e308 * 10); }),
              "-Infinity");

    struct DateCase {
        std::int32_t mYear;
        const char* mText;
    };
    for (const auto& [year, text] :
         {DateCase{2024, "2024-02-29"}, DateCase{0, "0000-02-29"}, DateCase{9999, "9999-02-29"},
          DateCase{10000, "+10000-02-29"}, DateCase{-1, "-00001-02-29"},
          DateCase{INT32_MIN, "-2147483648-02-29"}}) {
        const Value date = CreateValueDate(true, nullptr, nullptr);
        QueryAspect<I_ValueDate>(date.get())->put_Date(year, 2, 29);
        EXPECT_EQ(TextOf(date), text);
        const Value both = CreateValueDateTime(false, nullptr, nullptr);
        QueryAspect<I_ValueDateTime>(both.get())->put_DateTime(year, 2, 29, 23, 5, 59, 7);
        EXPECT_EQ(TextOf(both), std::string(text) + " 23:05:59.007");
    }
    const Value time = CreateValueTime(false, nullptr, nullptr);
    QueryAspect<I_ValueTime>(time.get())->put_Time(1, 2, 3, 45);
    EXPECT_EQ(TextOf(time), "01:02:03.045");
}

TEST_F(Values, OfDatesGiveTheirPartsBack) {
    std::int32_t year = 1;
    std::array<std::uint16_t, 6> parts{};
    const Value both = CreateValueDateTime(true, nullptr, nullptr);
    auto* const aspect = QueryAspect<I_ValueDateTime>(both.get());
    const auto read = [&] {
        aspect->get_DateTime(year, parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
        return parts;
    };
    aspect->put_DateTime(-44, 300, 15, 12, 13, 14, 999);
    EXPECT_EQ(read(), (std::array<std::uint16_t, 6>{300, 15, 12, 13, 14, 999}));
    EXPECT_EQ(year, -44);
    both->put_IsNull(true);
    EXPECT_EQ(read(), (std::array<std::uint16_t, 6>{}));
    const Value date = CreateValueDate(false, nullptr, nullptr);
    QueryAspect<I_ValueDate>(date.get())->put_Date(2024, 2, 29);
    QueryAspect<I_ValueDate>(date.get())->get_Date(year, parts[0], parts[1]);
    EXPECT_EQ(year * 10000 + parts[0] * 100 + parts[1], 20240229);
    const Value time = CreateValueTime(false, nullptr, nullptr);
    QueryAspect<I_ValueTime>(time.get())->put_Time(1, 2, 3, 4);
    QueryAspect<I_ValueTime>(time.get())->get_Time(parts[0], parts[1], parts[2], parts[3]);
    EXPECT_EQ(parts[0] * 1000 + parts[1] * 100 + parts[2] * 10 + parts[3], 1234);
}

TEST_F(Values, OfTextKeepToTheirRoom) {
    const Value value = CreateValueString(false, nullptr, nullptr);
    EXPECT_EQ(Refusal([&] { value->put_String(""); }), "the text doesn't fit the room of the value");
    value->put_MaxLength(2);
    value->put_String("");
    EXPECT_NE(Refusal([&] { value->put_String("x"); }), "");
    value->put_MaxLength(8);
    value->put_String(u"\U0001F600x"); // two code units and one
    EXPECT_EQ(value->get_Length(), 6U);
    EXPECT_NE(Refusal([&] { value->put_String("four"); }), "");
    EXPECT_EQ(TextOf(value), "\xF0\x9F\x98\x80x");
    EXPECT_NE(Refusal([&] { value->put_MaxLength(7); }), "");
    String text;
    value->get_String(text, 2);
    EXPECT_EQ(Narrow(text), "\xF0\x9F\x98\x80");
    value->get_String(text, 0);
    EXPECT_TRUE(text.isEmpty());
}

TEST_F(Values, OfTextAreReadAsTheNumberTheyBeginWith) {
    const Value value = CreateValueString(true, nullptr, nullptr);
    value->put_MaxLength(100);
    value->put_String(" -300.75 apples");
    EXPECT_EQ(value->get_LLong(), -300);
    EXPECT_EQ(value->get_Short(), -300);
    EXPECT_EQ(value->get_Byte(), static_cast<std::uint8_t>(-300));
    EXPECT_EQ(value->get_Double(), -300.75);
    EXPECT_EQ(value->get_Float(), -300.75F);
    EXPECT_TRUE(value->get_Boolean());
    value->put_String("18446744073709551615");
    EXPECT_EQ(value->get_ULLong(), std::numeric_limits<std::uint64_t>::max());
    value->put_String("true");
    EXPECT_FALSE(value->get_Boolean());
    value->put_String("7");
    value->put_IsNull(true);
    EXPECT_EQ(value->get_Long(), 0);
    const String text("red");
    EXPECT_EQ(TextOf(CreateValueEnum(false, &text, nullptr)), "red");
}

TEST_F(Values, OfBytesKeepToTheirLengthAndRoom) {
    const std::uint32_t length = 3;
    const Value value = CreateValueFixedBinary(true, &length, nullptr);
    auto* const binary = QueryAspect<I_ValueBinary>(value.get());
    EXPECT_EQ(value->get_Length(), 3U);
    EXPECT_EQ(TextOf(value), "000000");
    EXPECT_NE(Refusal([&] { binary->WriteBytes("\1\2\3\4", 4); }), "");
    binary->WriteBytes("\xCA\xFE\0", 3);
    EXPECT_EQ(TextOf(value), "cafe00");
    EXPECT_NE(Refusal([&] { value->put_Length(4); }), "");
    EXPECT_NE(Refusal([&] { value->put_MaxLength(2); }), "");
    value->put_MaxLength(5);
    value->put_Length(5);
    EXPECT_EQ(TextOf(value), "cafe000000");
    value->put_Length(1);
    value->put_Length(2);
    EXPECT_EQ(TextOf(value), "ca00");
    std::array<char, 4> buffer{'#', '#', '#', '#'};
    EXPECT_EQ(binary->ReadBytes(buffer.data(), 4), 2U);
    EXPECT_EQ(buffer[2], '#');
    EXPECT_EQ(binary->ReadBytes(buffer.data(), 1), 1U);
    value->put_IsNull(true);
    EXPECT_EQ(binary->ReadBytes(buffer.data(), 4), 0U);
    EXPECT_EQ(Value(CreateValueFixedBinary(false, nullptr, nullptr))->get_Length(), 0U);
}

TEST_F(Values, OfJsonKeepTheirTextAndGiveMembers) {
    const Value value = CreateValueJSON(false, nullptr, nullptr);
    const char* const text = R"( {"s":"a\u0000b" , "n": 1.50, "t":true,"z":null,"o":{ "x":[1]},"a":[ ]} )";
    value->put_String(text);
    EXPECT_EQ(TextOf(value), text);
    const auto* const json = QueryAspect<I_ValueJSON>(value.get());
    ASSERT_NE(json, nullptr);

    String decoded;
    json->get_Member("s")->get_String(decoded, -1);
    EXPECT_EQ(decoded, String("a\0b", 3));
    EXPECT_EQ(TextOf(json->get_Member("n")), "1.50");
    EXPECT_EQ(json->get_Member("n")->get_Double(), 1.5);
    EXPECT_TRUE(json->get_Member("t")->get_Boolean());
    EXPECT_EQ(json->get_Member("t")->get_Type(), value_type::kBoolean);
    EXPECT_TRUE(json->get_Member("z")->get_IsNull());
    EXPECT_EQ(TextOf(json->get_Member("o")), "{ \"x\":[1]}");
    EXPECT_NE(QueryAspect<I_ValueJSON>(json->get_Member("o").get()), nullptr);
    EXPECT_EQ(TextOf(json->get_Member("a")), "[ ]");
    EXPECT_EQ(json->get_Member("x"), nullptr);
    EXPECT_EQ(json->get_Member("S"), nullptr);
}

TEST_F(Values, OfJsonRefuseOtherTextsAndStayAsTheyWere) {
    const Value value = CreateValueJSON(true, nullptr, nullptr);
    EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr);
    value->put_String("{\"a\":1}");
    for (const String& text : {String("{"), String(""), String("{}\0", 3), String("{\"a\":\"\0\"}", 9)}) {
        EXPECT_EQ(Refusal([&] { value->put_String(text); }), "the text is not JSON") << Narrow(text);
    }
    EXPECT_EQ(TextOf(value), "{\"a\":1}");
    EXPECT_NE(QueryAspect<I_ValueJSON>(value.get()), nullptr);
    value->put_IsNull(true);
    EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr);
    for (const char* const text : {"[1]", "\"{}\"", "12", "null"}) {
        value->put_String(text);
        EXPECT_EQ(QueryAspect<I_ValueJSON>(value.get()), nullptr) << text;
    }
}

TEST_F(Values, HoldOthers) {
    const Value number = CreateValueLong(false, nullptr, nullptr);
    number->put_Long(7);
    const Value holder = CreateValueHolder(true, nullptr, nullptr);
    auto* const held = QueryAspect<I_ValueHolder>(holder.get());
    EXPECT_EQ(held->get_Inner(), nullptr);
    EXPECT_EQ(TextOf(holder), "");
    held->put_Inner(number);
    EXPECT_EQ(held->get_Inner(), number);
    EXPECT_EQ(TextOf(holder), "7");

    const std::uint32_t itemType = value_type::kLong;
    const Value array = CreateValueArray(false, &itemType, nullptr);
    auto* const items = QueryAspect<I_ValueArray>(array.get());
    EXPECT_EQ(items->get_ItemType(), itemType);
    EXPECT_EQ(items->get_Item(1), nullptr);
    items->AppendItem(number);
    items->AppendItem(nullptr);
    EXPECT_EQ(items->get_Count(), 2U);
    EXPECT_EQ(items->get_Item(0), nullptr);
    EXPECT_EQ(items->get_Item(1), number);
    EXPECT_EQ(items->get_Item(2), nullptr);
    EXPECT_EQ(number->get_RefsCount(), 3U);
}

TEST_F(Values, AnswerOnlyToTheirOwnAspect) {
    const std::array<Factory, 9> factories = {CreateValueLong,   CreateValueString, CreateValueJSON,
                                              CreateValueDate,   CreateValueTime,   CreateValueDateTime,
                                              CreateValueHolder, CreateValueArray,  CreateValueFixedBinary};
    const std::array<std::uint32_t, 9> own = {0, 0, 0, 2203, 2205, 2204, 2211, 2212, 2202};
    for (std::size_t i = 0; i < factories.size(); ++i) {
        const Value value = factories[i](true, nullptr, nullptr);
        for (const std::uint32_t id : {2202U, 2203U, 2204U, 2205U, 2211U, 2212U, 2213U, 402U, 0U}) {
            EXPECT_EQ(value->QueryInterface(id) != nullptr, id != 0 && id == own[i]) << i << ' ' << id;
        }
    }
}

TEST_F(Values, RefuseWhatTheirKindHasNoUseFor) {
    const Value notNullable = CreateValueLong(false, nullptr, nullptr);
    EXPECT_EQ(Refusal([&] { notNullable->put_IsNull(true); }), "this value can't be null");
    EXPECT_NE(Refusal([&] { notNullable->put_String("1"); }), "");
    EXPECT_NE(Refusal([&] { notNullable->put_Length(1); }), "");
    const Value date = CreateValueDate(true, nullptr, nullptr);
    EXPECT_NE(Refusal([&] { date->get_Long(); }), "");
    EXPECT_NE(Refusal([&] { date->put_Double(1); }), "");
    const Value text = CreateValueString(true, nullptr, nullptr);
    EXPECT_NE(Refusal([&] { text->put_Long(1); }), "");
}

TEST_F(Values, CreationFailsOnPurposeWithoutALeak) {
    FailCall(Fault::ValueCreation, 3);
    std::vector<Value> made;
    EXPECT_THROW(
        {
            for (int i = 0; i < 5; ++i) {
                made.emplace_back(CreateValueLong(false, nullptr, nullptr));
            }
        },
        std::bad_alloc);
    EXPECT_EQ(made.size(), 2U);
    EXPECT_EQ(CountLiveObjects().mValues, 2);
    made.emplace_back(CreateValueJSON(false, nullptr, nullptr));
}

TEST_F(Values, AreMadeSharedAndDroppedByManyThreads) {
    const Value shared = CreateValueJSON(false, nullptr, nullptr);
    shared->put_String("{\"a\":1}");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([shared] {
            for (int round = 0; round < 2000; ++round) {
                const Value mine = shared;
                // Reading beside other readers needs no lock.
                ASSERT_EQ(QueryAspect<I_ValueJSON>(mine.get())->get_Member("a")->get_Long(), 1);
                const Value own = CreateValueLLong(false, nullptr, nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared->get_RefsCount(), 1U);
    EXPECT_EQ(CountLiveObjects().mValues, 1);
}

} // namespace
} // namespace orkit::standin
