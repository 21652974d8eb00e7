#include "host/json.h"

#include <string>
#include <vector>

#include "standin_test.h"

namespace orkit::standin {

namespace {

class JsonTexts : public StandinTest {};

TEST_F(JsonTexts, AreValidExactlyWhenTheWholeTextIsOneValue) {
    struct Case {
        const char* mText;
        bool mIsValid;
    };
    const std::vector<Case> cases = {
        {nullptr, false},
        {"", false},
        {"  ", false},
        {" {} ", true},
        {"[1,2]", true},
        {"null", true},
        {"-0.5e+3", true},
        {"\"\xF0\x9F\x98\x80\"", true},
        {"\"\\ud83d\\ude00\"", true},
        {"123456789012345678901234567890", true},
        {"1e400", false},
        {"{}{}", false},
        {"{} x", false},
        {"{\"a\":1,}", false},
        {"[1,]", false},
        {"{a:1}", false},
        {"{'a':1}", false},
        {"01", false},
        {"+1", false},
        {".5", false},
        {"1.", false},
        {"nul", false},
        {"NaN", false},
        {"\"tab\there\"", false},
        {"\"\\x41\"", false},
        {"\"\\ud83d\"", false},
        {"\"\\ude00\"", false},
        {"\"open", false},
        {"[", false},
        {"// comment\n1", false},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(Json(test.mText).isValid(), test.mIsValid) << (test.mText ? test.mText : "null pointer");
    }
}

TEST_F(JsonTexts, GiveTheMembersOfTheTopObject) {
    const Json json(R"( { "message" : "a \"b\"\n\u20ac", "position":" 12", "number":-1.50e+2,
        "big":123456789012345678901234567890, "yes":true, "nothing":null, "list":[1, [2 ] ,{"deep":3}],
        "object" : { "deep" : "]}" }, "twice":1, "twice":2, "":"empty name", "zero\u0000in":"z",
        "number":7 } )");
    ASSERT_TRUE(json.isValid());
    const std::vector<std::pair<String, const char*>> members = {
        {"message", "a \"b\"\n\xE2\x82\xAC"},
        {"position", " 12"},
        {"number", "-1.50e+2"},
        {"big", "123456789012345678901234567890"},
        {"yes", "true"},
        {"nothing", ""},
        {"list", "[1, [2 ] ,{\"deep\":3}]"},
        {"object", "{ \"deep\" : \"]}\" }"},
        {"twice", "1"},
        {"", "empty name"},
        {String("zero\0in", 7), "z"},
        {"zero", ""},
        {"deep", ""},
        {"Message", ""},
    };
    for (const auto& [name, text] : members) {
        EXPECT_EQ(Narrow(json.get_JsonValue(name)), text) << Narrow(name);
    }
}

TEST_F(JsonTexts, ThatAreNoObjectHaveNoMembers) {
    for (const char* const text : {"[{\"a\":1}]", "\"a\"", "7", "{\"a\":1", ""}) {
        EXPECT_TRUE(Json(text).get_JsonValue("a").isEmpty()) << text;
    }
}

// A reader that calls itself for each level would run out of stack.
TEST_F(JsonTexts, MayNestAMillionLevels) {
    constexpr std::size_t kDepth = 1'000'000;
    const std::string arrays = std::string(kDepth, '[') + std::string(kDepth, ']');
    EXPECT_TRUE(Json(arrays.c_str()).isValid());
    EXPECT_FALSE(Json(std::string(kDepth, '[').c_str()).isValid());
    std::string objects = "1";
    for (std::size_t i = 0; i < kDepth / 10; ++i) {
        objects += '}';
    }
    std::string bomb;
    for (std::size_t i = 0; i < kDepth / 10; ++i) {
        bomb += "{\"a\":";
    }
    const Json json((bomb + objects).c_str());
    ASSERT_TRUE(json.isValid());
    EXPECT_EQ(json.get_JsonValue("a").get_Length(), bomb.size() + objects.size() - 6);
}

} // namespace
} // namespace orkit::standin
