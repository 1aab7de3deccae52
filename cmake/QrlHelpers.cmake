# Shared build helpers: one library per folder, warnings on every target,
# tests through CTest, fuzz targets that also build as corpus-replay tests.

function(qrl_add_subdirectories)
  foreach(dir IN LISTS ARGN)
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt")
      add_subdirectory(${dir})
    endif()
  endforeach()
endfunction()

function(qrl_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
                                           -Wnon-virtual-dtor -Wcast-align
                                           -Wunused -Woverloaded-virtual
                                           -Wformat=2)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports impossible overlaps inside libstdc++'s string code once
    # inlining is on (GCC bug 105651); the warning says nothing about our code.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(QRL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# qrl_add_library(<name> [SOURCES ...] [PUBLIC_LIBS ...] [PRIVATE_LIBS ...])
# Makes target qrl_<name> with alias qrl::<name>; headers are included as
# "<folder>/<Header>.h" from the repository root.
function(qrl_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(qrl_${name} STATIC ${ARG_SOURCES})
  add_library(qrl::${name} ALIAS qrl_${name})
  target_include_directories(qrl_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(qrl_${name} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  qrl_set_warnings(qrl_${name})
endfunction()

# qrl_add_test(<name> SOURCES ... LIBS ...): a GoogleTest program registered with CTest.
function(qrl_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  qrl_set_warnings(${name})
  # One ENVIRONMENT entry per variable: a ";" list would be split into
  # separate property arguments on the way through gtest_discover_tests.
  gtest_discover_tests(${name}
    PROPERTIES ENVIRONMENT "QRL_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
               ENVIRONMENT "QRL_BINARY_DIR=${PROJECT_BINARY_DIR}"
    DISCOVERY_TIMEOUT 60)
endfunction()

# qrl_add_fuzz_target(<name> SOURCES ... LIBS ...)
# The sources define LLVMFuzzerTestOneInput. Always builds <name>_replay, which
# feeds every file of fuzz/corpus/<name>/ to it and is a CTest test; with
# QRL_FUZZ and clang, also builds <name>_fuzzer for real fuzzing.
function(qrl_add_fuzz_target name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name}_replay ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
  target_link_libraries(${name}_replay PRIVATE ${ARG_LIBS})
  target_include_directories(${name}_replay PRIVATE ${PROJECT_SOURCE_DIR})
  qrl_set_warnings(${name}_replay)
  add_test(NAME fuzz_replay.${name}
           COMMAND ${name}_replay ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  if(QRL_FUZZ AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_executable(${name}_fuzzer ${ARG_SOURCES})
    target_compile_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_libraries(${name}_fuzzer PRIVATE ${ARG_LIBS})
    target_include_directories(${name}_fuzzer PRIVATE ${PROJECT_SOURCE_DIR})
  endif()
endfunction()

# qrl_add_bench(<name> SOURCES ... LIBS ...): a Google Benchmark program.
function(qrl_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  qrl_set_warnings(${name})
endfunction()
