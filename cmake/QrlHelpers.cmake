# Shared build helpers: one library per folder, warnings on every target,
# tests through CTest, fuzz targets that also build as corpus-replay tests.

include(QrlLayers)

# qrl_add_subdirectories(<folder>...): adds each folder below the current one;
# a folder without a CMakeLists.txt is a configure error naming it.
function(qrl_add_subdirectories)
  foreach(dir IN LISTS ARGN)
    set(path "${CMAKE_CURRENT_SOURCE_DIR}/${dir}")
    if(NOT EXISTS "${path}/CMakeLists.txt")
      file(RELATIVE_PATH shown "${PROJECT_SOURCE_DIR}" "${path}")
      file(RELATIVE_PATH list_file "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_LIST_FILE}")
      message(FATAL_ERROR "${list_file} lists ${dir}, but ${shown}/CMakeLists.txt does not exist")
    endif()
    set_property(GLOBAL APPEND PROPERTY QRL_ADDED_FOLDERS "${path}")
    add_subdirectory(${dir})
  endforeach()
endfunction()

# qrl_staged_includes(<out_var> <stage> <folder>): makes
# ${PROJECT_BINARY_DIR}/include/<stage>/<folder> a link to the source folder
# and sets <out_var> to ${PROJECT_BINARY_DIR}/include/<stage>. Put on a
# target's include path, that directory lets it include "<folder>/X.h" and
# nothing else of the tree.
function(qrl_staged_includes out_var stage folder)
  set(source "${PROJECT_SOURCE_DIR}/${folder}")
  if(NOT IS_DIRECTORY "${source}")
    message(FATAL_ERROR "the include folder ${folder} does not exist")
  endif()
  set(root "${PROJECT_BINARY_DIR}/include/${stage}")
  get_filename_component(parent "${root}/${folder}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${source}" "${root}/${folder}" SYMBOLIC)
  set(${out_var} "${root}" PARENT_SCOPE)
endfunction()

# Gives a test, fuzz target or benchmark the shared support headers
# ("tests/...", "bench/...") and the headers of the program folders it
# builds sources of (FOLDERS apps/qrl); libraries come through what it links.
function(qrl_support_includes target)
  qrl_staged_includes(support support tests)
  qrl_staged_includes(support support bench)
  target_include_directories(${target} PRIVATE "${support}")
  foreach(folder IN LISTS ARGN)
    string(REPLACE "/" "_" stage "program_${folder}")
    qrl_staged_includes(dir ${stage} ${folder})
    target_include_directories(${target} PRIVATE "${dir}")
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
# Makes target qrl_<name> with alias qrl::<name> from the current folder,
# which cmake/QrlLayers.cmake declares. Its headers are included as
# "<folder>/<Header>.h"; it exports only its own folder, so a file includes
# another library's headers only when its library links that library. Each
# library of ours it links must be defined already and lie below it.
function(qrl_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  get_property(declared GLOBAL PROPERTY QRL_FOLDER_${name})
  if(NOT "${declared}" STREQUAL "${folder}")
    message(FATAL_ERROR "qrl_add_library(${name}) in ${folder}/: declare the library with "
                        "its folder and layer in cmake/QrlLayers.cmake")
  endif()
  foreach(link IN LISTS ARG_PUBLIC_LIBS ARG_PRIVATE_LIBS)
    if(NOT link MATCHES "^qrl::(.+)$")
      continue()
    endif()
    set(to ${CMAKE_MATCH_1})
    get_property(to_folder GLOBAL PROPERTY QRL_FOLDER_${to})
    if(to_folder AND NOT TARGET qrl_${to})
      message(FATAL_ERROR "qrl::${name} (${folder}/) links qrl::${to} before it is defined: "
                          "${to_folder} must come before ${folder} in the folder list of "
                          "CMakeLists.txt")
    endif()
    qrl_link_refusal(refusal ${name} ${to})
    if(refusal)
      message(FATAL_ERROR "${refusal}")
    endif()
  endforeach()
  add_library(qrl_${name} STATIC ${ARG_SOURCES})
  add_library(qrl::${name} ALIAS qrl_${name})
  qrl_staged_includes(includes ${name} ${folder})
  target_include_directories(qrl_${name} PUBLIC "${includes}")
  target_link_libraries(qrl_${name} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  qrl_set_warnings(qrl_${name})
endfunction()

# qrl_add_test(<name> SOURCES ... LIBS ... [FOLDERS ...]): a GoogleTest program
# registered with CTest; FOLDERS as for qrl_support_includes.
function(qrl_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;FOLDERS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  qrl_support_includes(${name} ${ARG_FOLDERS})
  qrl_set_warnings(${name})
  # One ENVIRONMENT entry per variable: a ";" list would be split into
  # separate property arguments on the way through gtest_discover_tests.
  gtest_discover_tests(${name}
    PROPERTIES ENVIRONMENT "QRL_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
               ENVIRONMENT "QRL_BINARY_DIR=${PROJECT_BINARY_DIR}"
    DISCOVERY_TIMEOUT 60)
endfunction()

# qrl_add_fuzz_target(<name> SOURCES ... LIBS ... [FOLDERS ...])
# The sources define LLVMFuzzerTestOneInput. Always builds <name>_replay, which
# feeds every file of fuzz/corpus/<name>/ to it and is a CTest test; with
# QRL_FUZZ and clang, also builds <name>_fuzzer for real fuzzing, with a short
# CTest run from an empty corpus that proves it links and runs. FOLDERS as for
# qrl_support_includes.
function(qrl_add_fuzz_target name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;FOLDERS" ${ARGN})
  add_executable(${name}_replay ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
  target_link_libraries(${name}_replay PRIVATE ${ARG_LIBS})
  qrl_support_includes(${name}_replay ${ARG_FOLDERS})
  qrl_set_warnings(${name}_replay)
  add_test(NAME fuzz_replay.${name}
           COMMAND ${name}_replay ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  if(QRL_FUZZ AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_executable(${name}_fuzzer ${ARG_SOURCES})
    target_compile_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_libraries(${name}_fuzzer PRIVATE ${ARG_LIBS})
    qrl_support_includes(${name}_fuzzer ${ARG_FOLDERS})
    qrl_set_warnings(${name}_fuzzer)
    add_test(NAME fuzz_smoke.${name}
             COMMAND ${name}_fuzzer -runs=2000 -seed=1
                     -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${name}-)
  endif()
endfunction()

# qrl_add_bench(<name> SOURCES ... LIBS ... [FOLDERS ...]): a Google Benchmark
# program; FOLDERS as for qrl_support_includes.
function(qrl_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;FOLDERS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark)
  qrl_support_includes(${name} ${ARG_FOLDERS})
  qrl_set_warnings(${name})
endfunction()
