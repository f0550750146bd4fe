# A made-up host, whose headers are <pos/….h> and whose libraries are libposkernel, libposnet and libposbase, under the
# names that the plug-in is built with. POS_SDK is where it lies.
find_package(Qt6 REQUIRED COMPONENTS Core)

function(forward library file)
  add_library(KyrHost::${library} SHARED IMPORTED GLOBAL)
  set_target_properties(KyrHost::${library} PROPERTIES
    IMPORTED_LOCATION "${POS_SDK}/lib/lib${file}.so"
    INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/include;${POS_SDK}/include"
    INTERFACE_LINK_LIBRARIES "Qt6::Core;${ARGN}")
endfunction()
forward(log4qt poslog)
forward(utils posbase KyrHost::log4qt)
forward(hostcore poskernel KyrHost::utils)
forward(quesknetwork posnet KyrHost::hostcore)
