# One interface target carries the language options and warnings of our own code; every target of ours links it PRIVATE.
include(CheckPIESupported)
check_pie_supported()

add_library(mero_options INTERFACE)
target_compile_features(mero_options INTERFACE cxx_std_20)
# One root: an include line names the folder, and with it the layer, that it takes something from.
target_include_directories(mero_options INTERFACE "${CMAKE_SOURCE_DIR}/vpn")
target_compile_options(mero_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${MERO_WARNINGS_AS_ERRORS}>:-Werror>
    -fno-omit-frame-pointer
    # Log lines carry __FILE__: keep the paths of the build machine out of the programs.
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")

# Test programs are compiled once per run and hardly run: without optimisation, hardening and what a debugger reads they take
# less than half of the time. What they test is compiled as shipped. The reports of a sanitizer want lines.
add_library(mero_test_options INTERFACE)
target_link_libraries(mero_test_options INTERFACE mero_options)
target_include_directories(mero_test_options INTERFACE "${CMAKE_SOURCE_DIR}")
# All of them take the same precompiled header, and those that use GTK are compiled so. What is compiled with it can be kept
# and taken again if the compiler's first pass leaves the header's name in, or no time of the header's making.
target_compile_options(mero_test_options INTERFACE
    -pthread
    $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
target_compile_options(mero_test_options INTERFACE
    $<$<CONFIG:RelWithDebInfo>:-O0> $<$<CONFIG:RelWithDebInfo>:-g0> $<$<CONFIG:RelWithDebInfo>:-U_FORTIFY_SOURCE>)
if(NOT MERO_SANITIZE STREQUAL "")
    target_compile_options(mero_test_options INTERFACE -O0)
endif()

# Sanitizers and coverage must cover every object, so they are global and not part of mero_options.
if(NOT MERO_SANITIZE STREQUAL "")
    add_compile_options("-fsanitize=${MERO_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
    add_link_options("-fsanitize=${MERO_SANITIZE}")
    if(MERO_SANITIZE MATCHES "undefined")
        # This check looks at memory through a pipe that it makes: tests that leave no descriptor would fail in it.
        add_compile_options(-fno-sanitize=vptr)
    endif()
    if(MERO_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The thread sanitizer does not see the fences of Boost.Asio's pool, and GCC warns about that; warnings are errors.
        # An ordering that rests on these fences alone is therefore not checked.
        add_compile_options(-Wno-tsan)
    endif()
endif()
if(MERO_COVERAGE)
    add_compile_options(--coverage -O0)
    add_link_options(--coverage)
endif()
if(MERO_HARDENING)
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
endif()
