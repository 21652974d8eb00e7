/// @file
/// Makes an allocation of this thread fail, counted from where it is armed. Replaces the operators of the
/// whole executable: include it in one source.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

namespace orkit::orsql::test {

/// The allocations until the one that fails; 0 lets all succeed. DuckDB's own and those inside the C++
/// runtime aren't counted: DuckDB answers for what it does without memory.
inline thread_local std::uint32_t gAllocationsUntilFailure = 0;

/// What operator new does. @param inCaller the code that calls it.
inline void* AllocateOrFail(std::size_t inSize, const void* inCaller) {
    if (gAllocationsUntilFailure != 0) {
        Dl_info info;
        const bool isFound = dladdr(inCaller, &info) != 0 && info.dli_fname;
        const std::string_view name = isFound ? info.dli_fname : "";
        if (name.find("libduckdb") == name.npos && name.find("libstdc++") == name.npos &&
            --gAllocationsUntilFailure == 0) {
            throw std::bad_alloc();
        }
    }
    if (void* const memory = std::malloc(inSize == 0 ? 1 : inSize)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace orkit::orsql::test

void* operator new(std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize, __builtin_return_address(0));
}
void* operator new[](std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize, __builtin_return_address(0));
}
void operator delete(void* inMemory) noexcept { std::free(inMemory); }
void operator delete[](void* inMemory) noexcept { std::free(inMemory); }
void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
void operator delete[](void* inMemory, std::size_t) noexcept { std::free(inMemory); }
