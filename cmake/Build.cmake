# What holds for every target: language level, output folders, warnings, sanitizers.

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release or Debug" FORCE)
endif()
# -O2 in place of CMake's -O3: the level that docs/performance.md was measured at.
string(REPLACE "-O3" "-O2" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# The version script sets the module's exports. Its functions aren't interposed, so the compiler may inline them
# although all code is position independent.
add_compile_options(-fno-semantic-interposition)

# Programs, the shared library and the module are in one folder and find each other there.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_BUILD_RPATH "$ORIGIN")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

# Warnings of the project's own code; every target links this PRIVATE.
add_library(orlimbara_warnings INTERFACE)
target_compile_options(orlimbara_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion
    $<$<BOOL:${ORLIMBARA_WERROR}>:-Werror>)

if(ORLIMBARA_SANITIZE)
    add_compile_options(-fsanitize=${ORLIMBARA_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ORLIMBARA_SANITIZE})
    if(ORLIMBARA_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The checks that a sanitizer inserts confuse this flow analysis; the release build has it.
        target_compile_options(orlimbara_warnings INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()
