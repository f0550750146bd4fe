# The host's own SDK in the place of host/: its CMake package KyrHost, below that prefix and nowhere else. The targets get
# the names that client/ and plugin/ link.

find_package(KyrHost REQUIRED PATHS "${KYR_HOST_SDK}" NO_DEFAULT_PATH)
foreach(library utils quesknetwork hostcore)
  add_library(${library} ALIAS KyrHost::${library})
endforeach()
# The host's loggers are those that its libraries were built with; another Log4Qt on this system has other ones.
if(TARGET KyrHost::log4qt)
  add_library(Log4Qt::log4qt ALIAS KyrHost::log4qt)
endif()

# Before the project's own folder, whose host/ must not be taken for the SDK's; what comes as a system's folder would be
# searched last.
get_target_property(KYR_HOST_INCLUDE KyrHost::utils INTERFACE_INCLUDE_DIRECTORIES)
include_directories(BEFORE ${KYR_HOST_INCLUDE})
foreach(library utils quesknetwork hostcore log4qt)
  if(TARGET KyrHost::${library})
    set_target_properties(KyrHost::${library} PROPERTIES SYSTEM OFF)
  endif()
endforeach()
message(STATUS "Host: the SDK in ${KYR_HOST_SDK}")
