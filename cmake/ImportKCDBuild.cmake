# Compiler settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(IMPORTKCD_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

if(IMPORTKCD_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # Mistakes in the use of the C++ library that touch memory of one's own.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

option(IMPORTKCD_SANITIZE_THREADS "Build with ThreadSanitizer" OFF)
if(IMPORTKCD_SANITIZE_THREADS)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

option(IMPORTKCD_COVERAGE "Count which lines and branches run (GCC)" OFF)
if(IMPORTKCD_COVERAGE)
  # Atomic: a test's server counts in threads of its own.
  add_compile_options(--coverage -fprofile-update=atomic -fprofile-abs-path)
  add_link_options(--coverage)
endif()

# Optimised builds are what users run: they are hardened. _FORTIFY_SOURCE does nothing without
# optimisation, and AddressSanitizer has better means of its own. scripts/check-hardening reads the
# binaries.
set(hardened_build_types Release RelWithDebInfo MinSizeRel)
if(CMAKE_BUILD_TYPE IN_LIST hardened_build_types AND NOT IMPORTKCD_SANITIZE)
  set(IMPORTKCD_HARDENED_DEFAULT ON)
else()
  set(IMPORTKCD_HARDENED_DEFAULT OFF)
endif()
option(IMPORTKCD_HARDENED "Harden the programs against memory faults"
       ${IMPORTKCD_HARDENED_DEFAULT})

if(IMPORTKCD_HARDENED)
  add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  # After CMake's own -fPIC for libraries: what only ever becomes part of a program needs no more.
  # Qt asks for -fPIC once more, later on the command line.
  set(part_of_a_program
      "$<NOT:$<IN_LIST:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY;MODULE_LIBRARY>>")
  add_compile_options("$<${part_of_a_program}:-fPIE>")
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()

add_library(importkcd_settings INTERFACE)
target_include_directories(importkcd_settings INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(importkcd_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # A false alarm of this release about joined std::string (GCC bug 105651).
  target_compile_options(importkcd_settings INTERFACE -Wno-restrict)
endif()

# The sources of the current folder and of those named below it, but for those that are left out.
function(importkcd_sources result)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "FOLDERS;EXCLUDE")
  set(patterns *.cpp)
  foreach(folder IN LISTS ARG_FOLDERS)
    list(APPEND patterns ${folder}/*.cpp)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" ${patterns})
  list(REMOVE_ITEM sources ${ARG_EXCLUDE})
  set(${result} ${sources} PARENT_SCOPE)
endfunction()

# importkcd_library(NAME [FOLDERS folder...] [EXCLUDE source...]): a static library of the folder.
function(importkcd_library name)
  importkcd_sources(sources ${ARGN})
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC importkcd_settings)
  if(IMPORTKCD_FUZZ)
    # Tells a fuzz program which code an input reached.
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# importkcd_test(NAME [FOLDERS folder...] [EXCLUDE source...] [SHARDS count] [FILTER filter]): the
# folder's GoogleTest program. It runs as a whole, or as so many parts that can run side by side: a
# process per test would take longer than most of the tests.
function(importkcd_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "SHARDS;FILTER" "FOLDERS;EXCLUDE")
  importkcd_sources(sources FOLDERS ${ARG_FOLDERS} EXCLUDE ${ARG_EXCLUDE})
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE importkcd_settings GTest::gmock)
  if(NOT sources MATCHES "test_main.cpp")
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  set(command ${name} --gtest_brief=1)
  if(ARG_FILTER)
    list(APPEND command --gtest_filter=${ARG_FILTER})
  endif()
  if(NOT ARG_SHARDS)
    add_test(NAME ${name} COMMAND ${command})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900)
    return()
  endif()
  math(EXPR last "${ARG_SHARDS} - 1")
  foreach(index RANGE ${last})
    add_test(NAME ${name}.${index} COMMAND ${command})
    set_tests_properties(${name}.${index} PROPERTIES TIMEOUT 900
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
