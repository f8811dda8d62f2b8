# mero_add_tests(<target> SOURCES a.cpp ... LIBRARIES lib ... [LABELS threaded ...])
# One test program per module; ctest runs each test in a process of its own, in any order and in parallel.
function(mero_add_tests target)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE mero_options test_support ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_precompile_headers(${target} REUSE_FROM test_pch)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    gtest_discover_tests(${target}
        DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT 120 LABELS "${ARG_LABELS}")
endfunction()
