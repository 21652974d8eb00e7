/// @file
/// Makes an allocation of this thread fail, counted from where it is armed. Replaces the operators of the
/// whole executable: include it in one source.
#pragma once

#include <dlfcn.h>
#include <link.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

namespace orkit::orsql::test {

/// The allocations until the one that fails; 0 lets all succeed. DuckDB's own and those inside the C++
/// runtime aren't counted: DuckDB answers for what it does without memory.
inline thread_local std::uint32_t gAllocationsUntilFailure = 0;

/// What operator new does. @param inCaller the code that calls it.
inline void* AllocateOrFail(std::size_t inSize, void* inCaller) {
    if (gAllocationsUntilFailure != 0) {
        dl_find_object object;
        const std::string_view library =
            _dl_find_object(inCaller, &object) == 0 ? object.dlfo_link_map->l_name : "";
        const bool isForeign =
            library.find("libduckdb") != library.npos || library.find("libstdc++") != library.npos;
        if (!isForeign && --gAllocationsUntilFailure == 0) {
            throw std::bad_alloc();
        }
    }
    if (void* const memory = std::malloc(inSize == 0 ? 1 : inSize)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace orkit::orsql::test

// Not inlined: a compiler that sees malloc and free inside takes them for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize, __builtin_return_address(0));
}
[[gnu::noinline]] void* operator new[](std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize, __builtin_return_address(0));
}
[[gnu::noinline]] void operator delete(void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory, std::size_t) noexcept { std::free(inMemory); }
