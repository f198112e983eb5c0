# Compiler settings and the switches of the presets.

option(QUORVEX_BUILD_APPS "Build the programs in apps/ and examples/" ON)
option(QUORVEX_BUILD_TESTS "Build the tests" ON)
option(QUORVEX_BUILD_BENCH "Build the benchmarks" OFF)
set(QUORVEX_SANITIZE "" CACHE STRING "Sanitizers, such as address,undefined or thread")
option(QUORVEX_COVERAGE "Count covered lines" OFF)

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
endif()

add_library(quorvex_settings INTERFACE)
# No contraction: a polynomial's sum is the same to the last bit on every machine.
target_compile_options(quorvex_settings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter -ffp-contract=off
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(quorvex_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
    # GCC 12 warns of overlapping copies inside std::string where there are none (its bug 105651), at -O3.
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(quorvex_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
    endif()
endif()
if(QUORVEX_SANITIZE)
    target_compile_options(quorvex_settings INTERFACE
        -fsanitize=${QUORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(quorvex_settings INTERFACE -fsanitize=${QUORVEX_SANITIZE})
    # The added checks make GCC see bounds of short texts that aren't there. The plain build keeps these warnings.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(quorvex_settings INTERFACE -Wno-array-bounds -Wno-stringop-overflow)
    endif()
endif()
if(QUORVEX_COVERAGE)
    target_compile_options(quorvex_settings INTERFACE --coverage)
    target_link_options(quorvex_settings INTERFACE --coverage)
endif()
