# Installs the library, its headers, the reference data beside the library,
# and the two consumer entry points: a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS quarn_common EXPORT quarn_commonTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/quarn_common.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(dir ${QUARN_REFERENCE_DIRS})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/${dir}
          DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()
foreach(file ${QUARN_REFERENCE_FILES})
  install(FILES ${PROJECT_SOURCE_DIR}/examples/${file}
          DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()

set(QUARN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/quarn_common)
install(EXPORT quarn_commonTargets NAMESPACE quarn_common::
        DESTINATION ${QUARN_CMAKE_DIR})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/quarn_commonConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quarn_commonConfig.cmake
  INSTALL_DESTINATION ${QUARN_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/quarn_commonConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarn_commonConfig.cmake
              ${PROJECT_BINARY_DIR}/quarn_commonConfigVersion.cmake
        DESTINATION ${QUARN_CMAKE_DIR})

# The pkg-config file finds its prefix from its own place, so an install
# with `cmake --install --prefix` anywhere stays usable.
file(RELATIVE_PATH QUARN_PC_TO_PREFIX
     /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" QUARN_PC_TO_PREFIX "${QUARN_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/quarn_common.pc.in
               ${PROJECT_BINARY_DIR}/quarn_common.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quarn_common.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
