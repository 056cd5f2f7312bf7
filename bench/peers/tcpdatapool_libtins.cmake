# TCP reassembly, against libtins' TCPIP::DataTracker (Debian libtins-dev,
# built with its TCP/IP classes). Found by header and library rather than
# through pkg-config, whose flags would put the directory of libtins' own
# headers on the include path.
find_path(QUARN_TINS_INCLUDE_DIR tins/tcp_ip/data_tracker.h)
find_library(QUARN_TINS_LIBRARY tins)
if(QUARN_TINS_INCLUDE_DIR AND QUARN_TINS_LIBRARY)
  quarn_peer_program(tcpdatapool_libtins ${QUARN_TINS_LIBRARY})
  target_include_directories(tcpdatapool_libtins PRIVATE
    ${QUARN_TINS_INCLUDE_DIR})
  # The version for the table; libtins' headers do not say it.
  pkg_check_modules(TINS_VERSION QUIET libtins)
  if(TINS_VERSION_VERSION)
    target_compile_definitions(tcpdatapool_libtins PRIVATE
      QUARN_TINS_VERSION="${TINS_VERSION_VERSION}")
  endif()
else()
  message(STATUS "tcpdatapool_libtins: libtins not found, not built")
endif()
