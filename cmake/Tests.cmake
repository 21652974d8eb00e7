# Tests: one GoogleTest executable per call.
#
#   orlimbara_add_test(<name>
#       SOURCES <file>... LIBRARIES <target>...
#       [LABELS <label>...]        "concurrency": also built and run under the thread sanitizer
#       [DEPENDS <target>...]      built with the test, for what it loads or starts while it runs
#       [ENVIRONMENT <VAR=value>...] [ARGUMENTS <argument>...] [TIMEOUT <seconds>]
#       [SUITE | EACH_CASE])       one ctest entry for the executable (default), or one for each case
#
#   orlimbara_test_environment(<test>...)
#
# Gives tests made by a plain add_test() the environment and the timeout of all others.

enable_testing()
set(ORLIMBARA_TEST_TIMEOUT 300)

# DuckDB's allocator fills freed memory, where the address sanitizer can't look. DuckDB itself is not
# instrumented, so the thread sanitizer must not judge what happens inside of it.
set(ORLIMBARA_TEST_ENVIRONMENT
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
    cmake_parse_arguments(PARSE_ARGV 1 arg "SUITE;EACH_CASE" "TIMEOUT"
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
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT ${ORLIMBARA_TEST_TIMEOUT})
    endif()
    set(environment ${ORLIMBARA_TEST_ENVIRONMENT} ${arg_ENVIRONMENT})

    if(arg_EACH_CASE)
        # gtest_discover_tests hands properties on as text: keep the list in one piece.
        string(REPLACE ";" "\\;" environment "${environment}")
        gtest_discover_tests(${name}
            DISCOVERY_MODE PRE_TEST
            EXTRA_ARGS ${arg_ARGUMENTS}
            TEST_PREFIX "${name}."
            PROPERTIES LABELS "${arg_LABELS}" TIMEOUT ${arg_TIMEOUT} ENVIRONMENT "${environment}")
        return()
    endif()
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1 ${arg_ARGUMENTS})
    set_tests_properties(${name} PROPERTIES
        LABELS "${arg_LABELS}"
        TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "${environment}")
endfunction()
