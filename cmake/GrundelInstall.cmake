# Installation: headers, the library, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS grundel EXPORT grundelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/grundel/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/grundel
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*_p.h" EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/include/grundel/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/grundel)

set(GRUNDEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/grundel)
install(EXPORT grundelTargets
  NAMESPACE grundel::
  DESTINATION ${GRUNDEL_CMAKE_DIR})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/grundelConfig.cmake.in
  ${PROJECT_BINARY_DIR}/grundelConfig.cmake
  INSTALL_DESTINATION ${GRUNDEL_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/grundelConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/grundelConfig.cmake
  ${PROJECT_BINARY_DIR}/grundelConfigVersion.cmake
  DESTINATION ${GRUNDEL_CMAKE_DIR})

# pkg-config: relative to its own location, so the installed tree can move.
if(GRUNDEL_BUILD_SHARED)
  set(GRUNDEL_PC_LIBS_PRIVATE "")
  set(GRUNDEL_PC_LIBS "-lgrundel")
else()
  set(GRUNDEL_PC_LIBS_PRIVATE "-pthread")
  set(GRUNDEL_PC_LIBS "-lgrundel")
endif()
file(RELATIVE_PATH GRUNDEL_PC_TO_PREFIX
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" GRUNDEL_PC_TO_PREFIX "${GRUNDEL_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/grundel.pc.in
               ${PROJECT_BINARY_DIR}/grundel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/grundel.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
