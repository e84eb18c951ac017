# Project-wide compiler settings and small helpers for the subsystem folders.

add_compile_options(-Wall -Wextra -Werror)
# GCC 12 at -O3 reports overlapping copies inside libstdc++'s own
# `"text" + std::string` (a known false positive, fixed in GCC 13).
add_compile_options(
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
include_directories(${PROJECT_SOURCE_DIR})
# GCC gives function-local statics of inline code "unique" binding, and the
# loader never unloads a library holding such a symbol: the inspector plug-in
# (and everything linked into it) must stay unloadable.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

if(ZOR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(ZOR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZOR_FUZZ needs clang: configure with CXX=clang++ CC=clang")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# Adds every direct subfolder of the current folder that has a CMakeLists.txt.
function(zor_add_subfolders)
  file(GLOB children LIST_DIRECTORIES true RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}
       ${CMAKE_CURRENT_SOURCE_DIR}/*)
  list(SORT children)
  foreach(child IN LISTS children)
    if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/${child}
       AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${child}/CMakeLists.txt)
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()

# zor_test(NAME SOURCES a.cc b.cc LIBS lib...) builds a GoogleTest program and
# registers each of its tests with CTest.
find_package(GTest REQUIRED)
include(GoogleTest)
function(zor_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                       WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endfunction()

# zor_bench(NAME SOURCES ... LIBS ...) builds a Google Benchmark program.
function(zor_bench name)
  cmake_parse_arguments(B "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${B_SOURCES})
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
endfunction()

# zor_fuzzer(NAME SOURCES ... LIBS ...) builds a libFuzzer target.
function(zor_fuzzer name)
  cmake_parse_arguments(F "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${F_SOURCES})
  target_link_libraries(${name} PRIVATE ${F_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
