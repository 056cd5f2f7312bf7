# Installs the library, its headers, its reference data, the example
# configuration and the two consumer entry points: a CMake package and a
# pkg-config file. Everything goes where GNUInstallDirs says: the library
# in $libdir, headers under $includedir/quarn_common, reference data in
# $datadir/quarn_common (where the library looks for it, see
# base/OrvaPath.h), the example gateway configuration in $docdir/examples.
include(CMakePackageConfigHelpers)

install(TARGETS quarn_common EXPORT quarn_commonTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/quarn_common.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(QUARN_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/quarn_common)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/pat
                  ${PROJECT_SOURCE_DIR}/examples/url
        DESTINATION ${QUARN_INSTALL_DATADIR}
        FILES_MATCHING PATTERN "*.xml" PATTERN "*.dat")
install(FILES ${PROJECT_SOURCE_DIR}/examples/ipt1.dat
              ${PROJECT_SOURCE_DIR}/examples/ipt2.dat
        DESTINATION ${QUARN_INSTALL_DATADIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/gateway
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES ${PROJECT_SOURCE_DIR}/examples/connections.csv
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

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
