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
  # Not "depends": program, plug-in and library work without Python, which apt installs unless told otherwise.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "python3, python3-numpy")
  # Of the shared library: what programs that link it depend on, and that the loader's cache is brought up to date.
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/shlibs.in ${PROJECT_BINARY_DIR}/debian/shlibs @ONLY)
  set(folder ${PROJECT_SOURCE_DIR}/cmake/debian)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_BINARY_DIR}/debian/shlibs ${folder}/triggers ${folder}/postinst ${folder}/prerm)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Plug-in, program and library for tactile gloves
 The hardware plug-in through which a measurement application reads tactile gloves,
 the program `tessel`, which records gloves, diagnoses problems with them and
 simulates them, and libtessel with a Python module, for programs that do so.")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME hwtessel-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "hwtessel (= ${PROJECT_VERSION})")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Development files for tactile gloves
 Header, CMake and pkg-config packages of the C library libtessel; headers,
 library and CMake package for hosts of the hardware plug-in HwTessel.")
endif()
include(CPack)
