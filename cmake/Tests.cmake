# The programs that the thread sanitizer is to see; script/test tsan builds these and no others.
add_custom_target(threaded_tests)

# mero_add_tests(<target> SOURCES a.cpp ... LIBRARIES lib ... [LABELS threaded ...] [RESOURCE_LOCK working_folder])
# One test program per module; ctest runs each test in a process of its own, in any order and in parallel.
# Tests that run a whole job share one working folder of a fixed name and take the lock of that name.
function(mero_add_tests target)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS;RESOURCE_LOCK" ${ARGN})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE mero_options test_support ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_precompile_headers(${target} REUSE_FROM test_pch)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    set(properties TIMEOUT 120 LABELS "${ARG_LABELS}")
    if(ARG_RESOURCE_LOCK)
        list(APPEND properties RESOURCE_LOCK "${ARG_RESOURCE_LOCK}")
    endif()
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
    if("threaded" IN_LIST ARG_LABELS)
        add_dependencies(threaded_tests ${target})
    endif()
endfunction()
