// objects MODE SECONDS [SEED]: stress tests of the module's objects. Each round is a process of its own, at
// whose end nothing may be alive.
//
//   memory     makes each allocation of each step fail once: the call must throw because memory ran out,
//              succeed when it is repeated, and give the same as in a process with enough memory
//   lifetimes  takes random steps with random objects; built for the address sanitizer
//   races      the same on four threads that share the objects; built for the thread sanitizer

#include "tests_support/failing_new.h"

#include <cstdio>
#include <ctime>
#include <mutex>
#include <random>
#include <regex>
#include <thread>
#include <tuple>

#include <sys/wait.h>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using standin::ProcedureValue;

bool gIsRandom = false;
thread_local std::mt19937 gChance;

std::uint32_t Pick(std::uint32_t inCount) {
    return gIsRandom ? static_cast<std::uint32_t>(gChance() % inCount) : 0;
}

/// Calls, and calls again where an allocation that was made to fail made the call fail.
template <class Call>
auto Do(const Call& inCall) {
    const bool mayFail = gAllocationsUntilFailure != 0;
    std::string failure;
    try {
        return inCall();
    } catch (const xException& error) {
        failure = mayFail && error.get_Text(1) ? Text(*error.get_Text(1)) : throw;
    } catch (const std::exception& error) {
        failure = mayFail ? error.what() : throw;
    }
    // The second is DuckDB's; the last two are what the module says where its host gives no text, or takes no
    // cursor.
    static const std::regex reasons(
        "bad_alloc|Allocation failure|Memory|requires a text argument|Unable to create (DuckDB )?cursor");
    if (gAllocationsUntilFailure != 0 || !std::regex_search(failure, reasons)) {
        throw std::logic_error("not a failure of memory: " + failure);
    }
    return inCall();
}

std::string Path(const char* inName) {
    static const tests_support::TempFolder folder;
    return folder / inName;
}
smart_ptr<I_Location> At(const char* inName) { return standin::MakeLocation(Wide(Path(inName))); }

std::string Walk(const Cursor& inCursor) {
    std::string text;
    text.reserve(100000); // no failure of this program's own may come between two records
    for (std::uint32_t i = 0; i < inCursor->get_ColumnCount(); ++i) {
        text += Text(inCursor->get_ColumnName(i)) + ' ' + Text(inCursor->get_ColumnTypeName(i)) + '|';
    }
    while (Do([&] { return inCursor->NextRecord(); })) {
        for (std::uint32_t i = 0; i < inCursor->get_ColumnCount(); ++i) {
            const Value value = Do([&] { return inCursor->get_Value(i); });
            text += Do([&] { return Text(value) + '|'; });
        }
    }
    return text;
}

std::string Walk(QueryResult inResult) {
    std::string text;
    text.reserve(500000);
    while (inResult) {
        text += std::to_string(inResult->get_ResultFlags()) + ' ' +
                std::to_string(inResult->get_RowsChanged()) + '|';
        if (const Cursor cursor = inResult->get_Cursor()) {
            Do([&] { text += Walk(cursor); });
        }
        inResult = inResult->get_NextResult(); // what fails here ends the chain
    }
    return text;
}

std::string Call(const char* inProcedure, const std::vector<ProcedureValue>& inArguments) {
    std::string text;
    standin::ProcedureCursor cursor;
    Do([&] {
        standin::ProcedureAnswer answer = standin::CallProcedure(inProcedure, inArguments);
        cursor =
            answer.errors.empty() ? std::move(answer.cursor) : throw std::runtime_error(answer.errors[0]);
    });
    while (Do([&] { return cursor.NextRow(); })) {
        for (std::int32_t i = 0; i < static_cast<std::int32_t>(cursor.get_ColumnCount()); ++i) {
            const ProcedureValue value = Do([&] { return cursor.ReadValue(i); });
            const std::uint32_t left = std::exchange(gAllocationsUntilFailure, 0); // or the text is empty
            text += value.AsText() + '|';
            gAllocationsUntilFailure = left;
        }
    }
    return text;
}

/// Binds to one parameter after the other.
template <class... Bindings>
void BindEach(I_DuckDBStatement& ioStatement, const Bindings&... inBindings) {
    std::uint32_t index = 0;
    const auto bind = [&]<class... P>(void (I_DuckDBStatement::*inBind)(std::uint32_t, P...),
                                      auto... inArgs) {
        ++index;
        Do([&] { (ioStatement.*inBind)(index, static_cast<P>(inArgs)...); });
    };
    (std::apply(bind, inBindings), ...);
}

void BindEveryType(I_DuckDBStatement& ioStatement) {
    using S = I_DuckDBStatement;
    using std::tuple;
    static const std::uint8_t bytes[] = {3, 0b11100101, 0b10000000};
    BindEach(ioStatement, tuple(&S::BindNull), tuple(&S::BindBoolean, 1), tuple(&S::BindTinyInt, -1),
             tuple(&S::BindUTinyInt, 2), tuple(&S::BindSmallInt, -3), tuple(&S::BindUSmallInt, 4),
             tuple(&S::BindInteger, -5), tuple(&S::BindUInteger, 6), tuple(&S::BindBigInt, -7),
             tuple(&S::BindUBigInt, 8), tuple(&S::BindHugeInt, 9, -1), tuple(&S::BindUHugeInt, 10, 1),
             tuple(&S::BindDecimal, 38, 1, 11, 0), tuple(&S::BindFloat, 1.5), tuple(&S::BindDouble, 2.5),
             tuple(&S::BindDate, 2024, 2, 29), tuple(&S::BindTime, 12), tuple(&S::BindTimeNs, 13),
             tuple(&S::BindTimeTz, 14, 3600), tuple(&S::BindTimestamp, 15), tuple(&S::BindTimestampTz, 16),
             tuple(&S::BindTimestampS, 17), tuple(&S::BindTimestampMs, 18), tuple(&S::BindTimestampNs, 19),
             tuple(&S::BindInterval, 1, 2, 3), tuple(&S::BindVarchar, Wide("a text longer than a cell")),
             tuple(&S::BindBlob, bytes, 3), tuple(&S::BindBit, bytes, 3),
             tuple(&S::BindBignum, bytes, 3, true), tuple(&S::BindUuid, 20, 21));
}

/// Objects that a step is taken with; another thread may have the same database.
struct Hands {
    Database mDatabase;
    Statement mStatement;
    Cursor mCursor;
    QueryResult mResult;
};

// The first of each are for the round on memory; of the texts, it succeeds.
constexpr const char* kNames[] = {"a.db", "b.db"};
constexpr const char* kTexts[] = {
    "CREATE OR REPLACE TABLE t AS FROM range(3); SELECT 'text ' || range FROM t; FROM t",
    "FROM range(5000)",
    "SELECT $1, $2",
    "INSERT INTO t VALUES (1)",
    "SELECT",
    "BEGIN",
    "SELECT 1; SELECT 'x'::INTEGER; SELECT 3",
    "COMMIT; CHECKPOINT",
    "ROLLBACK"};
// Every type of DuckDB, with its least value, its largest, and NULL.
constexpr const char* kTypes = "SELECT *, 42::VARIANT AS v, [1, NULL]::VARIANT AS w, "
                               "{'a': 'text', 'b': 1.5::DECIMAL(9,2)}::VARIANT AS x FROM test_all_types()";

String SomeText() { return Wide(kTexts[Pick(std::size(kTexts))]); }
std::uint32_t SomeKind() { return 1 + Pick(2); } // of cursors
smart_ptr<ValueArray> SomeValues() { return Values({Number(1), Pick(2) == 1 ? nullptr : TextValue("text")}); }
/// $1, $2, ...
String Parameters(std::size_t inCount) {
    std::string sql = "SELECT $1";
    for (std::size_t i = 2; i <= inCount; ++i) {
        sql += ", $" + std::to_string(i);
    }
    return Wide(sql);
}
Database Open(const char* inName) {
    Database database = GetDuckDBExtension()->CreateDatabase(At(inName));
    database->get_Exists() ? database->Open() : database->Create();
    return database;
}
Cursor Select(const Hands& h, const char* inSql, std::uint32_t inKind) {
    return h.mDatabase->SqlSelect(Wide(inSql), inKind, nullptr);
}
void Fill(Hands& h) {
    h.mDatabase = h.mDatabase ? h.mDatabase : Open(kNames[Pick(2)]);
    h.mStatement = h.mStatement ? h.mStatement : h.mDatabase->CreateStatement(SomeText());
    h.mCursor = h.mCursor ? h.mCursor : Select(h, "FROM range(9)", SomeKind());
    h.mResult = h.mResult ? h.mResult : h.mDatabase->SqlQuery(SomeText(), SomeKind(), nullptr);
}

/// A step adds to a text what it saw.
using Step = void (*)(Hands& ioHands, std::string& ioSeen);
const Step kSteps[] = {
    [](Hands& h, auto& seen) { seen += Text((h.mDatabase = Open(kNames[Pick(2)]))->get_Name()); },
    [](Hands& h, auto&) { h.mDatabase->Close(); },
    [](Hands& h, auto&) { h.mDatabase->Open(); },
    [](Hands& h, auto& seen) {
        if (h.mDatabase->get_Exists()) { // not after a failure behind Drop
            h.mDatabase->Drop();
        }
        seen += std::to_string(h.mDatabase->get_Exists());
    },
    [](Hands&, auto& seen) {
        const auto database = GetDuckDBExtension()->CreateDatabase(At("c.db"));
        database->put_StorageVersion(Wide("v1.2.0"));
        database->put_Settings({1, 1, 500, Wide(Path("")), true, {}, Wide(Path("")), {}});
        database->Create();
        seen += Walk(database->SqlSelect(Wide("SELECT current_setting('threads')"), 1, nullptr));
    },
    [](Hands& h, auto& seen) { seen += std::to_string(h.mDatabase->SqlExecute(SomeText(), nullptr)); },
    [](Hands& h, auto& seen) { seen += Walk(h.mCursor = Select(h, kTypes, 1)); },
    [](Hands& h, auto& seen) { seen += Walk(h.mCursor = Select(h, kTypes, 2)); },
    [](Hands& h, auto& seen) {
        seen += Walk(h.mResult = h.mDatabase->SqlQuery(SomeText(), SomeKind(), nullptr));
    },
    [](Hands& h, auto& seen) { // cells of every type come back as values
        h.mCursor = Select(h, kTypes, 1);
        const auto rows = GetDuckDBExtension()->get_ClientCursorRows(h.mCursor);
        seen += Walk(h.mDatabase->SqlSelect(Parameters((*rows)[0]->get_Count()), 2, (*rows)[Pick(3)]));
    },
    [](Hands& h, auto&) { QueryAspect<I_DuckDBRunControl>(h.mDatabase.get())->Interrupt(); },
    [](Hands& h, auto&) { QueryAspect<I_DuckDBRunControl>(h.mDatabase.get())->get_Progress(); },
    [](Hands& h, auto&) {
        Open(kNames[Pick(2)])->Backup(At("")); // of its own, that nobody else closes
        h.mDatabase = GetDuckDBExtension()->RestoreDatabase(At("d.db"), standin::get_LastBackupLocation());
    },
    [](Hands& h, auto& seen) {
        h.mStatement = h.mDatabase->CreateStatement(Parameters(30));
        h.mStatement->PrepareNext();
        BindEveryType(*h.mStatement);
        seen += Walk(h.mStatement->SqlSelect(2)) + Text(h.mStatement->SqlSelectToJSON());
    },
    [](Hands& h, auto& seen) {
        h.mStatement = h.mDatabase->CreateStatement(Parameters(2));
        Pick(2) == 0 ? h.mStatement->BindValues(SomeValues())
                     : h.mStatement->BindRows(RowsOf({SomeValues()}));
        h.mStatement->PrepareNext();
        seen += Walk(h.mResult = h.mStatement->SqlQuery(SomeKind()));
    },
    [](Hands& h, auto&) {
        h.mStatement->BindRows(RowsOf({SomeValues(), SomeValues()}));
    },
    [](Hands& h, auto&) { h.mStatement->ClearBindings(); },
    [](Hands& h, auto&) {
        h.mStatement = h.mDatabase->CreateStatement(SomeText()), h.mStatement->PrepareNext();
    },
    [](Hands& h, auto&) { h.mStatement->ExecuteNext(); },
    [](Hands& h, auto&) { h.mDatabase->CreateStatement(SomeText())->ExecuteAll(); },
    [](Hands& h, auto&) {
        const DuckDBExecutionResult end = h.mDatabase->CreateStatement(SomeText())->ExecuteScript();
        end.mErrorCode == 0 ? void() : throw std::bad_alloc(); // which it calls unexpected
    },
    [](Hands& h, auto&) { h.mStatement->SqlExecute(); },
    [](Hands& h, auto&) { h.mCursor = h.mStatement->SqlSelect(SomeKind()); },
    [](Hands& h, auto&) { h.mDatabase = h.mStatement->get_Database(); },
    [](Hands& h, auto&) { h.mDatabase = h.mCursor->get_Database(); },
    [](Hands& h, auto& seen) { seen += Walk(h.mCursor); },
    [](Hands& h, auto& seen) { h.mCursor->LastRecord(), seen += Text(h.mCursor->get_Value(0)); },
    [](Hands& h, auto&) { h.mCursor->Dispose(); },
    [](Hands& h, auto&) { gIsRandom ? static_cast<void>(Walk(h.mResult)) : void(); },
    // The result goes, so that nobody else gets its cursor.
    [](Hands& h, auto&) { h.mCursor = h.mResult->get_Cursor(), h.mResult = h.mResult->get_NextResult(); },
    [](Hands&, auto& seen) {
        const std::string file = Path("p.parquet");
        const auto maker = Open("p.db");
        maker->SqlExecute(Wide("SET threads = 1; CREATE OR REPLACE TABLE t AS SELECT "
                               "COLUMNS('int|char|date|^time$|double|blob|bool|dec') FROM test_all_types(); "
                               "COPY t TO '" +
                               file + "'"),
                          nullptr);
        maker->Close();
        const auto text = &ProcedureValue::Text;
        // An optional text that the host can't give counts as absent, so there is none here.
        seen += Call("fetch_duckdb", {text(Path("p.db")), text("t")}) +
                Call("fetch_parquet", {text(file), {}, {}, ProcedureValue::Int64(2)});
        for (const char* name : {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
            seen += Call(name, {text(file)});
        }
    },
};

// Random objects in few places; a step takes some out and puts them elsewhere, which ends what was there.
std::mutex gPlacesMutex;
Hands gPlaces[4];

void TakeRandomSteps(std::mt19937::result_type inSeed) {
    gChance.seed(inSeed);
    for (int i = 0; i < 200; ++i) {
        Hands hands;
        const auto swap = [&hands] {
            const std::lock_guard lock(gPlacesMutex);
            std::swap(hands.mDatabase, gPlaces[Pick(4)].mDatabase);
            std::swap(hands.mStatement, gPlaces[Pick(4)].mStatement);
            std::swap(hands.mCursor, gPlaces[Pick(4)].mCursor);
            std::swap(hands.mResult, gPlaces[Pick(4)].mResult);
        };
        swap();
        try {
            Fill(hands);
            std::string seen;
            kSteps[Pick(std::size(kSteps))](hands, seen);
        } catch (const xException&) {
            // Much of this can't be done.
        } catch (const std::exception&) {
            // Nor this, by procedures.
        }
        swap();
    }
}

void Race(std::uint32_t inSeed, std::uint32_t inThreads) {
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < inThreads; ++i) {
        threads.emplace_back(TakeRandomSteps, inSeed * 8 + i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::ranges::fill(gPlaces, Hands());
}

/// @return whether a step makes so many allocations.
bool FailOnce(Step inStep, std::uint32_t inNth) {
    std::string seen[2];
    bool hasFailed = false;
    for (std::string& text : seen) {
        Hands hands;
        Fill(hands);
        hands.mStatement->PrepareNext();
        text.reserve(1000000);
        gAllocationsUntilFailure = hasFailed ? 0 : inNth;
        Do([&] { text.clear(), inStep(hands, text); });
        hasFailed = std::exchange(gAllocationsUntilFailure, 0) == 0;
    }
    return seen[0] == seen[1] ? hasFailed : throw std::logic_error(seen[0] + "\nisn't\n" + seen[1]);
}

/// Runs in a process of its own. @return its status: what the function gave, or more for a failure.
template <class Body>
int InChild(const Body& inBody) {
    const pid_t child = fork();
    if (child == 0) {
        standin::ProcedureContext context;
        orlimbara_extension_bind_api(standin::GetProcedureTable());
        orlimbara_extension_init(context.get_Handle());
        const standin::LiveObjects before = standin::CountLiveObjects();
        const int result = inBody();
        const bool isClean =
            standin::CountLiveObjects() == before && orlimbara::duckdb_support::LiveHandleCount() == 0;
        std::exit(isClean ? result : (std::fputs("objects are left\n", stderr), 3));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : status + 1000;
}

} // namespace
} // namespace orkit::orsql::test

int main(int inCount, char** inArguments) {
    using namespace orkit::orsql::test;
    const std::string mode = inCount > 2 ? inArguments[1] : "";
    const std::time_t end = std::time(nullptr) + (inCount > 2 ? std::atoi(inArguments[2]) : 0);
    const std::uint32_t first = inCount > 3 ? static_cast<std::uint32_t>(std::atoi(inArguments[3])) : 1;
    gIsRandom = mode != "memory";
    constexpr std::uint32_t kStep = 10000; // on memory, a seed is a step and the number of its allocation
    std::uint32_t seed = first, rounds = 0, failures = 0;
    do {
        const int status = InChild([&] {
            return gIsRandom                                  ? Race(seed, mode == "races" ? 4 : 1), 0
               : FailOnce(kSteps[seed / kStep], seed % kStep) ? 0
                                                              : 2;
        });
        if (status != 0 && status != 2) {
            ++failures;
            std::printf("%s: status %d; to repeat: objects %s 0 %u\n", mode.c_str(), status, mode.c_str(),
                        seed);
            std::fflush(stdout);
        }
        ++rounds;
        seed = status == 2 ? (seed / kStep + 1) * kStep + 1 : seed + 1;
    } while (std::time(nullptr) < end && (gIsRandom || seed / kStep < std::size(kSteps)));
    std::printf("%s: seeds %u to %u, %u rounds, %u failures\n", mode.c_str(), first, seed - 1, rounds,
                failures);
    return failures != 0;
}
