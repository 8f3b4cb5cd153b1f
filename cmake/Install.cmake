# Install locations. Component `runtime`: the program, the plug-in, `libtessel` and its Python module; `development`:
# headers and libraries for hosts and for programs that use `libtessel`.
set(TESSEL_BINDIR bin)
if(WIN32)
  set(TESSEL_LIBDIR lib)
  set(TESSEL_PLUGIN_DIR bin)  # next to the program, as is usual on Windows
  set(TESSEL_PYTHONDIR bin/python)  # the module looks for tessel.dll in the folders above its own
else()
  set(TESSEL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
  cmake_path(NORMAL_PATH TESSEL_LIBDIR)
  string(REGEX REPLACE "/$" "" TESSEL_LIBDIR "${TESSEL_LIBDIR}")
  set(TESSEL_PLUGIN_DIR ${TESSEL_LIBDIR}/hwtessel)
  set(TESSEL_PYTHONDIR lib/python3/dist-packages)
endif()
set(TESSEL_INCLUDEDIR include/hwtessel)
set(TESSEL_CMAKEDIR ${TESSEL_LIBDIR}/cmake/HwTessel)

include(CMakePackageConfigHelpers)
configure_package_config_file(cmake/HwTesselConfig.cmake.in ${PROJECT_BINARY_DIR}/HwTesselConfig.cmake
                              INSTALL_DESTINATION ${TESSEL_CMAKEDIR} PATH_VARS TESSEL_PLUGIN_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HwTesselConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HwTesselConfig.cmake ${PROJECT_BINARY_DIR}/HwTesselConfigVersion.cmake
        DESTINATION ${TESSEL_CMAKEDIR} COMPONENT development)
install(EXPORT HwTessel NAMESPACE HwTessel:: FILE HwTesselTargets.cmake DESTINATION ${TESSEL_CMAKEDIR}
        COMPONENT development)
# What man pages and messages refer to as docs/.
install(DIRECTORY docs DESTINATION share/doc/hwtessel COMPONENT runtime FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN *.png)
if(TESSEL_TOOL)
  install(DIRECTORY python/tessel DESTINATION ${TESSEL_PYTHONDIR} COMPONENT runtime
          FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)
endif()
install(DIRECTORY share/layouts DESTINATION share/hwtessel COMPONENT runtime FILES_MATCHING PATTERN *.json)
if(NOT WIN32)
  install(FILES share/udev/60-tessel.rules DESTINATION lib/udev/rules.d COMPONENT runtime)
endif()
