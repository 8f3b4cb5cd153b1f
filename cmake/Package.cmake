# `cpack` makes two Debian packages and a .tar.gz archive, or a .zip archive for Windows.
set(CPACK_PACKAGE_NAME hwtessel)
set(CPACK_PACKAGE_CONTACT "HwTessel developers <developers@hwtessel.invalid>")
set(CPACK_PACKAGE_VENDOR "HwTessel developers")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGING_INSTALL_PREFIX "")
else()
  set(CPACK_GENERATOR DEB TGZ)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME hwtessel)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Plug-in and program for tactile gloves
 The hardware plug-in through which a measurement application reads tactile gloves,
 and the program `tessel`, which records gloves, diagnoses problems with them and
 simulates them.")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME hwtessel-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "hwtessel (= ${PROJECT_VERSION})")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Development files for hosts of the plug-in for tactile gloves
 Headers, library and CMake package of the hardware plug-in HwTessel.")
endif()
include(CPack)
