/// @file
/// Makes an allocation of this thread fail, counted from where it is armed. Replaces the operators of the
/// whole executable: include it in one source.
#pragma once

#include <link.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace orkit::orsql::test {

/// Where the code of DuckDB and of the C++ runtime lies.
inline const auto& ForeignCode() {
    using Ranges = std::vector<std::pair<std::uintptr_t, std::uintptr_t>>;
    static const Ranges ranges = [] {
        Ranges found;
        dl_iterate_phdr(
            [](dl_phdr_info* inLibrary, std::size_t, void* ioFound) {
                const std::string_view name = inLibrary->dlpi_name;
                for (int i = 0; i < inLibrary->dlpi_phnum; ++i) {
                    const auto& segment = inLibrary->dlpi_phdr[i];
                    const std::uintptr_t begin = inLibrary->dlpi_addr + segment.p_vaddr;
                    if (segment.p_type == PT_LOAD &&
                        (name.find("libduckdb") != name.npos || name.find("libstdc++") != name.npos)) {
                        static_cast<Ranges*>(ioFound)->emplace_back(begin, begin + segment.p_memsz);
                    }
                }
                return 0;
            },
            &found);
        return found;
    }();
    return ranges;
}

/// The allocations until the one that fails; 0 lets all succeed. DuckDB's own and those inside the C++
/// runtime aren't counted: DuckDB answers for what it does without memory.
inline thread_local std::uint32_t gAllocationsUntilFailure = 0;

/// What operator new does. @param inCaller the code that calls it.
inline void* AllocateOrFail(std::size_t inSize, std::uintptr_t inCaller) {
    if (gAllocationsUntilFailure != 0) {
        bool isForeign = false;
        for (const auto& [begin, end] : ForeignCode()) {
            isForeign = isForeign || (inCaller >= begin && inCaller < end);
        }
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
    return orkit::orsql::test::AllocateOrFail(inSize,
                                              reinterpret_cast<std::uintptr_t>(__builtin_return_address(0)));
}
[[gnu::noinline]] void* operator new[](std::size_t inSize) {
    return orkit::orsql::test::AllocateOrFail(inSize,
                                              reinterpret_cast<std::uintptr_t>(__builtin_return_address(0)));
}
[[gnu::noinline]] void operator delete(void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
[[gnu::noinline]] void operator delete[](void* inMemory, std::size_t) noexcept { std::free(inMemory); }
