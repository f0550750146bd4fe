# The four Debian packages, which packaging/deb builds. What each consists of is said where it is installed, by component.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR KYR)
set(CPACK_PACKAGE_CONTACT "The kyr-loyalty developers <kyr-loyalty@example.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
set(same "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

#   kyr_package(GROUP NAME COMPONENT... SUMMARY text DESCRIPTION text)
macro(kyr_package group name)
  cmake_parse_arguments(package "" "SUMMARY;DESCRIPTION" "COMPONENTS" ${ARGN})
  string(TOUPPER "${group}" key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME "${name}")
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${package_SUMMARY}\n${package_DESCRIPTION}")
  foreach(component IN LISTS package_COMPONENTS)
    string(TOUPPER "${component}" part)
    set(CPACK_COMPONENT_${part}_GROUP "${group}")
    list(APPEND CPACK_COMPONENTS_ALL "${component}")
  endforeach()
  list(GET package_COMPONENTS 0 component)
  install(FILES "${PROJECT_SOURCE_DIR}/packaging/debian/copyright" "${PROJECT_BINARY_DIR}/changelog.gz"
    "${PROJECT_BINARY_DIR}/changelog.Debian.gz" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}"
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

# No time but SOURCE_DATE_EPOCH's, where it is set.
string(TIMESTAMP KYR_CHANGED "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in" "${PROJECT_BINARY_DIR}/changelog.Debian" @ONLY)
configure_file("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_BINARY_DIR}/changelog" COPYONLY)
foreach(changelog changelog changelog.Debian)
  execute_process(COMMAND gzip -9nkf "${PROJECT_BINARY_DIR}/${changelog}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()

kyr_package(plugin kyr-loyalty-plugin COMPONENTS plugin host
  SUMMARY "loyalty plug-in for a point-of-sale host"
  DESCRIPTION "Identifies customers, spends and earns their points at a remote loyalty
service, and undoes it on a rollback or return. Comes with the libraries of
an embedded host, the one that the till of kyr-loyalty-till is built on.")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION libs)
# Its store is a file of SQLite, whose driver Qt loads by itself.
set(CPACK_DEBIAN_PLUGIN_PACKAGE_DEPENDS libqt6sql6-sqlite)

kyr_package(dev kyr-loyalty-dev COMPONENTS sdk
  SUMMARY "loyalty plug-in for a point-of-sale host (development files)"
  DESCRIPTION "Headers, CMake package and pkg-config file of the interfaces between a host
and its loyalty plug-ins, to build either with.")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "kyr-loyalty-plugin ${same}, qt6-base-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)

kyr_package(till kyr-loyalty-till COMPONENTS till service
  SUMMARY "till with a loyalty plug-in, and its tools"
  DESCRIPTION "Sells, earns, spends and takes back, in a window or from scenario files.
Keeps what cannot be sent now and delivers it later, inside the till or as a
service. Tools for the administrator look into queue and receipts.")
set(CPACK_DEBIAN_TILL_PACKAGE_DEPENDS "kyr-loyalty-plugin ${same}")
set(CPACK_DEBIAN_TILL_PACKAGE_RECOMMENDS kyr-loyalty-stand)
set(CPACK_DEBIAN_TILL_PACKAGE_SUGGESTS logrotate)
set(CPACK_DEBIAN_TILL_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/packaging/debian/postinst" "${PROJECT_SOURCE_DIR}/packaging/debian/prerm"
  "${PROJECT_SOURCE_DIR}/packaging/debian/postrm" "${PROJECT_SOURCE_DIR}/packaging/debian/conffiles")
set(CPACK_DEBIAN_TILL_PACKAGE_CONTROL_STRICT_PERMISSION ON)

kyr_package(stand kyr-loyalty-stand COMPONENTS stand
  SUMMARY "stand-in for the loyalty service, for training and tests"
  DESCRIPTION "Answers as the loyalty service does, keeps a ledger, shows SMS codes on a page
and goes wrong on purpose.")

include(CPack)
