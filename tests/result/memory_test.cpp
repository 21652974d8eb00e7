#include "tests_support/failing_new.h"

#include <cstdint>
#include <new>
#include <utility>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class Memory : public ObjectTest {};

/// Fails the first allocation of a call, then the second and so on, until the call makes fewer. Each try must
/// end with the result or with a failure. @return how many tries failed.
int FailEachAllocation(const std::function<void()>& inCall) {
    for (std::uint32_t nth = 1;; ++nth) {
        gAllocationsUntilFailure = nth;
        try {
            inCall();
        } catch (const std::bad_alloc&) {
        } catch (const xDuckDBError& error) { // DuckDB ran out of memory before there was a cursor
            const std::string message = Text(*error.get_Text(1));
            EXPECT_NE(message.find("Out of Memory"), std::string::npos) << message;
        }
        if (std::exchange(gAllocationsUntilFailure, 0) != 0) {
            return static_cast<int>(nth) - 1;
        }
    }
}

TEST_F(Memory, ThatRunsOutNeverChangesACell) {
    mDatabase = CreateDatabase();
    for (const auto& row :
         Table(R"(i; 'a text that is longer than a cell ' || i; '\x01\x02'::BLOB; i::DECIMAL(18,3)
             i::HUGEINT; DATE '2024-01-01' + i::INTEGER; TIMESTAMP '2024-01-01' + INTERVAL (i) DAY; {'a': i}::VARIANT
             'infinity'::TIMESTAMP; '101'::BIT; [i, NULL]; {'a': i}; concat('a', i % 2)::ENUM('a0', 'a1')
             i::VARIANT; [i]::VARIANT; i::UHUGEINT::VARIANT; i::TINYINT::VARIANT; 'text'::VARIANT)")) {
        SCOPED_TRACE(row[0]);
        const std::string sql = "SELECT " + row[0] + " FROM range(20) t(i)";
        const Rows expected = Select(mDatabase, sql);
        int failures = FailEachAllocation([&] {
            const Cursor cursor = mDatabase->SqlSelect(Wide(sql), kCursorLocationClient, nullptr);
            const std::uint32_t left = std::exchange(gAllocationsUntilFailure, 0);
            EXPECT_FALSE(cursor->get_ColumnTypeName(0).isEmpty());
            EXPECT_EQ(ReadAll(cursor), expected);
            gAllocationsUntilFailure = left;
        });
        const Cursor cursor = OpenCursor(mDatabase, sql);
        for (const auto& cells : expected) {
            bool isRead = false;
            failures += FailEachAllocation([&] { isRead = isRead || cursor->NextRecord(); });
            ASSERT_TRUE(isRead);
            failures += FailEachAllocation([&] {
                const Value value = cursor->get_Value(0);
                const std::uint32_t left = std::exchange(gAllocationsUntilFailure, 0);
                EXPECT_EQ(Text(value), cells[0]);
                gAllocationsUntilFailure = left;
            });
        }
        EXPECT_GT(failures, 20);
        ASSERT_FALSE(HasFailure());
    }
    const String sql = Wide("SELECT 1");
    EXPECT_GT(FailEachAllocation([&] { mDatabase->CreateStatement(sql)->PrepareNext(); }), 5);
}

} // namespace
} // namespace orkit::orsql::test
