#include "procedures/arguments.h"

#include <cerrno>
#include <limits>

#include "procedure_test.h"
#include "procedures/fetch_parquet.h"

namespace orlimbara::procedures::test {

namespace {

class ArgumentsTest : public ProcedureTest {};

/// What an operation gives, or the message it raises.
struct Outcome {
    std::string text;
    bool is_refusal = false;
    bool operator==(const Outcome&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
        return stream << (outcome.is_refusal ? "refusal: " : "") << outcome.text;
    }
};

Outcome Gives(std::string text) { return {std::move(text), false}; }
Outcome Refuses(std::string text) { return {std::move(text), true}; }

template <typename Operation>
Outcome OutcomeOf(Operation&& operation) {
    try {
        return Gives(operation());
    } catch (const std::exception& failure) {
        return Refuses(failure.what());
    }
}

struct ValueCase {
    ProcedureValue value;
    Outcome expected;
};

TEST_F(ArgumentsTest, TakeAMandatoryTextUntrimmedOrRefuse) {
    const Outcome refusal = Refuses("parquet_count requires a text argument.");
    const ProcedureContext context;
    for (const ValueCase& each : {
             ValueCase{Text(" a "), Gives(" a ")},
             {Text(" "), Gives(" ")},
             {Int(-12), Gives("-12")},
             {ProcedureValue::Double(0.5), Gives("0.5")},
             {ProcedureValue::Binary("\xFF"), Gives("\xFF")},
             {Text(""), refusal},
             {Null(), refusal},
             {ProcedureValue(), refusal},
             {ProcedureValue::Array({Text("a")}), refusal},
         }) {
        EXPECT_EQ(OutcomeOf([&] {
                      return RequireTextArgument(context.get_Handle(), each.value.get_Handle(),
                                                 "parquet_count");
                  }),
                  each.expected);
    }
}

TEST_F(ArgumentsTest, TakeABlankOptionalTextForAbsent) {
    const ProcedureContext context;
    for (const ValueCase& each : {
             ValueCase{Text(" a > 1\n"), Gives("a > 1")},
             {Text(" \t"), Gives("")},
             {Null(), Gives("")},
             {ProcedureValue(), Gives("")},
             {ProcedureValue::Bool(true), Gives("true")},
         }) {
        EXPECT_EQ(Gives(OptionalTextArgument(context.get_Handle(), each.value.get_Handle())), each.expected);
    }
}

TEST_F(ArgumentsTest, MakeAColumnListOfTextsAndArrays) {
    const ProcedureContext context;
    const auto array = [](std::vector<ProcedureValue> elements) {
        return ProcedureValue::Array(std::move(elements));
    };
    for (const ValueCase& each : {
             ValueCase{ProcedureValue(), Gives("*")},
             {Null(), Gives("*")},
             {Text(" * "), Gives("*")},
             {Text(""), Gives("*")},
             {Text(" ,, "), Gives("*")},
             {Text("a,, b ,"), Gives(R"("a", "b")")},
             {Text("*, a"), Gives(R"("*", "a")")},
             {Text("a.b"), Gives(R"("a.b")")},
             {Text(R"("a")"), Gives(R"("""a""")")},
             {Text("count(*)"), Gives("\"count(*)\"")},
             {Int(12), Gives(R"("12")")},
             {array({}), Gives("*")},
             {array({Null(), Text("  "), ProcedureValue(), array({})}), Gives("*")},
             {array({Text("*")}), Gives(R"("*")")},
             {array({Text(" a,b "), Null(), Int(7)}), Gives(R"("a,b", "7")")},
         }) {
        EXPECT_EQ(Gives(BuildColumnList(context.get_Handle(), each.value.get_Handle())), each.expected);
    }
}

TEST_F(ArgumentsTest, ReadALimitOrSayWhatIsWrongWithIt) {
    const Outcome negative = Refuses("limit must not be negative");
    const Outcome not_integer = Refuses("limit must be an integer");
    const Outcome no_number = Refuses("invalid stoll argument");
    const Outcome out_of_range = Refuses("stoll argument out of range");
    const ProcedureContext context;
    errno = ERANGE; // what an earlier call left must not matter
    for (const ValueCase& each : {
             ValueCase{ProcedureValue(), Gives("")},
             {Null(), Gives("")},
             {Int(0), Gives("0")},
             {Int(std::numeric_limits<std::int64_t>::max()), Gives("9223372036854775807")},
             {Int(-1), negative},
             {ProcedureValue::UInt64(std::numeric_limits<std::uint64_t>::max()),
              Gives("18446744073709551615")},
             {ProcedureValue::Double(3), Gives("3")},
             {ProcedureValue::Double(3.5), not_integer},
             {ProcedureValue::Double(1e30), not_integer},
             {ProcedureValue::Bool(true), no_number},
             {ProcedureValue::Array({}), no_number},
             {Text(" 42 \n"), Gives("42")},
             {Text("+7"), Gives("7")},
             {Text("-0"), Gives("0")},
             {Text("007"), Gives("7")},
             {Text("9223372036854775807"), Gives("9223372036854775807")},
             {Text("9223372036854775808"), out_of_range},
             {Text("-9223372036854775809"), out_of_range},
             {Text("12345678901234567890x"), out_of_range},
             {Text("-5"), negative},
             {Text("-5x"), not_integer},
             {Text("1e3"), not_integer},
             {Text("0x10"), not_integer},
             {Text("1 2"), not_integer},
             {Text({"4\0", 2}), not_integer},
             {Text(""), no_number},
             {Text("abc"), no_number},
             {Text("+"), no_number},
             {Text("- 1"), no_number},
         }) {
        EXPECT_EQ(OutcomeOf([&] { return ParseLimit(context.get_Handle(), each.value.get_Handle()); }),
                  each.expected)
            << each.value;
    }
}

TEST_F(ArgumentsTest, BuildTheSelectOfAParquetFile) {
    struct SelectCase {
        Arguments arguments;
        Outcome expected;
    };
    for (const SelectCase& each : {
             SelectCase{{}, Refuses("fetch_parquet requires parquet file path.")},
             {{Null(), Text("a")}, Refuses("fetch_parquet requires a text argument.")},
             {{Text(" f's ")}, Gives("SELECT * FROM read_parquet(' f''s ')")},
             {{Text("f"), Null(), Text(" ")}, Gives("SELECT * FROM read_parquet('f')")},
             {{Text("f"), Text("a,b"), Text(" a = 'x' OR (b\n")},
              Gives(R"(SELECT "a", "b" FROM read_parquet('f') WHERE a = 'x' OR (b)")},
         }) {
        const ProcedureContext context(each.arguments);
        EXPECT_EQ(OutcomeOf([&] {
                      return BuildParquetSelect(context.get_Handle(), context.get_ArgumentHandles());
                  }),
                  each.expected);
    }
}

} // namespace

} // namespace orlimbara::procedures::test
