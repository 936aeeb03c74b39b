# Compiles one source with the project's warning flags and checks the outcome.
#   cmake -DCOMPILER=... -DSOURCE=... -DINCLUDE_DIR=... -DEXPECT=fail|pass -P compile_check.cmake
# EXPECT=fail passes only when the compiler refuses the source for an ignored [[nodiscard]] result, so a broken
# command line or a missing header can never count as the expected failure.
foreach(variable COMPILER SOURCE INCLUDE_DIR EXPECT)
  if(NOT DEFINED ${variable})
    message(FATAL_ERROR "compile_check.cmake needs -D${variable}=...")
  endif()
endforeach()

execute_process(
  COMMAND "${COMPILER}" -fsyntax-only -std=c++17 -Wall -Wextra -Wpedantic -Werror -I "${INCLUDE_DIR}" "${SOURCE}"
  RESULT_VARIABLE exit_code
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)

if(EXPECT STREQUAL "pass")
  if(NOT exit_code EQUAL 0)
    message(FATAL_ERROR "${SOURCE} should compile but does not:\n${output}")
  endif()
elseif(EXPECT STREQUAL "fail")
  if(exit_code EQUAL 0)
    message(FATAL_ERROR "${SOURCE} compiles although it ignores a result that must be used")
  endif()
  # GCC: "ignoring return value of ..., declared with attribute 'nodiscard'" or "ignoring returned value of type
  # ..., declared with attribute 'nodiscard'"; Clang: "ignoring return value of function declared with
  # 'nodiscard' attribute".
  if(NOT output MATCHES "error: ignoring return(ed)? value[^\n]*nodiscard")
    message(FATAL_ERROR "${SOURCE} fails to compile, but not because a result is ignored:\n${output}")
  endif()
  message(STATUS "refused as expected:\n${output}")
else()
  message(FATAL_ERROR "EXPECT must be fail or pass, not ${EXPECT}")
endif()
