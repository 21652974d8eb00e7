# The libraries from the distribution, each as one target:
#
#   RapidJSON::RapidJSON                                                        module
#   CLI11::CLI11  libedit (loaded by name)  PkgConfig::libutf8proc  fmt::fmt    shell
#   ICU::uc, of which the headers are enough                                    stand-in
#   GTest::gtest GTest::gtest_main  rapidcheck  benchmark::benchmark            tests, benchmarks
#
# The module itself must not gain a shared library but DuckDB: there, fmt::fmt-header-only.

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

find_package(RapidJSON REQUIRED)
add_library(RapidJSON::RapidJSON INTERFACE IMPORTED)
target_include_directories(RapidJSON::RapidJSON SYSTEM INTERFACE "${RAPIDJSON_INCLUDE_DIRS}")
find_package(ICU REQUIRED COMPONENTS uc)
find_package(fmt REQUIRED)

find_package(CLI11 REQUIRED)
pkg_check_modules(libedit REQUIRED IMPORTED_TARGET libedit)
# libedit_SONAME: the name by which the shell loads it.
execute_process(COMMAND "${CMAKE_OBJDUMP}" -p "${pkgcfg_lib_libedit_edit}" OUTPUT_VARIABLE headers)
if(NOT headers MATCHES "SONAME +([^\n]+)")
    message(FATAL_ERROR "libedit's library has no SONAME: ${pkgcfg_lib_libedit_edit}")
endif()
set(libedit_SONAME "${CMAKE_MATCH_1}")
pkg_check_modules(libutf8proc REQUIRED IMPORTED_TARGET libutf8proc)

if(ORLIMBARA_TESTS)
    find_package(GTest REQUIRED)
    find_package(rapidcheck REQUIRED)
endif()
if(ORLIMBARA_BENCHMARKS)
    find_package(benchmark REQUIRED)
endif()
