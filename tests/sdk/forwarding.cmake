# A host whose header paths, codes and libraries have other names, and the plug-in built against it by way of the folder
# of forwarding headers. It is the installed SDK in another dress, so the plug-in can be tried in the example host.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${WORK}")
set(names SaleReceipt POS_RECEIPT ReturnReceipt POS_REFUND LoyaltyCardPresented POS_FLAG_CARD
  KyrLoyaltySystem POS_LOYALTY_12 RegistrationIncomplete NEW Active GOOD Blocked STOPPED
  ReceiptClosed EVENT_10 ProcessMessage EVENT_72 BeforeModalDialog EVENT_73)
file(GLOB_RECURSE headers "${PREFIX}/include/kyrhost/host/*.h")
foreach(header IN LISTS headers)
  file(READ "${header}" text)
  string(REGEX REPLACE "\"host/[a-z]+/" "\"pos/" text "${text}")
  set(rest ${names})
  while(rest)
    list(POP_FRONT rest ours theirs)
    string(REGEX REPLACE "([^A-Za-z_])${ours}([^A-Za-z_])" "\\1${theirs}\\2" text "${text}")
  endwhile()
  get_filename_component(name "${header}" NAME)
  file(CONFIGURE OUTPUT "${WORK}/pos/include/pos/${name}" CONTENT "@text@" @ONLY)
endforeach()
file(COPY "${PREFIX}/include/kyrhost/dropin/log4qt" DESTINATION "${WORK}/pos/include")
foreach(pair hostcore=poskernel quesknetwork=posnet utils=posbase kyrlog4qt=poslog)
  string(REPLACE "=" ";" pair "${pair}")
  list(GET pair 0 ours)
  list(GET pair 1 theirs)
  file(GLOB_RECURSE library "${PREFIX}/*/lib${ours}.so")
  configure_file("${library}" "${WORK}/pos/lib/lib${theirs}.so" COPYONLY)
endforeach()

run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}/plugin" ${CONSUMERS} "-DKYR_HOST_SDK=${SOURCE}/examples/forwarding"
  "-DPOS_SDK=${WORK}/pos" -DKYR_TOGETHER=ON -DBUILD_TESTING=OFF)
run("${CMAKE_COMMAND}" --build "${WORK}/plugin")
