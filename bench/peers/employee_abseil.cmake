# Employee lookups by IP and by MAC, against absl::flat_hash_map (Debian
# libabsl-dev).
find_package(absl CONFIG QUIET)
if(TARGET absl::flat_hash_map)
  quarn_peer_program(employee_abseil absl::flat_hash_map)
else()
  message(STATUS "employee_abseil: Abseil not found, not built")
endif()
