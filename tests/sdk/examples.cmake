# The examples, each a project of its own that is told no more than where the SDK lies.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${WORK}")
foreach(example host plugin)
  run("${CMAKE_COMMAND}" -S "${SOURCE}/examples/${example}" -B "${WORK}/${example}" ${CONSUMERS}
    "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror")
  run("${CMAKE_COMMAND}" --build "${WORK}/${example}")
endforeach()
