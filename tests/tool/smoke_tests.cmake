# The installed program as a user runs it: the real executable against the simulated cameras.
add_test(NAME uvc_stereo_smoke_scan COMMAND uvc-stereo --simulate scan)
set_tests_properties(uvc_stereo_smoke_scan PROPERTIES
  PASS_REGULAR_EXPRESSION "0      0c45:6368  TVS2-00417 .*\n1      0c45:6366  TVS1-01288 ")

add_test(NAME uvc_stereo_smoke_config_get COMMAND uvc-stereo --simulate config get --serial TVS1-01288)
set_tests_properties(uvc_stereo_smoke_config_get PROPERTIES
  PASS_REGULAR_EXPRESSION "\\{\"name\":\"bench camera B\",\"baseline_mm\":50.0,")

add_test(NAME uvc_stereo_smoke_imu COMMAND uvc-stereo --simulate imu --index 1 --count 20 --rate 0 --json)
set_tests_properties(uvc_stereo_smoke_imu PROPERTIES
  PASS_REGULAR_EXPRESSION "\"host_time_uncertainty_ns\":null,[^\n]*\n[{]\"sample_index\":[0-9]+,\"counter\":[0-9]+,\"segment\":0,\"restarted\":false,\"missed_before\":[0-9]+,\"host_time_ns\":[0-9]+,\"host_time_uncertainty_ns\":[0-9]+,")

add_test(NAME uvc_stereo_smoke_version COMMAND uvc-stereo --version)
set_tests_properties(uvc_stereo_smoke_version PROPERTIES
  PASS_REGULAR_EXPRESSION "^uvc-stereo ${PROJECT_VERSION}\r?\nSDK library ${PROJECT_VERSION}\r?\nvendor library: [^\r\n]+\r?\n$")

add_test(NAME uvc_stereo_smoke_doctor COMMAND uvc-stereo --simulate doctor --json --imu-seconds 0.2)
# The simulated IMUs sample in real time here: a busy machine may make a read late enough to miss a sample (as the
# doctor's own tests allow too); what must hold is that both cameras report their health and neither IMU failed.
set_tests_properties(uvc_stereo_smoke_doctor PROPERTIES
  PASS_REGULAR_EXPRESSION "\"crc32\": \"0x[0-9a-f]+\",.*\"missed\": [0-9]+,.*\"failure\": null.*\"crc32\": \"0x[0-9a-f]+\",.*\"missed\": [0-9]+,.*\"failure\": null")

# Exit statuses need more than a pattern: a small script checks the status and the message.
set(check_exit ${CMAKE_CURRENT_SOURCE_DIR}/tool/expect_exit.cmake)
# The script starts the program itself, so a cross build's emulator (Wine) is named here.
set(tool_command ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:uvc-stereo>)
add_test(NAME uvc_stereo_smoke_exit_device_unavailable
  COMMAND ${CMAKE_COMMAND} -DEXPECTED=13 "-DPATTERN=DeviceUnavailable: no camera at index 9"
          -P ${check_exit} ${tool_command} --simulate info --index 9)
add_test(NAME uvc_stereo_smoke_exit_usage
  COMMAND ${CMAKE_COMMAND} -DEXPECTED=2 "-DPATTERN=UsageError: unknown command 'flash'"
          -P ${check_exit} ${tool_command} flash)
# A configuration piped in on standard input is read whole by the real program, on every platform.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/piped_configuration.json "{\r\n  \"name\": \"from a pipe\"\r\n}\r\n")
add_test(NAME uvc_stereo_smoke_config_set_from_a_pipe
  COMMAND ${CMAKE_COMMAND} -DEXPECTED=0 -DPIPED_INPUT=${CMAKE_CURRENT_BINARY_DIR}/piped_configuration.json
          "-DPATTERN=dry run: 1 changed, 0 added, 8 removed; nothing was written to camera 0 "
          -P ${check_exit} ${tool_command} --simulate config set - --dry-run --index 0)
# On Linux the tool reaches cameras through the kernel's UVC driver: a machine without one finds none.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CROSSCOMPILING AND NOT EXISTS /sys/class/video4linux)
  add_test(NAME uvc_stereo_smoke_scan_without_camera
    COMMAND ${CMAKE_COMMAND} -DEXPECTED=0 "-DPATTERN=^no supported camera found\n$"
            -P ${check_exit} ${tool_command} scan)
endif()

# The tool manual's scan row shows the capture backends in the order the tool prints them.
add_test(NAME uvc_stereo_manual_capture_order
  COMMAND ${CMAKE_COMMAND} -DREADME=${PROJECT_SOURCE_DIR}/docs/tool.md
          -P ${CMAKE_CURRENT_SOURCE_DIR}/tool/manual_capture_order.cmake ${tool_command})

# Ctrl-C and SIGTERM end an endless IMU stream cleanly: complete rows, the summary, the plot.
if(NOT WIN32)
  foreach(signal TERM INT)
    add_test(NAME uvc_stereo_smoke_imu_stops_on_sig${signal}
      COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/tool/imu_stops_on_signal.sh $<TARGET_FILE:uvc-stereo>
              ${CMAKE_CURRENT_BINARY_DIR}/imu_stops_on_sig${signal} ${signal})
  endforeach()
  # A reader that goes away (`| head`) ends an endless stream, and its plot is still written.
  add_test(NAME uvc_stereo_smoke_imu_plot_reader_gone
    COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/tool/imu_plot_reader_gone.sh $<TARGET_FILE:uvc-stereo>
            ${CMAKE_CURRENT_BINARY_DIR}/imu_plot_reader_gone)
  set_tests_properties(uvc_stereo_smoke_imu_plot_reader_gone PROPERTIES TIMEOUT 120)
  # SIGTERM at any moment ends `config set -` waiting on an input that sends nothing.
  add_test(NAME uvc_stereo_smoke_config_set_stdin_signals
    COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/tool/config_set_stdin_signals.sh $<TARGET_FILE:uvc-stereo>
            ${CMAKE_CURRENT_BINARY_DIR}/config_set_stdin_signals)
  set_tests_properties(uvc_stereo_smoke_config_set_stdin_signals PROPERTIES TIMEOUT 600)
  # An endless stream whose rows cannot be written stops instead of reading on for nobody.
  add_test(NAME uvc_stereo_smoke_imu_endless_to_full_disk
    COMMAND ${CMAKE_COMMAND} -DEXPECTED=3
            "-DPATTERN=^read [0-9]+ samples in [^\n]*\nuvc-stereo: FileError: cannot write standard output: No space left on device\n$"
            -P ${check_exit} sh -c "\"$<TARGET_FILE:uvc-stereo>\" --simulate imu --index 1 --csv --rate 0 >/dev/full")
  set_tests_properties(uvc_stereo_smoke_imu_endless_to_full_disk PROPERTIES TIMEOUT 120)
endif()

# The examples run end to end against their simulated camera.
if(TARGET example_scan_and_print)
  add_test(NAME example_scan_and_print COMMAND example_scan_and_print --simulate)
  set_tests_properties(example_scan_and_print PROPERTIES
    PASS_REGULAR_EXPRESSION "1 camera\\(s\\)\n[0-9a-f][0-9a-f][0-9a-f][0-9a-f]:[0-9a-f][0-9a-f][0-9a-f][0-9a-f]  serial EXAMPLE-0001 .*\n.*CAP_MSMF index 0")
  add_test(NAME example_configuration COMMAND example_configuration --simulate)
  set_tests_properties(example_configuration PROPERTIES
    PASS_REGULAR_EXPRESSION "no configuration stored yet\nwritten: \\{\"baseline_mm\":60.0,\"rectify\":true,")
  add_test(NAME example_stream_imu COMMAND example_stream_imu --simulate)
  set_tests_properties(example_stream_imu PROPERTIES
    PASS_REGULAR_EXPRESSION "sample +[0-9]+  counter +[0-9]+  missed [0-9]+  t [0-9.]+ s .*\n20 samples at [0-9.]+ Hz, clock error [-+][0-9.]+ ppm, [0-9]+ missed, [0-9]+ duplicate reads skipped\n$")
  # Each example answers --help with what it does and touches no camera; an unknown argument is refused.
  foreach(example scan_and_print configuration stream_imu)
    add_test(NAME example_${example}_help COMMAND example_${example} --help)
    set_tests_properties(example_${example}_help PROPERTIES
      PASS_REGULAR_EXPRESSION "^Usage: ${example} \\[--simulate\\]\r?\n\r?\n[A-Z][^\r\n]+\\.\r?\n\r?\nOptions:\r?\n  --simulate  .*  --help  ")
    add_test(NAME example_${example}_bad_argument
      COMMAND ${CMAKE_COMMAND} -DEXPECTED=2 "-DPATTERN=^${example}: unknown argument '--simulte' \\(see ${example} --help\\)"
              -P ${check_exit} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:example_${example}> --simulte)
  endforeach()
endif()

# Standard output that cannot be written is a failure with its own message, never a quiet
# success: a configuration "saved" to a full disk is no backup. (A shell redirects here.)
if(NOT WIN32 AND EXISTS /dev/full)
  set(tool_file $<TARGET_FILE:uvc-stereo>)
  foreach(case
      "config_get;--simulate config get --index 0 >/dev/full"
      "scan_json;--simulate scan --json >/dev/full"
      "imu_csv;--simulate imu --index 1 --csv --count 5 --rate 0 >/dev/full"
      "scan_closed;--simulate scan >&-")
    list(GET case 0 name)
    list(GET case 1 arguments)
    add_test(NAME uvc_stereo_smoke_output_error_${name}
      COMMAND ${CMAKE_COMMAND} -DEXPECTED=3 "-DPATTERN=uvc-stereo: FileError: cannot write standard output: [A-Z]"
              -P ${check_exit} sh -c "\"${tool_file}\" ${arguments}")
  endforeach()
endif()
