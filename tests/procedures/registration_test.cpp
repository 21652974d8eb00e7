#include "procedures/registration.h"

#include <thread>

#include "procedure_test.h"
#include "procedures/procedure_frame.h"

extern "C" host_cursor count_arguments_in_c(const procedure_api* api, call_context context,
                                            const host_value* arguments);

namespace orlimbara::procedures::test {

namespace {

class RegistrationTest : public ProcedureTest {};

struct ProcedureCase {
    const char* name;
    int minimum;
    int maximum;
    const char* signature;
    const char* description;
};

constexpr ProcedureCase gExpected[] = {
    {"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]", "Reads a parquet file."},
    {"parquet_schema", 1, 1, "uri", "Returns parquet column schema."},
    {"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata."},
    {"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count."},
    {"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]", "Returns rows from a DuckDB table or view."},
};

TEST_F(RegistrationTest, TellsTheHostOfFiveProceduresInOrder) {
    const auto procedures = orkit::standin::ListProcedures();
    ASSERT_EQ(procedures.size(), std::size(gExpected));
    for (std::size_t index = 0; index < procedures.size(); ++index) {
        EXPECT_EQ(procedures[index].name, gExpected[index].name);
        EXPECT_EQ(procedures[index].minimumArguments, gExpected[index].minimum);
        EXPECT_EQ(procedures[index].maximumArguments, gExpected[index].maximum);
        EXPECT_EQ(procedures[index].signature, gExpected[index].signature);
        EXPECT_EQ(procedures[index].description, gExpected[index].description);
    }
}

TEST_F(RegistrationTest, GoesOnAfterEachRefusal) {
    for (std::uint32_t refused = 0; refused < std::size(gExpected); ++refused) {
        orkit::standin::ForgetProcedures();
        FailProcedureEntry(ProcedureEntry::RegisterProcedure, refused + 1);
        const ProcedureContext context;
        RegisterProcedures(context.get_Handle());
        const std::string name = gExpected[refused].name;
        EXPECT_EQ(context.get_Errors(), std::vector<std::string>{"Cannot register " + name + " procedure."});
        const auto procedures = orkit::standin::ListProcedures();
        EXPECT_EQ(procedures.size(), std::size(gExpected) - 1);
        for (const auto& procedure : procedures) {
            EXPECT_NE(procedure.name, name);
        }
    }
}

TEST_F(RegistrationTest, ReportsEveryKindOfFailureOnceAndGivesNoCursor) {
    struct FailureCase {
        void (*fail)();
        std::string expected;
    };
    for (const FailureCase& each : {
             FailureCase{[] { throw std::runtime_error("what happened"); }, "what happened"},
             {[] { throw std::bad_alloc(); }, std::bad_alloc().what()},
             {[] { throw 5; }, "Unexpected error."},
             {[] { throw "text"; }, "Unexpected error."},
         }) {
        const ProcedureContext context;
        EXPECT_EQ(RunInProcedureFrame(context.get_Handle(), "Unexpected error.",
                                      [&] {
                                          each.fail();
                                          return host_cursor();
                                      }),
                  nullptr);
        EXPECT_EQ(context.get_Errors(), std::vector<std::string>{each.expected});
        EXPECT_EQ(RunInCursorFrame(-1,
                                   [&] {
                                       each.fail();
                                       return 0;
                                   }),
                  -1);
    }
}

TEST_F(RegistrationTest, SharesNothingBetweenCallsOnSeveralThreads) {
    const std::string path = WriteParquet("t.parquet", "SELECT range AS n FROM range(5000)");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&path, thread] {
            for (int round = 0; round < 3; ++round) {
                const ProcedureValue limit = Int(1000 * (thread + 1));
                const std::vector<Row> rows = Fetch("fetch_parquet", {Text(path), Null(), Null(), limit});
                EXPECT_EQ(rows.size(), 1000U * static_cast<unsigned>(thread + 1));
                EXPECT_EQ(ErrorOf("fetch_parquet", {Null()}), "fetch_parquet requires a text argument.");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(RegistrationTest, MeetsTheHostAsPlainCSeesIt) {
    const ProcedureContext context({Text("a"), Null(), ProcedureValue(), ProcedureValue::Array({})});
    EXPECT_EQ(count_arguments_in_c(GetProcedureApi(), context.get_Handle(), context.get_ArgumentHandles()),
              nullptr);
    EXPECT_EQ(context.get_Errors(), std::vector<std::string>{"t--a"});
}

TEST_F(RegistrationTest, EndsTheProcessWhenAReservedEntryIsCalled) {
    EXPECT_DEATH(GetProcedureApi()->reserved_0[0](), "entry 0 is reserved");
    EXPECT_DEATH(GetProcedureApi()->reserved_43[0](), "entry 43 is reserved");
}

} // namespace

} // namespace orlimbara::procedures::test
