# Runs `quarn` with the arguments ARGS (separated by "|") into ACTUAL and
# fails when the exit status is not STATUS (0 when not given), when
# anything is written on standard error, or when ACTUAL differs from
# EXPECTED.
string(REPLACE "|" ";" arguments "${ARGS}")
if(NOT DEFINED STATUS)
  set(STATUS 0)
endif()
execute_process(
  COMMAND ${QUARN} ${arguments}
  OUTPUT_FILE ${ACTUAL}
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL STATUS)
  message(FATAL_ERROR "quarn ${ARGS}: exit status ${status}:\n${errors}")
endif()
if(NOT errors STREQUAL "")
  message(FATAL_ERROR "quarn ${ARGS} complained:\n${errors}")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -E compare_files ${ACTUAL} ${EXPECTED}
  RESULT_VARIABLE differ)
if(differ)
  message(FATAL_ERROR "output differs: diff ${ACTUAL} ${EXPECTED}")
endif()
