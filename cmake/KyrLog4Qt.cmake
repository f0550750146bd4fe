# Log4Qt::log4qt is upstream's package when it is installed, else the drop-in of host/log4qt.

if(KYR_WITH_LOG4QT)
  find_package(Log4Qt QUIET)
endif()
if(TARGET Log4Qt::log4qt)
  set(KYR_LOG4QT_IS_UPSTREAM 1)
  message(STATUS "Logging: Log4Qt ${Log4Qt_VERSION} as installed")
else()
  set(KYR_LOG4QT_IS_UPSTREAM 0)
  message(STATUS "Logging: the drop-in for Log4Qt, on Qt's logging categories")
  add_subdirectory(host/log4qt)
endif()
