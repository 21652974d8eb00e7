# Tests: one GoogleTest executable, and one ctest entry, per call.
#
#   orlimbara_add_test(<name>
#       SOURCES <file>... LIBRARIES <target>...
#       [LABELS <label>...]        "concurrency": also built and run under the thread sanitizer
#       [DEPENDS <target>...]      built with the test, for what it loads or starts
#       [ENVIRONMENT <VAR=value>...] [ARGUMENTS <argument>...] [TIMEOUT <seconds>])
#
#   orlimbara_test_environment(<test>...)
#
# Gives tests made by a plain add_test() the environment and the timeout of all others.
#
# Names are FOLDER_tests, or FOLDER_SUBJECT_tests for what a folder tests in a program of its own.
#
# A ctest entry for each case would start DuckDB's 70 MB library thousands of times under the sanitizers;
# one case runs with build/<preset>/bin/<name> --gtest_filter=...

enable_testing()
set(ORLIMBARA_TEST_TIMEOUT 300 CACHE STRING "Seconds after which a test fails")

# Both allocators fill freed memory: DuckDB's own, where the address sanitizer can't look, and the C
# library's for the release build. DuckDB itself is not instrumented, so the thread sanitizer must
# ignore what happens inside it.
set(ORLIMBARA_TEST_ENVIRONMENT
    "MALLOC_PERTURB_=165"
    "DUCKDB_JE_MALLOC_CONF=junk:true"
    "ASAN_OPTIONS=detect_leaks=1"
    "UBSAN_OPTIONS=print_stacktrace=1"
    "TSAN_OPTIONS=ignore_noninstrumented_modules=1")

# What a build under the thread sanitizer needs.
add_custom_target(concurrency_tests)

function(orlimbara_test_environment)
    set_tests_properties(${ARGN} PROPERTIES
        ENVIRONMENT "${ORLIMBARA_TEST_ENVIRONMENT}"
        TIMEOUT ${ORLIMBARA_TEST_TIMEOUT})
endfunction()

function(orlimbara_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT"
        "SOURCES;LIBRARIES;LABELS;DEPENDS;ENVIRONMENT;ARGUMENTS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "orlimbara_add_test(${name}): unknown arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest_main orlimbara_warnings)
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()
    if("concurrency" IN_LIST arg_LABELS)
        add_dependencies(concurrency_tests ${name})
    endif()

    add_test(NAME ${name} COMMAND ${name} ${arg_ARGUMENTS})
    orlimbara_test_environment(${name})
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT ${arg_ENVIRONMENT})
    set_property(TEST ${name} PROPERTY LABELS ${arg_LABELS})
    # GoogleTest calls a program without any test passed.
    set_property(TEST ${name} PROPERTY FAIL_REGULAR_EXPRESSION "Running 0 tests from 0")
    if(arg_TIMEOUT)
        set_property(TEST ${name} PROPERTY TIMEOUT ${arg_TIMEOUT})
    endif()
endfunction()
