# The plug-in, built against the installed host in the place of host/.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}" ${CONSUMERS} "-DKYR_HOST_SDK=${PREFIX}"
  -DKYR_TOGETHER=ON -DBUILD_TESTING=OFF)
run("${CMAKE_COMMAND}" --build "${WORK}")

# Its headers were the SDK's, and its host libraries were not built here.
file(GLOB libraries RELATIVE "${WORK}/lib" "${WORK}/lib/*")
if(NOT libraries STREQUAL "libKYRLoyalty.so")
  message(FATAL_ERROR "built although an SDK was given: ${libraries}")
endif()
run(ninja -C "${WORK}" -t deps)
# By the ends of their paths: a compiler cache may have made them relative.
string(REGEX MATCHALL "[^\n]*/host/core/[^\n]*\\.h" headers "${output}")
if(NOT headers)
  message(FATAL_ERROR "the SDK's headers were not used")
endif()
foreach(header IN LISTS headers)
  if(NOT header MATCHES "/include/kyrhost/host/core/")
    message(FATAL_ERROR "a header of the embedded host was used although an SDK was given: ${header}")
  endif()
endforeach()
