// Runs queries on several threads, and stops one that takes too long.
//
//     threads LIBDIR/orlimbara/orlimbara_duckdb.so

#include <array>
#include <chrono>
#include <thread>

#include "load_module.h"

using namespace orkit;
using namespace orkit::orsql;

namespace {

std::string SelectOne(const smart_ptr<I_DuckDBDatabase>& inDatabase, const char* inSql) {
    const auto cursor = inDatabase->SqlSelect(inSql, kCursorLocationServer, nullptr);
    cursor->NextRecord();
    return TextOf(*cursor->get_Value(0));
}

// Each thread has a database object of its own. All on one path share DuckDB's instance, and so the tables.
// The module takes the engine lock around each call: the queries run one after the other.
void SumOnSeveralThreads(const LoadedModule& inModule) {
    std::array<std::string, 3> sums;
    std::array<std::thread, 3> threads;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&, i] {
            try {
                const auto database = inModule.MakeDatabase(":memory:");
                database->Create(); // joins the instance that is open
                sums[i] = SelectOne(database, "SELECT sum(n) FROM numbers");
            } catch (...) { // nothing may leave a thread
                sums[i] = CurrentFailure();
            }
        });
    }
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        std::printf("thread %zu: %s\n", i, sums[i].c_str());
    }
}

// The database's run control needs no lock, so another thread can use it while the query holds the lock.
void StopALongQuery(const smart_ptr<I_DuckDBDatabase>& inDatabase) {
    auto* const control = QueryAspect<I_DuckDBRunControl>(inDatabase.get()); // good as long as the database
    std::string outcome;
    std::thread query([&] {
        try {
            outcome =
                "it answered " + SelectOne(inDatabase, "SELECT count(*) FROM range(1000000) AS a(i), "
                                                       "range(1000000) AS b(i) WHERE (a.i * b.i) % 7 = 3");
        } catch (...) {
            outcome = CurrentFailure();
        }
    });
    while (control->get_Progress().mElapsedMicroseconds < 100000) { // it gets a tenth of a second
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    control->Interrupt();
    query.join();
    std::printf("the long query: %s\n", outcome.c_str());
}

} // namespace

int main(int, char** inArguments) {
    try {
        const LoadedModule module(inArguments[1]);
        const auto database = module.MakeDatabase(":memory:");
        database->Create();
        database->SqlExecute("CREATE TABLE numbers AS SELECT n FROM range(1000000) AS t(n)", nullptr);
        SumOnSeveralThreads(module);
        StopALongQuery(database);
        return 0;
    } catch (...) {
        std::fprintf(stderr, "error: %s\n", CurrentFailure().c_str());
        return 1;
    }
}
