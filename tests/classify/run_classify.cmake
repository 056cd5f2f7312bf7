# Runs `quarn classify` on INPUT into ACTUAL and fails when ACTUAL differs
# from EXPECTED.
execute_process(
  COMMAND ${QUARN} classify ${INPUT}
  OUTPUT_FILE ${ACTUAL}
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "quarn classify failed (${status}):\n${errors}")
endif()
# Standard error holds the summary line and nothing else.
if(NOT errors MATCHES
   "^quarn: [0-9]+ connections classified, 0 bad records, in [^\n]*\n$")
  message(FATAL_ERROR "quarn classify complained:\n${errors}")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -E compare_files ${ACTUAL} ${EXPECTED}
  RESULT_VARIABLE differ)
if(differ)
  message(FATAL_ERROR "output differs: diff ${ACTUAL} ${EXPECTED}")
endif()
