# The kit that checks a host: the embedded one keeps all promises, and a host that breaks one is told which.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" -S "${SOURCE}/conformance/host" -B "${WORK}" ${CONSUMERS} "-DCMAKE_PREFIX_PATH=${PREFIX}"
  -DCMAKE_UNITY_BUILD=ON "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror")
run("${CMAKE_COMMAND}" --build "${WORK}")
run("${WORK}/host-conformance")
if(NOT output MATCHES "promises, 0 differ\n")
  message(FATAL_ERROR "${output}")
endif()

file(GLOB_RECURSE pc "${PREFIX}/*/kyrhost.pc")
get_filename_component(folder "${pc}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${folder}")
run(pkg-config --cflags kyrhost)
separate_arguments(flags UNIX_COMMAND "${output}")
configure_file("${SOURCE}/tests/sdk/spoilt.h" "${WORK}/spoilt.h" COPYONLY)
run("${CXX}" -fPIC -x c++-header "${WORK}/spoilt.h" -o "${WORK}/spoilt.h.gch" ${flags})
foreach(case
    "SAVE=the open receipt is found again"
    "LOAD=a closed sale is loaded again"
    "CARD=a card record of a closed sale can be written back"
    "QUEUE=what enqueue.. has taken is there after the process was killed"
    "EVENTS=notify.. calls each listener at once"
    "CLOCK=CurrentTime tells the time of now"
    "CODE=a refusal has an error code above 0"
    "TIMEOUT=no answer is an error code above 0, within the time"
    "CHOICE=a closed list is -1"
    "REGISTRATION=a loyalty system can register itself"
    "SHARES=a bonus record is shared out over the positions"
    "SUM=a bonus discount on a position lowers position and receipt"
    "SETTINGS=Config gives the default")
  string(REPLACE "=" ";" case "${case}")
  list(POP_FRONT case name promise)
  run("${CXX}" -shared -fPIC "-DSPOILT_${name}" "${SOURCE}/tests/sdk/spoilt.cpp"
    -include "${WORK}/spoilt.h" -o "${WORK}/${name}.so" ${flags})
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_PRELOAD=${WORK}/${name}.so" "${WORK}/host-conformance"
    RESULT_VARIABLE status OUTPUT_VARIABLE output)
  if(NOT status EQUAL 1 OR NOT output MATCHES "DIFFERS  ${promise}")
    message(FATAL_ERROR "A host without ${name} passes, or fails for another reason (status ${status}):\n${output}")
  endif()
endforeach()
