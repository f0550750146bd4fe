include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${PREFIX}")
foreach(component host sdk plugin)
  run("${CMAKE_COMMAND}" --install "${BUILD}" --component ${component} --prefix "${PREFIX}")
endforeach()

# Headers that show SQLite, libcurl or OpenSSL are the libraries' own.
file(GLOB_RECURSE headers "${PREFIX}/*.h")
if(NOT headers)
  message(FATAL_ERROR "no headers were installed")
endif()
foreach(header IN LISTS headers)
  file(STRINGS "${header}" own REGEX "#include <(QSql|curl|openssl)")
  if(own)
    message(FATAL_ERROR "${header}: ${own}")
  endif()
endforeach()
# The drop-in must not be met by who looks for a real Log4Qt.
foreach(name lib/liblog4qt.so include/log4qt include/kyrhost/log4qt)
  if(EXISTS "${PREFIX}/${name}")
    message(FATAL_ERROR "${name} would be taken for Log4Qt itself")
  endif()
endforeach()
