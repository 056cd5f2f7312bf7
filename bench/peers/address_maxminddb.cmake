# Address to area, against libmaxminddb. The .mmdb files are written at run
# time from the same ranges by ranges_to_mmdb.pl, which needs Perl's
# MaxMind::DB::Writer (Debian libmaxmind-db-writer-perl).
pkg_check_modules(MAXMINDDB QUIET IMPORTED_TARGET libmaxminddb)
find_program(QUARN_PERL perl)
set(mmdb_writer_found FALSE)
if(QUARN_PERL)
  execute_process(COMMAND ${QUARN_PERL} -MMaxMind::DB::Writer::Tree -e 1
                  RESULT_VARIABLE mmdb_writer_rc OUTPUT_QUIET ERROR_QUIET)
  if(mmdb_writer_rc EQUAL 0)
    set(mmdb_writer_found TRUE)
  endif()
endif()
if(MAXMINDDB_FOUND AND mmdb_writer_found)
  quarn_peer_program(address_maxminddb PkgConfig::MAXMINDDB)
  target_compile_definitions(address_maxminddb PRIVATE
    QUARN_PERL="${QUARN_PERL}")
else()
  message(STATUS "address_maxminddb: libmaxminddb or MaxMind::DB::Writer "
                 "not found, not built")
endif()
