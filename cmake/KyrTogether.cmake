# Sources are compiled a dozen at a time, and what nearly all of them include once: a third of the time. Tests are wherever
# they are built; what is shipped is not where it would hide that a source does not include what it uses. A tool that
# reads the sources wants each of them for itself (tidy).
option(KYR_TOGETHER "Compile also what is shipped a dozen sources at a time, with precompiled headers" OFF)
set(CMAKE_PCH_WARN_INVALID OFF)

set(apart "${CMAKE_CURRENT_LIST_DIR}/apart.txt")
file(STRINGS "${apart}" KYR_APART REGEX "^[^#]")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${apart}")

set(kinds)
if(KYR_TOGETHER)
  list(APPEND kinds code)
endif()
if(BUILD_TESTING AND NOT KYR_TIDY)
  find_package(GTest REQUIRED)
  list(APPEND kinds tests)
endif()
file(WRITE "${PROJECT_BINARY_DIR}/precompiled.cpp" "")
foreach(kind IN LISTS kinds)
  add_library(precompiled_${kind} OBJECT "${PROJECT_BINARY_DIR}/precompiled.cpp")
  target_link_libraries(precompiled_${kind} PRIVATE Qt6::Core)
  target_precompile_headers(precompiled_${kind} PRIVATE
    <algorithm> <chrono> <functional> <memory> <optional> <stdexcept>
    <QDateTime> <QFile> <QHash> <QJsonArray> <QJsonDocument> <QJsonObject> <QList> <QObject> <QSharedPointer> <QString>
    <QStringList> <QUrl> <QVariant>)
endforeach()
if(TARGET precompiled_code)
  target_link_libraries(precompiled_code PRIVATE kyr_shipped)
endif()
if(TARGET precompiled_tests)
  target_link_libraries(precompiled_tests PRIVATE kyr_test_settings GTest::gmock)
  target_precompile_headers(precompiled_tests PRIVATE <gmock/gmock.h>)
endif()

# `kind` is "code" or "tests".
function(kyr_together name kind)
  if(NOT TARGET precompiled_${kind})
    return()
  endif()
  target_precompile_headers(${name} REUSE_FROM precompiled_${kind})
  target_link_libraries(${name} PRIVATE Qt6::Core) # what they include, and GCC takes them with the same definitions only
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${name} PRIVATE -Wno-subobject-linkage) # it takes each source for a header that many include
  endif()
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE room)
  get_target_property(sources ${name} SOURCES)
  foreach(source IN LISTS sources)
    if("${room}/${source}" IN_LIST KYR_APART)
      set_source_files_properties("${source}" PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    endif()
  endforeach()
endfunction()
