# A Debian package of everything `cmake --install` puts in place, built with
# `cpack -G DEB` in a build configured with CMAKE_INSTALL_PREFIX=/usr (see
# scripts/package.sh). Its dependencies come from dpkg-shlibdeps; its
# documentation directory holds the copyright file and the changelog, as
# Debian's policy asks.
set(QUARN_DEB_NAME quarn-common)

# The changelog, compressed as the policy asks (gzip -n: no time stamp, so
# the package builds the same twice). The version has no Debian revision,
# so the package is native and the file is changelog.gz.
find_program(QUARN_GZIP gzip)
if(QUARN_GZIP)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/changelog.gz
    COMMAND ${QUARN_GZIP} -9n -c ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
            > ${PROJECT_BINARY_DIR}/changelog.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
    VERBATIM)
  add_custom_target(quarn_deb_changelog ALL
                    DEPENDS ${PROJECT_BINARY_DIR}/changelog.gz)
  install(FILES ${PROJECT_BINARY_DIR}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()
install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_PACKAGE_NAME ${QUARN_DEB_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT
    "quarn maintainers <maintainers@users.noreply.c-seed-4d4845de.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "configuration and connection classification for a network gateway")
set(CPACK_PACKAGE_DESCRIPTION
    "quarn_common gives every service process of a network audit and
access-control gateway one process-wide view of the gateway's
configuration and reference data, and the routines that classify a
connection: application id, address classes and internet areas, URL
categories, policy objects and filters, and the employee behind an
address. The package holds the shared library, its headers, CMake and
pkg-config files, the reference data, the example configuration and the
quarn tool, which runs connections and packet captures through the whole
classification and policy.")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The shlibs file says which package provides the library to packages built
# against it; the ldconfig trigger refreshes the loader's cache after the
# library is installed or removed (what CPack's own shlibs option would do
# with ldconfig calls in maintainer scripts, which Debian no longer wants).
file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs
     "libquarn_common ${PROJECT_VERSION_MAJOR} ${QUARN_DEB_NAME} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_BINARY_DIR}/debian/shlibs
    ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
include(CPack)
