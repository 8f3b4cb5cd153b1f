# The shared library `libtessel`: the objects of tessel-library, of which the functions in library/symbols.txt are
# visible, and nothing else.
set(TESSEL_SYMBOLS ${PROJECT_SOURCE_DIR}/library/symbols.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${TESSEL_SYMBOLS})
file(STRINGS ${TESSEL_SYMBOLS} names)

# From the objects, because the linker takes of an archive only what something refers to.
add_library(libtessel SHARED $<TARGET_OBJECTS:tessel-library>)
target_link_libraries(libtessel PRIVATE tessel-library tessel-platform)
target_include_directories(libtessel INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/library/include>
                                               $<INSTALL_INTERFACE:include>)
set_target_properties(libtessel PROPERTIES
  LINKER_LANGUAGE CXX OUTPUT_NAME tessel EXPORT_NAME tessel
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
add_library(HwTessel::tessel ALIAS libtessel)
# The library loads the plug-in that is next to it.
add_dependencies(libtessel HwTessel)

if(WIN32)
  list(JOIN names "\n  " exported)
  set(definition ${CMAKE_CURRENT_BINARY_DIR}/tessel.def)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/TesselLibrary.def.in ${definition} @ONLY)
  target_sources(libtessel PRIVATE ${definition})
  set_target_properties(libtessel PROPERTIES PREFIX "" IMPORT_PREFIX lib)
  # Compilers that can't use the import library make their own from the list.
  install(FILES ${definition} DESTINATION ${TESSEL_LIBDIR} COMPONENT development)
else()
  list(JOIN names "; " exported)
  set(map ${CMAKE_CURRENT_BINARY_DIR}/tessel.map)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/TesselLibrary.map.in ${map} @ONLY)
  # Intentional: it can't be unloaded, as its threads and what it does at the end of the process need its code.
  target_link_options(libtessel PRIVATE -Wl,--version-script=${map} -Wl,-z,nodelete)
  # Sanitizers resolve their functions only when a program loads it.
  if(NOT TESSEL_SANITIZERS)
    target_link_options(libtessel PRIVATE -Wl,-z,defs)
  endif()
  set_target_properties(libtessel PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 1 LINK_DEPENDS ${map})

  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${TESSEL_LIBDIR}/pkgconfig
             OUTPUT_VARIABLE pathToPrefix)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/tessel.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tessel.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessel.pc DESTINATION ${TESSEL_LIBDIR}/pkgconfig COMPONENT development)
endif()

install(TARGETS libtessel EXPORT HwTessel
        RUNTIME DESTINATION ${TESSEL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${TESSEL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${TESSEL_LIBDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/library/include/tessel.h DESTINATION include COMPONENT development)
