# The programs that the thread sanitizer is to see; script/test tsan builds these and no others.
add_custom_target(threaded_tests)

# A test passes if it says that it ran and passed, and its launcher adds that it ended well: a program that leaves half way
# with status 0, finds no test of the name or forgets to run its tests fails, and so does one in which a sanitizer finds
# something after the tests.
set(mero_ended_well "ended with status 0\n$")

# Tests that run a whole job share one working folder of a fixed name in /tmp. They get a /tmp of their own where whoever
# builds may mount one and nothing of the build stands in the machine's, and run one at a time elsewhere.
execute_process(COMMAND unshare --mount --propagation private mount -t tmpfs tmpfs /tmp
    RESULT_VARIABLE mero_own_tmp_status OUTPUT_QUIET ERROR_QUIET)
file(REAL_PATH "${CMAKE_SOURCE_DIR}" mero_real_source)
file(REAL_PATH "${CMAKE_BINARY_DIR}" mero_real_build)
if(mero_own_tmp_status EQUAL 0 AND NOT "${mero_real_source}" MATCHES "^/tmp/" AND NOT "${mero_real_build}" MATCHES "^/tmp/")
    set(mero_job_launcher "${CMAKE_CURRENT_LIST_DIR}/../tests/support/with-own-tmp.sh")
    set(mero_job_properties)
else()
    set(mero_job_launcher)
    set(mero_job_properties RESOURCE_LOCK working_folder)
endif()

# mero_join_tests(<target>)
# Has the sources of a target compiled several as one: most of the time goes into what they share, GoogleTest's templates.
function(mero_join_tests target)
    set_target_properties(${target} PROPERTIES UNITY_BUILD "${MERO_JOINED_TESTS}" UNITY_BUILD_BATCH_SIZE 8)
endfunction()

# mero_precompile_tests(<target>)
# Gives a library that tests share the precompiled header of the test programs, which the compiler takes only for the same
# code model.
function(mero_precompile_tests target)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${target} PRIVATE -fPIE)
    target_precompile_headers(${target} REUSE_FROM test_pch)
endfunction()

# mero_add_tests(<target> SOURCES a.cpp ... LIBRARIES lib ... [LABELS threaded ...] [JOBS] [LAUNCHER program [argument ...]]
#                [ALONE b.cpp ...])
# One test program per module; ctest runs each test in a process of its own, in any order and in parallel. JOBS says that
# its tests run whole jobs. ALONE are those of the sources that can't be compiled as one with others, whose names they share.
function(mero_add_tests target)
    cmake_parse_arguments(ARG "JOBS" "" "SOURCES;LIBRARIES;LABELS;LAUNCHER;ALONE" ${ARGN})
    if(ARG_JOBS)
        list(PREPEND ARG_LAUNCHER ${mero_job_launcher})
    endif()
    list(PREPEND ARG_LAUNCHER "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../tests/support/with-status.sh")
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE mero_test_options test_support ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_precompile_headers(${target} REUSE_FROM test_pch)
    mero_join_tests(${target})
    if(ARG_ALONE)
        set_source_files_properties(${ARG_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    endif()
    # With this CMake only an emulator starts tests that are found by asking their program.
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests"
        CROSSCOMPILING_EMULATOR "${ARG_LAUNCHER}")
    set(properties
        TIMEOUT 120
        PASS_REGULAR_EXPRESSION "  PASSED  . 1 test\\..*${mero_ended_well}")
    # An empty value would vanish from the list and shift the ones behind it.
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    if(ARG_JOBS)
        list(APPEND properties ${mero_job_properties})
    endif()
    # A value in a name may be a piece of XML, or the bytes of an object that differ in each build.
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${target})
    endif()
endfunction()

# mero_add_python_tests(<script> [PREFIX prefix] [LAUNCHER program [argument ...]] [TIMEOUT seconds]
#                       [ENVIRONMENT NAME=value ...])
# Each test method of a unittest script gets a process of its own. A class runs whole jobs if the name of its base ends in
# JobTest, or if its base does; as these may run one at a time, they begin before the others. Without an environment the
# script drives the console front; its folder of sources is always named.
function(mero_add_python_tests script)
    cmake_parse_arguments(ARG "" "PREFIX;TIMEOUT" "ENVIRONMENT;LAUNCHER" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(NOT ARG_ENVIRONMENT)
        set(ARG_ENVIRONMENT "MEROCLI=$<TARGET_FILE:merocli>")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${script}")
    file(STRINGS ${script} lines REGEX "^class |^    def test")
    set(jobClasses)
    foreach(line IN LISTS lines)
        if(line MATCHES "^class ([A-Za-z]+)\\(([A-Za-z.]+)\\):")
            set(class "${CMAKE_MATCH_1}")
            set(base "${CMAKE_MATCH_2}")
            if(base MATCHES "JobTest$" OR base IN_LIST jobClasses)
                list(APPEND jobClasses "${class}")
            endif()
        elseif(line MATCHES "^class [A-Za-z]+:")
            set(class)
        elseif(class AND line MATCHES "def test([A-Za-z0-9]+)\\(self\\):")
            set(name "${ARG_PREFIX}${class}.${CMAKE_MATCH_1}")
            set(launcher ${ARG_LAUNCHER})
            if(class IN_LIST jobClasses)
                list(PREPEND launcher ${mero_job_launcher})
            endif()
            add_test(NAME "${name}"
                COMMAND "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../tests/support/with-status.sh" ${launcher}
                    "${MERO_SYSTEM_PYTHON}" -B "${CMAKE_CURRENT_SOURCE_DIR}/${script}" "${class}.test${CMAKE_MATCH_1}")
            set_tests_properties("${name}" PROPERTIES
                TIMEOUT "${ARG_TIMEOUT}"
                PASS_REGULAR_EXPRESSION "Ran [1-9][0-9]* tests? in [0-9.]+s\n\nOK\n.*${mero_ended_well}"
                SKIP_REGULAR_EXPRESSION "OK .skipped=[1-9][0-9]*.\n.*${mero_ended_well}"
                ENVIRONMENT "${ARG_ENVIRONMENT};MERO_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
            if(class IN_LIST jobClasses)
                set_tests_properties("${name}" PROPERTIES ${mero_job_properties} COST 100)
            endif()
        else()
            message(FATAL_ERROR "${script}: no test is made of this line: ${line}")
        endif()
    endforeach()
endfunction()
