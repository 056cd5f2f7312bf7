# keywords_hyperscan: CKeyTypeTable::TextMatch and blurstrfind::FindAllEx
# against Hyperscan's literal matcher. Built only when pkg-config finds
# libhs (Debian: libhyperscan-dev); the library never depends on it.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(QUARN_PEER_HS QUIET IMPORTED_TARGET libhs)
endif()
if(QUARN_PEER_HS_FOUND)
  if(COMMAND quarn_peer_program)
    quarn_peer_program(keywords_hyperscan PkgConfig::QUARN_PEER_HS)
  else()
    add_executable(keywords_hyperscan
                   ${CMAKE_CURRENT_LIST_DIR}/keywords_hyperscan.cc)
    target_link_libraries(keywords_hyperscan PRIVATE quarn_common
                          PkgConfig::QUARN_PEER_HS)
    target_include_directories(keywords_hyperscan
                               PRIVATE ${PROJECT_SOURCE_DIR})
  endif()
else()
  message(STATUS "keywords_hyperscan: Hyperscan (libhs) not found, not built")
endif()
