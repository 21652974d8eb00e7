#include <thread>

#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr int kThreads = 3;
constexpr int kRounds = 20;

class StatementConcurrency : public ObjectTest {};

/// A whole life of a statement, as far as the database stays open. @return false once it is closed.
bool LiveOnce(const smart_ptr<I_DuckDBDatabase>& inDatabase) {
    const std::string thrown = Catch([&] {
        const Statement statement = inDatabase->CreateStatement("SELECT $1::INTEGER; SELECT $1 + 1");
        statement->BindValues(Values({Number(1)}));
        statement->ExecuteNext();
        statement->BindInteger(1, 2);
        statement->SqlSelect(kCursorLocationClient);
        statement->get_RemainingStatements();
        statement->get_Database();
        statement->ExecuteScript();
    });
    EXPECT_TRUE(thrown.empty() || thrown.ends_with("|DuckDBDatabase is not open") ||
                thrown.ends_with("|DuckDBDatabase is invalid"))
        << thrown;
    return thrown.empty();
}

TEST_F(StatementConcurrency, StatementsMeetAClosingDatabase) {
    for (int round = 0; round < kRounds; ++round) {
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
        std::vector<std::thread> threads;
        for (int number = 0; number < kThreads; ++number) {
            threads.emplace_back([&database] {
                while (LiveOnce(database)) {
                }
            });
        }
        LiveOnce(database);
        database->Close();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

} // namespace
} // namespace orkit::orsql::test
