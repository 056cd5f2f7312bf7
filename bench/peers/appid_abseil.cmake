# App-id lookups, against absl::flat_hash_map (Debian libabsl-dev).
find_package(absl CONFIG QUIET)
if(TARGET absl::flat_hash_map)
  quarn_peer_program(appid_abseil absl::flat_hash_map)
else()
  message(STATUS "appid_abseil: Abseil not found, not built")
endif()
