# The programs that the thread sanitizer is to see; script/test tsan builds these and no others.
add_custom_target(threaded_tests)

# mero_add_tests(<target> SOURCES a.cpp ... LIBRARIES lib ... [LABELS threaded ...] [RESOURCE_LOCK working_folder])
# One test program per module; ctest runs each test in a process of its own, in any order and in parallel.
# Tests that run a whole job share one working folder of a fixed name and take the lock of that name.
function(mero_add_tests target)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS;RESOURCE_LOCK" ${ARGN})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE mero_test_options test_support ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_precompile_headers(${target} REUSE_FROM test_pch)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    set(properties TIMEOUT 120)
    # An empty value would vanish from the list and shift the ones behind it.
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    if(ARG_RESOURCE_LOCK)
        list(APPEND properties RESOURCE_LOCK "${ARG_RESOURCE_LOCK}")
    endif()
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${target})
    endif()
endfunction()

# mero_add_python_tests(<script> [PREFIX prefix] [INTERPRETER python] [ENVIRONMENT NAME=value ...])
# Each test method of a unittest script gets a process of its own. A class runs whole jobs if the name of its base ends in
# JobTest. Without an environment the script drives the console front; its folder of sources is always named.
function(mero_add_python_tests script)
    cmake_parse_arguments(ARG "" "PREFIX;INTERPRETER" "ENVIRONMENT" ${ARGN})
    if(NOT ARG_INTERPRETER)
        set(ARG_INTERPRETER "${Python3_EXECUTABLE}")
    endif()
    if(NOT ARG_ENVIRONMENT)
        set(ARG_ENVIRONMENT "MEROCLI=$<TARGET_FILE:merocli>")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${script}")
    file(STRINGS ${script} lines REGEX "^class [A-Za-z]+\\(|^    def test[A-Za-z0-9]+\\(")
    foreach(line IN LISTS lines)
        if(line MATCHES "^class ([A-Za-z]+)\\(([A-Za-z.]+)\\)")
            set(class "${CMAKE_MATCH_1}")
            set(base "${CMAKE_MATCH_2}")
        elseif(line MATCHES "def test([A-Za-z0-9]+)")
            set(name "${ARG_PREFIX}${class}.${CMAKE_MATCH_1}")
            add_test(NAME "${name}"
                COMMAND "${ARG_INTERPRETER}" -B "${CMAKE_CURRENT_SOURCE_DIR}/${script}" "${class}.test${CMAKE_MATCH_1}")
            set_tests_properties("${name}" PROPERTIES
                TIMEOUT 120
                SKIP_REGULAR_EXPRESSION "OK \\(skipped="
                ENVIRONMENT "${ARG_ENVIRONMENT};MERO_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
            if(base MATCHES "JobTest$")
                set_tests_properties("${name}" PROPERTIES RESOURCE_LOCK working_folder)
            endif()
        endif()
    endforeach()
endfunction()
