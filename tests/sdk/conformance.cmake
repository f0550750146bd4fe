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
run("${CXX}" -c -fPIC "${SOURCE}/tests/sdk/spoilt.cpp" -o "${WORK}/spoilt.o" ${flags})
foreach(case
    "SaveToFileLogic::save=the open receipt is found again"
    "DocumentsDao::loadDocument=a closed sale is loaded again"
    "DocumentsDao::saveCardRecord=a card record of a closed sale can be written back"
    "DBQueueBroker::enqueue=what enqueue.. has taken is there after the process was killed"
    "ActivityNotifier::notify=notify.. calls each listener at once"
    "CurrentTime::currentDateTime=CurrentTime tells the time of now"
    "RestClient::getErrorCode=a refusal has an error code above 0"
    "RestClient::setTimeout=no answer is an error code above 0, within the time"
    "Dialog::chooseFromList=a closed list is -1"
    "BasicLoyaltySystem::registerLoyaltySystem=a loyalty system can register itself"
    "BasicLoyaltySystem::distributeBonusRecord=a bonus record is shared out over the positions"
    "Document::getSum=a bonus discount on a position lowers position and receipt"
    "Config::getInt=Config gives the default")
  string(REPLACE "=" ";" case "${case}")
  list(POP_FRONT case function promise)
  file(WRITE "${WORK}/seen" "{ global: extern \"C++\" { ${function}*; }; local: *; };")
  run("${CXX}" -shared "${WORK}/spoilt.o" "-Wl,--version-script=${WORK}/seen" -o "${WORK}/spoilt.so")
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_PRELOAD=${WORK}/spoilt.so" "${WORK}/host-conformance"
    RESULT_VARIABLE status OUTPUT_VARIABLE output)
  if(NOT status EQUAL 1 OR NOT output MATCHES "DIFFERS  ${promise}")
    message(FATAL_ERROR "A host without ${function} passes, or fails for another reason (status ${status}):\n${output}")
  endif()
endforeach()
