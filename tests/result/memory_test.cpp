// Makes an allocation of a thread fail, counted from where it is armed, and looks at what the cells' objects
// make of it. Replaces the operators of the whole executable.

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <link.h>

#include "tests_support/object_fixture.h"

namespace {

/// The allocations until the one that fails; 0 lets all succeed. DuckDB's own and those inside the C++
/// runtime aren't counted: DuckDB answers for what it does without memory.
thread_local std::uint32_t gAllocationsUntilFailure = 0;

/// What operator new does. @param inCaller the code that calls it.
void* AllocateOrFail(std::size_t inSize, void* inCaller) {
    if (gAllocationsUntilFailure != 0) {
        dl_find_object found;
        const std::string_view path =
            _dl_find_object(inCaller, &found) == 0 ? found.dlfo_link_map->l_name : "";
        const bool isForeign = path.find("/libduckdb") != path.npos || path.find("/libstdc++") != path.npos;
        if (!isForeign && --gAllocationsUntilFailure == 0) {
            throw std::bad_alloc();
        }
    }
    if (void* const memory = std::malloc(inSize == 0 ? 1 : inSize)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

// Not inlined: a compiler that sees malloc and free inside takes them for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t inSize) {
    return AllocateOrFail(inSize, __builtin_return_address(0));
}
[[gnu::noinline]] void* operator new[](std::size_t inSize) {
    return AllocateOrFail(inSize, __builtin_return_address(0));
}
[[gnu::noinline]] void operator delete(void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory, std::size_t) noexcept { std::free(inMemory); }

namespace orkit::orsql::test {
namespace {

class Memory : public ObjectTest {};

/// Fails the first allocation of a call, then the second and so on, until the call makes fewer; each try ends
/// with its result or with a failure that says so. @return how many tries failed.
int FailEachAllocation(const std::function<void()>& inCall) {
    for (std::uint32_t nth = 1;; ++nth) {
        gAllocationsUntilFailure = nth;
        try {
            inCall();
        } catch (const std::bad_alloc&) {
        } catch (const xDuckDBError& error) { // DuckDB ran out of it before there was a cursor
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
            ASSERT_TRUE(cursor->NextRecord());
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
}

} // namespace
} // namespace orkit::orsql::test
