# Windows. Target "windows_sources" compiles the module's sources and host/, and links nothing. With
# ORLIMBARA_WINDOWS_DUCKDB, a folder of DuckDB's static libraries (scripts/windows.sh builds them), the host's
# library, the module and the example hosts are linked too.

set(ORLIMBARA_WINDOWS_DUCKDB "" CACHE PATH "Folder of DuckDB's static libraries for Windows")
if(ORLIMBARA_WINDOWS_DUCKDB)
    add_compile_definitions(DUCKDB_STATIC_BUILD)
endif()

# Headers alone, the same for every system; their folder must not bring the build machine's others along.
set(headers "${CMAKE_BINARY_DIR}/roots/headers")
file(MAKE_DIRECTORY "${headers}")
foreach(header IN ITEMS rapidjson/rapidjson.h unicode/utf16.h fmt/format.h CLI/CLI.hpp utf8proc.h)
    string(REGEX REPLACE "/.*" "" name "${header}")
    find_path(${name}_folder "${header}" PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK "${${name}_folder}/${name}" "${headers}/${name}" SYMBOLIC)
endforeach()
foreach(library IN ITEMS RapidJSON::RapidJSON CLI11::CLI11 fmt::fmt PkgConfig::libutf8proc)
    add_library(${library} INTERFACE IMPORTED)
    target_include_directories(${library} SYSTEM INTERFACE "${headers}")
endforeach()
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
target_compile_definitions(PkgConfig::libutf8proc INTERFACE UTF8PROC_STATIC)
set(ICU_INCLUDE_DIRS "${headers}")
find_package(Threads REQUIRED)

foreach(folder IN ITEMS
        host host_standin object_support duckdb_support extension database statement result procedures shell)
    add_subdirectory(${folder})
endforeach()

# Each header of host/ by itself, with the same warnings.
file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/host/*.h")
foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER "${header}" name)
    set(source "${CMAKE_BINARY_DIR}/headers/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\"\n")
    list(APPEND header_sources "${source}")
endforeach()
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/headers/plain_c.c" CONTENT "#include \"host/procedure_api.h\"\nint nothing;\n")
add_library(host_headers STATIC ${header_sources} "${CMAKE_BINARY_DIR}/headers/plain_c.c")
target_link_libraries(host_headers PRIVATE orlimbara_host orlimbara_warnings)

set_target_properties(OrShared_x64 PROPERTIES PREFIX "")
add_custom_target(windows_sources DEPENDS
    host_headers OrShared_x64 orlimbara_shell $<TARGET_OBJECTS:orsql>
    orlimbara_extension orlimbara_objects orlimbara_procedures orlimbara_duckdb_support)

if(NOT ORLIMBARA_WINDOWS_DUCKDB)
    return()
endif()

# Everything that links DuckDB links these in place of its library.
file(GLOB duckdb "${ORLIMBARA_WINDOWS_DUCKDB}/*.a")
list(JOIN duckdb "," duckdb)
set_target_properties(DuckDB::duckdb PROPERTIES
    IMPORTED_IMPLIB "${ORLIMBARA_WINDOWS_DUCKDB}/libduckdb_static.a"
    INTERFACE_LINK_LIBRARIES "$<LINK_GROUP:RESCAN,${duckdb}>;ws2_32;rstrtmgr;crypt32;bcrypt")

# The linker takes what the parts of the module need from what stands behind them.
foreach(part IN ITEMS orlimbara_extension orlimbara_objects orlimbara_procedures)
    target_link_libraries(${part} INTERFACE OrShared_x64)
endforeach()

file(WRITE "${CMAKE_BINARY_DIR}/exports.def"
    "EXPORTS\n orlimbara_extension_bind_api\n orlimbara_extension_init\n")
file(WRITE "${CMAKE_BINARY_DIR}/nothing.cpp" "")
add_library(orlimbara_duckdb MODULE "${CMAKE_BINARY_DIR}/nothing.cpp" "${CMAKE_BINARY_DIR}/exports.def")
set_target_properties(orlimbara_duckdb PROPERTIES PREFIX "")
target_link_libraries(orlimbara_duckdb PRIVATE
    $<LINK_LIBRARY:WHOLE_ARCHIVE,orlimbara_extension> DuckDB::duckdb OrShared_x64)

target_link_libraries(orsql PRIVATE "${ORLIMBARA_WINDOWS_DUCKDB}/libduckdb_utf8proc.a")

foreach(source IN ITEMS 1_smallest_host.cpp 2_values_and_variant.cpp 3_threads.cpp 4_c_host.c)
    get_filename_component(host "${source}" NAME_WE)
    add_executable(${host} "examples/host/${source}")
    target_include_directories(${host} PRIVATE tests/windows)
    target_link_libraries(${host} PRIVATE orlimbara_host_standin)
endforeach()

# The suites, with GoogleTest built from Debian's sources and run through Wine by ctest.
foreach(source IN ITEMS gtest-all.cc gtest_main.cc)
    list(APPEND gtest "/usr/src/googletest/googletest/src/${source}")
endforeach()
add_library(gtest STATIC ${gtest})
target_include_directories(gtest SYSTEM
    PUBLIC /usr/src/googletest/googletest/include PRIVATE /usr/src/googletest/googletest)
add_library(GTest::gtest ALIAS gtest)
add_library(GTest::gtest_main ALIAS gtest)
find_program(CMAKE_CROSSCOMPILING_EMULATOR wine64 PATHS /usr/lib/wine)
include(Tests)
# Left out; docs/windows.md tells the causes.
set(left_out AreCreatedJoinedOrReplacedByCreate OpenedReadOnlyHaveTheirOwnHandles
    BringsAValueAndANullOfEachTypeToTheHost)
list(JOIN left_out ":*." left_out)
list(APPEND ORLIMBARA_TEST_ENVIRONMENT "GTEST_FILTER=-*.${left_out}")
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-include ${PROJECT_SOURCE_DIR}/tests/windows/posix.h>")
foreach(folder IN ITEMS support database statement result procedures)
    add_subdirectory(tests/${folder})
endforeach()
target_include_directories(result_tests BEFORE PRIVATE tests/windows/interposing)
target_compile_definitions(result_tests PRIVATE ORLIMBARA_RESULT_TESTS)
target_link_options(result_tests PRIVATE -Wl,--wrap=duckdb_fetch_chunk)
target_include_directories(procedures_tests BEFORE PRIVATE tests/windows/interposing)
target_link_options(procedures_tests PRIVATE -Wl,--wrap=duckdb_open -Wl,--wrap=duckdb_connect
    -Wl,--wrap=duckdb_query -Wl,--wrap=duckdb_result_get_chunk)
