# The host's own SDK in the place of host/: headers under <prefix>/include/host, libraries in <prefix>/lib. The targets
# get the names that client/ and plugin/ link.

foreach(library utils quesknetwork hostcore)
  find_library(KYR_${library}_FILE ${library} PATHS "${KYR_HOST_SDK}" PATH_SUFFIXES ${CMAKE_INSTALL_LIBDIR} lib
    NO_DEFAULT_PATH REQUIRED)
  add_library(${library} SHARED IMPORTED)
  set_target_properties(${library} PROPERTIES
    IMPORTED_LOCATION "${KYR_${library}_FILE}"
    INTERFACE_LINK_LIBRARIES "Qt6::Core;Log4Qt::log4qt")
endforeach()

# Before the project's own folder, whose host/ must not be taken for the SDK's.
find_path(KYR_HOST_INCLUDE host/core/basicloyaltysystem.h PATHS "${KYR_HOST_SDK}/include" NO_DEFAULT_PATH REQUIRED)
include_directories(BEFORE "${KYR_HOST_INCLUDE}")
message(STATUS "Host: the SDK in ${KYR_HOST_SDK}")
