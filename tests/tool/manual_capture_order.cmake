# Checks that the tool manual's (docs/tool.md) scan row names the capture backends in the order the tool prints
# them, in its listing and in `scan --help`. Run as
#   cmake -DREADME=<README.md> -P manual_capture_order.cmake <tool command...>
include(${CMAKE_CURRENT_LIST_DIR}/script_command.cmake)

file(READ "${README}" readme)
if(NOT readme MATCHES "\\| `scan [^\n]*\\(`(CAP_[A-Z]+)=[0-9]+ (CAP_[A-Z]+)=[0-9]+`\\)")
  message(FATAL_ERROR "the tool manual's scan row shows no capture backends as `CAP_A=n CAP_B=m`")
endif()
set(first "${CMAKE_MATCH_1}")
set(second "${CMAKE_MATCH_2}")

execute_process(COMMAND ${command} --simulate scan RESULT_VARIABLE status OUTPUT_VARIABLE listing ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "scan failed with ${status}: ${err}")
endif()
if(NOT listing MATCHES " ${first}=[0-9]+ ${second}=[0-9]+ ")
  message(FATAL_ERROR "the README shows ${first} before ${second}, the tool prints:\n${listing}")
endif()
execute_process(COMMAND ${command} scan --help RESULT_VARIABLE status OUTPUT_VARIABLE help ERROR_VARIABLE err)
if(NOT help MATCHES "\\(${first}, ${second}\\)")
  message(FATAL_ERROR "the README shows ${first} before ${second}, scan --help says:\n${help}")
endif()
message(STATUS "README and tool agree: ${first} then ${second}")
