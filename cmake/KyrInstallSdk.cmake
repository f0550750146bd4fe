# host/ as an SDK: libraries (component host), headers, CMake package and pkg-config file (component sdk).
#   kyr_install_sdk(LIBRARY...)

set(KYR_SDK_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/kyrhost")

function(kyr_install_sdk)
  include(CMakePackageConfigHelpers)
  set(libraries ${ARGN})
  foreach(library IN LISTS libraries)
    target_compile_features(${library} INTERFACE cxx_std_20)
    target_link_options(${library} INTERFACE "$<INSTALL_INTERFACE:-Wl,-rpath,$<INSTALL_PREFIX>/${KYR_LIBRARYDIR}>")
  endforeach()

  if(NOT KYR_LOG4QT_IS_UPSTREAM)
    list(APPEND libraries log4qt)
  endif()
  install(TARGETS ${libraries} EXPORT KyrHost LIBRARY DESTINATION ${KYR_LIBRARYDIR} COMPONENT host
    INCLUDES DESTINATION "${KYR_SDK_INCLUDEDIR}")
  set(package "${CMAKE_INSTALL_LIBDIR}/cmake/KyrHost")
  install(EXPORT KyrHost NAMESPACE KyrHost:: FILE KyrHostTargets.cmake DESTINATION "${package}" COMPONENT sdk)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/KyrHostConfig.cmake.in" KyrHostConfig.cmake
    INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(KyrHostConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/KyrHostConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/KyrHostConfigVersion.cmake"
    DESTINATION "${package}" COMPONENT sdk)

  # pkg-config knows no targets: it is told the folders of them.
  if(KYR_LOG4QT_IS_UPSTREAM)
    set(KYR_LOGGING_FLAGS "-I$<JOIN:$<TARGET_PROPERTY:Log4Qt::log4qt,INTERFACE_INCLUDE_DIRECTORIES>, -I>")
    set(KYR_LOGGING_LIBS "-L$<TARGET_LINKER_FILE_DIR:Log4Qt::log4qt> -llog4qt")
  else()
    set(KYR_LOGGING_FLAGS "-I\${includedir}/dropin")
    set(KYR_LOGGING_LIBS "-lkyrlog4qt")
  endif()
  file(RELATIVE_PATH KYR_SDK_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
  string(REGEX REPLACE "/$" "" KYR_SDK_UP "${KYR_SDK_UP}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/kyrhost.pc.in" kyrhost.pc.in @ONLY)
  file(GENERATE OUTPUT kyrhost.pc INPUT "${CMAKE_CURRENT_BINARY_DIR}/kyrhost.pc.in")
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kyrhost.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT sdk)
endfunction()
