/// @file
/// Makes the nth allocation of this thread fail. Replaces the operators of the whole executable: include it
/// in one source.
#pragma once

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

namespace orkit::orsql::test {

inline bool IsInDuckDB(void* inAddress) {
    dl_find_object object;
    return _dl_find_object(inAddress, &object) == 0 &&
           std::string_view(object.dlfo_link_map->l_name).find("libduckdb") != std::string_view::npos;
}

/// The number of allocations until one fails; 0 lets all succeed. Allocations inside DuckDB aren't counted:
/// how DuckDB handles a lack of memory isn't tested here.
inline thread_local std::uint32_t gAllocationsUntilFailure = 0;

/// The implementation of operator new. @param inCaller the code that calls it, which may be a template of the
/// C++ library that DuckDB shares with other code.
inline void* AllocateOrFail(std::size_t inSize, void* inCaller) {
    if (gAllocationsUntilFailure != 0 && !IsInDuckDB(inCaller)) {
        void* calls[32];
        const auto end = calls + backtrace(calls, 32);
        if (std::find_if(calls, end, IsInDuckDB) == end && --gAllocationsUntilFailure == 0) {
            throw std::bad_alloc();
        }
    }
    if (void* const memory = std::malloc(inSize == 0 ? 1 : inSize)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace orkit::orsql::test

// Those for arrays call these. Not inlined: a compiler that sees malloc and free inside reports a mismatch.
[[gnu::noinline]] void* operator new(std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize, __builtin_return_address(0));
}
[[gnu::noinline]] void operator delete(void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
