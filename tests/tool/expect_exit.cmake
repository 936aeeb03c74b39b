# Runs the command given after "-P expect_exit.cmake" and checks its exit status (EXPECTED)
# and that its standard error matches PATTERN. With PIPED_INPUT, the command reads that file's
# bytes from a pipe on its standard input, as from `producer | uvc-stereo ...`.
include(${CMAKE_CURRENT_LIST_DIR}/script_command.cmake)
if(DEFINED PIPED_INPUT)
  execute_process(COMMAND ${CMAKE_COMMAND} -E cat ${PIPED_INPUT} COMMAND ${command} RESULT_VARIABLE status
                  OUTPUT_VARIABLE out ERROR_VARIABLE err)
else()
  execute_process(COMMAND ${command} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
endif()
if(NOT status EQUAL EXPECTED)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECTED}\nstdout: ${out}\nstderr: ${err}")
endif()
if(NOT err MATCHES "${PATTERN}")
  message(FATAL_ERROR "standard error does not match '${PATTERN}':\n${err}")
endif()
message(STATUS "exit status ${status} with: ${err}")
