# Finds the pinned DuckDB: DUCKDB_ROOT (-D or environment; a folder with include/ and lib/) or, without
# it, what scripts/get_duckdb.sh put into .deps/.
#
#   DuckDB::duckdb   the library and its C header, <duckdb.h>, alone
#   DuckDB::cxx      the library and all its headers; their layout fits this one version only
#
# Both are system headers to the compiler.

file(STRINGS "${PROJECT_SOURCE_DIR}/scripts/pins.env" pin REGEX "^DUCKDB_VERSION=")
string(REGEX REPLACE "^DUCKDB_VERSION=" "" DuckDB_PINNED "${pin}")

# Kept in the cache, so that a later run of CMake from the build tool sees the same folder.
if(NOT DUCKDB_ROOT AND NOT "$ENV{DUCKDB_ROOT}" STREQUAL "")
    set(DUCKDB_ROOT "$ENV{DUCKDB_ROOT}" CACHE PATH "Folder with include/ and lib/ of DuckDB" FORCE)
endif()
if(NOT ORLIMBARA_DEPS AND NOT "$ENV{ORLIMBARA_DEPS}" STREQUAL "")
    set(ORLIMBARA_DEPS "$ENV{ORLIMBARA_DEPS}" CACHE PATH "Folder of what the set-up fetched" FORCE)
endif()
if(DUCKDB_ROOT)
    get_filename_component(root "${DUCKDB_ROOT}" ABSOLUTE BASE_DIR "${PROJECT_SOURCE_DIR}")
elseif(ORLIMBARA_DEPS)
    get_filename_component(root "${ORLIMBARA_DEPS}/duckdb-${DuckDB_PINNED}" ABSOLUTE
        BASE_DIR "${PROJECT_SOURCE_DIR}")
else()
    set(root "${PROJECT_SOURCE_DIR}/.deps/duckdb-${DuckDB_PINNED}")
endif()

set(library "${root}/lib/${CMAKE_SHARED_LIBRARY_PREFIX}duckdb${CMAKE_SHARED_LIBRARY_SUFFIX}")
set(needed "${root}/include/duckdb.h" "${root}/include/duckdb.hpp")
if(NOT CMAKE_CROSSCOMPILING) # else nothing is linked
    list(APPEND needed "${library}")
endif()
foreach(file IN LISTS needed)
    if(NOT EXISTS "${file}")
        message(FATAL_ERROR "DuckDB ${DuckDB_PINNED} is missing (no ${file}): run scripts/get_duckdb.sh, "
            "or set DUCKDB_ROOT to a folder with its include/ and lib/.")
    endif()
endforeach()

# The C++ headers and the library must be of one version: ask the library once per library.
if(EXISTS "${library}")
    file(TIMESTAMP "${library}" stamp)
endif()
if(NOT CMAKE_CROSSCOMPILING AND NOT DuckDB_CHECKED STREQUAL "${library} ${stamp} ${DuckDB_PINNED}")
    file(WRITE "${CMAKE_BINARY_DIR}/duckdb_version.c"
        "#include <duckdb.h>\n#include <stdio.h>\nint main(void) { return puts(duckdb_library_version()) < 0; }\n")
    try_run(ran compiled "${CMAKE_BINARY_DIR}/duckdb_version" "${CMAKE_BINARY_DIR}/duckdb_version.c"
        CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${root}/include" "-DCMAKE_BUILD_RPATH=${root}/lib"
        LINK_LIBRARIES "${library}"
        COMPILE_OUTPUT_VARIABLE compile_output
        RUN_OUTPUT_VARIABLE version)
    string(STRIP "${version}" version)
    if(NOT compiled)
        message(FATAL_ERROR "DuckDB in ${root} can't be linked:\n${compile_output}")
    elseif(NOT version STREQUAL "v${DuckDB_PINNED}")
        message(FATAL_ERROR "DuckDB in ${root} is '${version}', but v${DuckDB_PINNED} is needed.")
    endif()
    set(DuckDB_CHECKED "${library} ${stamp} ${DuckDB_PINNED}" CACHE INTERNAL "")
    message(STATUS "DuckDB ${version} in ${root}")
endif()

# A folder with the C header alone keeps the C++ headers out of reach of all but DuckDB::cxx.
set(c_root "${CMAKE_BINARY_DIR}/roots/duckdb_c")
file(MAKE_DIRECTORY "${c_root}")
file(CREATE_LINK "${root}/include/duckdb.h" "${c_root}/duckdb.h" SYMBOLIC)

if(NOT TARGET DuckDB::duckdb)
    add_library(DuckDB::duckdb SHARED IMPORTED)
    set_target_properties(DuckDB::duckdb PROPERTIES
        IMPORTED_LOCATION "${library}"
        IMPORTED_IMPLIB "${library}" # asked for on Windows alone
        IMPORTED_SONAME "${CMAKE_SHARED_LIBRARY_PREFIX}duckdb${CMAKE_SHARED_LIBRARY_SUFFIX}"
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${c_root}"
        INTERFACE_INCLUDE_DIRECTORIES "${c_root}")
    add_library(DuckDB::cxx INTERFACE IMPORTED)
    set_target_properties(DuckDB::cxx PROPERTIES
        INTERFACE_LINK_LIBRARIES DuckDB::duckdb
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${root}/include"
        INTERFACE_INCLUDE_DIRECTORIES "${root}/include")
endif()
set(DuckDB_FOUND TRUE)
set(DuckDB_VERSION "${DuckDB_PINNED}")
