# URL categories, against Hyperscan (Debian libhyperscan-dev).
pkg_check_modules(LIBHS QUIET IMPORTED_TARGET libhs)
if(LIBHS_FOUND)
  quarn_peer_program(url_hyperscan PkgConfig::LIBHS)
else()
  message(STATUS "url_hyperscan: Hyperscan not found, not built")
endif()
