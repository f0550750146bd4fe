# What every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

include(GNUInstallDirs)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(KYR_LIBRARY_SUBDIR "" CACHE STRING "Folder of the libraries' own, where their plain names meet no others")
cmake_path(APPEND CMAKE_INSTALL_LIBDIR "${KYR_LIBRARY_SUBDIR}" OUTPUT_VARIABLE KYR_LIBRARYDIR)
string(REGEX REPLACE "/$" "" KYR_LIBRARYDIR "${KYR_LIBRARYDIR}")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON) # its place is in what is installed, by length
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${KYR_LIBRARYDIR}:$ORIGIN")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  # With precompiled headers it has to be told that macros and times in them are none of its business.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros "${CCACHE_PROGRAM}")
endif()

find_package(Qt6 6.4 REQUIRED COMPONENTS Core Network Sql)

add_library(kyr_settings INTERFACE)
target_include_directories(kyr_settings INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(kyr_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow> # Clang sees the names of sources shadowed, too, with which one is compiled together
  $<$<BOOL:${KYR_WARNINGS_AS_ERRORS}>:-Werror>)
# Valgrind of Debian 12 does not read what Clang writes else.
target_compile_options(kyr_settings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-gdwarf-4>)
target_compile_definitions(kyr_settings INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_FOREACH QT_NO_KEYWORDS QT_DISABLE_DEPRECATED_BEFORE=0x060400)
# Tests run once: to optimise them takes longer than it saves.
add_library(kyr_test_settings INTERFACE)
target_link_libraries(kyr_test_settings INTERFACE kyr_settings)
target_compile_options(kyr_test_settings INTERFACE $<$<CONFIG:Release>:-O0>)
# What is shipped, in distinction from its tests.
add_library(kyr_shipped INTERFACE)
target_link_libraries(kyr_shipped INTERFACE kyr_settings)
if(KYR_SANITIZE)
  target_compile_options(kyr_test_settings INTERFACE -O0)
  # Undefined behaviour is looked for in what is shipped: tests take twice as long to compile with it.
  string(REPLACE ",undefined" "" everywhere "${KYR_SANITIZE}")
  target_compile_options(kyr_settings INTERFACE -fsanitize=${everywhere} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(kyr_shipped INTERFACE -fsanitize=${KYR_SANITIZE})
  target_link_options(kyr_settings INTERFACE -fsanitize=${KYR_SANITIZE})
  if(KYR_SANITIZE MATCHES thread)
    set(KYR_PROGRAM_SOURCES "${PROJECT_SOURCE_DIR}/cmake/tsan/clone.cpp")
  endif()
else()
  # A sanitizer's runtime is found in the program, so its libraries have undefined symbols by design.
  target_link_options(kyr_settings INTERFACE -Wl,--no-undefined)
endif()

if(KYR_COVERAGE)
  target_compile_options(kyr_shipped INTERFACE -fprofile-instr-generate -fprofile-update=atomic -fcoverage-mapping)
  target_link_options(kyr_settings INTERFACE -fprofile-instr-generate)
  # Two functions that only their source sees are told apart by its name, which two sources may have: by its path, then.
  string(REPLACE "<FLAGS>" "<FLAGS> -Xclang -main-file-name -Xclang <SOURCE>" CMAKE_CXX_COMPILE_OBJECT
    "${CMAKE_CXX_COMPILE_OBJECT}")
endif()
if(KYR_FUZZ) # which bytes lead somewhere new; others' headers are not ours to judge
  file(WRITE "${PROJECT_BINARY_DIR}/others.txt" "[undefined]\nsrc:/usr/include/*\n")
  # How near a word is to the known ones is a loop in a loop that leads nowhere, and took over half of the time.
  file(WRITE "${PROJECT_BINARY_DIR}/uncounted.txt" "src:*/till/cli/suggestion.cpp\n")
  target_compile_options(kyr_shipped INTERFACE
    -fsanitize=fuzzer-no-link "-fsanitize-ignorelist=${PROJECT_BINARY_DIR}/others.txt"
    "-fsanitize-coverage-ignorelist=${PROJECT_BINARY_DIR}/uncounted.txt")
endif()
if(KYR_TIDY)
  find_program(CLANG_TIDY_PROGRAM NAMES clang-tidy-14 clang-tidy REQUIRED)
  set(CMAKE_CXX_CLANG_TIDY "${CLANG_TIDY_PROGRAM};--quiet")
  # What moc generates is compiled from the build folder: there, clang-tidy finds this file first.
  file(WRITE "${PROJECT_BINARY_DIR}/.clang-tidy" "Checks: '-*,misc-static-assert'\nInheritParentConfig: false\n")
endif()
