# Compiler settings, and the functions by which every folder declares its targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)

find_program(QUARRY_CCACHE ccache)
if(QUARRY_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${QUARRY_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QUARRY_CCACHE})
endif()

option(QUARRY_WERROR "Treat warnings as errors" OFF)
set(QUARRY_SANITIZE "" CACHE STRING "Sanitizers for everything, as for -fsanitize=")

add_library(quarry_flags INTERFACE)
target_compile_options(quarry_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align -Wconversion -Wno-sign-conversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # False alarms of g++ 12 inside its own std::string and std::variant at -O2.
  target_compile_options(quarry_flags INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()
if(QUARRY_WERROR)
  target_compile_options(quarry_flags INTERFACE -Werror)
endif()
if(QUARRY_SANITIZE)
  add_compile_options(-fsanitize=${QUARRY_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${QUARRY_SANITIZE})
endif()

# The build tree is laid out like an installed prefix, so that everything finds its neighbours the same way.
set(QUARRY_LIBEXEC_DIR ${CMAKE_INSTALL_LIBEXECDIR}/quarry)
set(QUARRY_SPOTLIGHT_DIR lib/quarry/Spotlight)
set(QUARRY_BUILD_LIBEXEC ${CMAKE_BINARY_DIR}/libexec/quarry)
set(QUARRY_BUILD_SPOTLIGHT ${CMAKE_BINARY_DIR}/lib/quarry/Spotlight)

function(quarry_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:quarry_flags>)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
endfunction()

# quarry_library(NAME SOURCES file... [LINK public...] [LINK_PRIVATE private...] [SANITIZED])
#
# A static library `quarry_NAME`, known to others as quarry::NAME. Headers are included by their path from the root.
# SANITIZED adds the twin quarry::NAME_sanitized with the address and undefined-behaviour sanitizers when tests are
# built; tests declared SANITIZED link the twins.
function(quarry_library name)
  cmake_parse_arguments(arg "SANITIZED" "" "SOURCES;LINK;LINK_PRIVATE" ${ARGN})
  add_library(quarry_${name} STATIC ${arg_SOURCES})
  add_library(quarry::${name} ALIAS quarry_${name})
  set_target_properties(quarry_${name} PROPERTIES EXPORT_NAME ${name})
  quarry_target_defaults(quarry_${name})
  target_link_libraries(quarry_${name} PUBLIC ${arg_LINK} PRIVATE ${arg_LINK_PRIVATE})
  if(arg_SANITIZED AND QUARRY_TESTS AND NOT QUARRY_SANITIZE)
    add_library(quarry_${name}_sanitized STATIC EXCLUDE_FROM_ALL ${arg_SOURCES})
    add_library(quarry::${name}_sanitized ALIAS quarry_${name}_sanitized)
    quarry_target_defaults(quarry_${name}_sanitized)
    target_compile_options(quarry_${name}_sanitized PUBLIC -fsanitize=address,undefined -fno-omit-frame-pointer
                                                           -fno-sanitize-recover=undefined)
    target_link_options(quarry_${name}_sanitized PUBLIC -fsanitize=address,undefined)
    string(REGEX REPLACE "(quarry::[a-z_]+)" "\\1_sanitized" twins "${arg_LINK}")
    target_link_libraries(quarry_${name}_sanitized PUBLIC ${twins} PRIVATE ${arg_LINK_PRIVATE})
  endif()
endfunction()

# quarry_test(NAME SOURCES file... LINK library... [SANITIZED] [SERIAL] [TIMEOUT seconds] [DEFINES definition...])
#
# A GoogleTest program `NAME_tests`; each of its tests is a CTest test of its own process, limited to 60 s unless TIMEOUT
# says otherwise. SERIAL tests run alone.
function(quarry_test name)
  cmake_parse_arguments(arg "SANITIZED;SERIAL" "TIMEOUT" "SOURCES;LINK;DEFINES" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
  endif()
  set(libraries ${arg_LINK})
  if(arg_SANITIZED AND NOT QUARRY_SANITIZE)
    string(REGEX REPLACE "(quarry::[a-z_]+)" "\\1_sanitized" libraries "${libraries}")
  endif()
  add_executable(${name}_tests ${arg_SOURCES})
  if(arg_SANITIZED)
    # The checks make tables of cases slow to optimize, and the time of the tests is spent in the libraries.
    target_compile_options(${name}_tests PRIVATE $<$<CONFIG:Debug>:-O0>)
  endif()
  quarry_target_defaults(${name}_tests)
  target_compile_definitions(${name}_tests PRIVATE
    QUARRY_BUILD_PREFIX="${CMAKE_BINARY_DIR}" QUARRY_SOURCE_DIR="${PROJECT_SOURCE_DIR}" ${arg_DEFINES})
  target_link_libraries(${name}_tests PRIVATE ${libraries} GTest::gtest GTest::gmock GTest::gtest_main)
  set_target_properties(${name}_tests PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set(properties TIMEOUT ${arg_TIMEOUT})
  if(arg_SERIAL)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  gtest_discover_tests(${name}_tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX ${name}.
                       PROPERTIES ${properties})
endfunction()

# quarry_fuzz_target(NAME SOURCE file LINK library...)
#
# A libFuzzer program `fuzz_NAME`. Its dictionary and seeds, when there are any, are fuzz/dictionaries/NAME.dict and
# fuzz/seeds/NAME/.
function(quarry_fuzz_target name)
  cmake_parse_arguments(arg "" "SOURCE" "LINK" ${ARGN})
  add_executable(fuzz_${name} ${arg_SOURCE})
  quarry_target_defaults(fuzz_${name})
  target_link_libraries(fuzz_${name} PRIVATE ${arg_LINK})
  target_compile_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(fuzz_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
endfunction()

# quarry_benchmark(NAME SOURCES file... LINK library... [DEFINES definition...])
#
# A Google Benchmark program `bench_NAME` in benchmarks/ of the build tree, where benchmarks/compare finds it.
function(quarry_benchmark name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK;DEFINES" ${ARGN})
  add_executable(bench_${name} ${arg_SOURCES})
  quarry_target_defaults(bench_${name})
  target_compile_definitions(bench_${name} PRIVATE QUARRY_BUILD_PREFIX="${CMAKE_BINARY_DIR}" ${arg_DEFINES})
  target_link_libraries(bench_${name} PRIVATE ${arg_LINK} benchmark::benchmark)
  set_target_properties(bench_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/benchmarks)
endfunction()
