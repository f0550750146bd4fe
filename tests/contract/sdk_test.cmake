# Installs the host as an SDK and builds the plug-in against it: cmake -DBUILD=… -DSOURCE=… -DWORK=… -P sdk_test.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${WORK}/sdk")
run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}/build" -G Ninja "-DKYR_HOST_SDK=${WORK}/sdk" -DCMAKE_BUILD_TYPE=Debug
  -DCMAKE_CXX_FLAGS_DEBUG=-O0)
run("${CMAKE_COMMAND}" --build "${WORK}/build")

# Its headers were the SDK's, and its host libraries were not built here.
file(GLOB libraries RELATIVE "${WORK}/build/lib" "${WORK}/build/lib/*")
foreach(library IN LISTS libraries)
  if(library MATCHES "libutils|libquesknetwork|libhostcore")
    message(FATAL_ERROR "${library} was built although an SDK was given")
  endif()
endforeach()
run(ninja -C "${WORK}/build" -t deps)
# By the ends of their paths: a compiler cache may have made them relative.
string(REGEX MATCHALL "[^\n]*/host/core/[^\n]*\\.h" headers "${output}")
if(NOT headers)
  message(FATAL_ERROR "the SDK's headers were not used")
endif()
foreach(header IN LISTS headers)
  if(NOT header MATCHES "/sdk/include/host/core/")
    message(FATAL_ERROR "a header of the embedded host was used although an SDK was given: ${header}")
  endif()
endforeach()
