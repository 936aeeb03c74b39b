# The library's sources, folder by folder (the layers of docs/architecture.md). A file ending in _win.cpp is
# built only for Windows and one ending in _posix.cpp only elsewhere; each list names both halves.
#
# Test and benchmark support is not listed here: it lives in its own libraries and never ships in the DLL.
set(UVC_STEREO_SOURCES)

# Pure functions: results, checksums, byte order, formatting, UTF.
list(APPEND UVC_STEREO_SOURCES
  core/cpu_features.cpp
  core/crc32_dispatch.cpp
  core/crc32_pclmul.cpp
  core/crc32_portable.cpp
  core/crc32_sse42.cpp
  core/crc32_vpclmul.cpp
  core/format.cpp
  core/records.cpp
  core/result.cpp
  core/utf.cpp)

# Pure functions: the flash record, address ranges, the JSON minifier.
list(APPEND UVC_STEREO_SOURCES
  flash/firmware_version_text.cpp
  flash/flash_blob.cpp
  flash/flash_range.cpp
  flash/json_minifier.cpp
  flash/json_minifier_avx2.cpp
  flash/json_minifier_avx512.cpp
  flash/json_minifier_dispatch.cpp
  flash/json_minifier_sse2.cpp
  flash/readback_verify.cpp
  flash/record_preview.cpp
  flash/write_record.cpp)

# Pure functions: the capability report.
list(APPEND UVC_STEREO_SOURCES
  capability/capability_probe_result.cpp
  capability/capability_report.cpp
  capability/capability_report_encoder.cpp)

# Pure functions: IMU payloads, conversion, the model table and its firmware rule, the sample timeline and its clock
# fit, read latencies.
list(APPEND UVC_STEREO_SOURCES
  imu/firmware_gate.cpp
  imu/firmware_version.cpp
  imu/imu_convert.cpp
  imu/imu_payload.cpp
  imu/latency_histogram.cpp
  imu/model_table.cpp
  imu/sample_clock_fit.cpp
  imu/sample_timeline.cpp
  imu/supported_models_public.cpp)

# Pure functions: Windows device path strings, USB identities, capture-backend names and candidates.
list(APPEND UVC_STEREO_SOURCES
  win/backend_candidate.cpp
  win/backend_name.cpp
  win/device_path.cpp)

# The vendor bridge: lock, sessions, enumeration, resolution, flash transport, capability probe, IMU reader.
list(APPEND UVC_STEREO_SOURCES
  bridge/ascii_case.cpp
  bridge/backend_matching.cpp
  bridge/camera_access.cpp
  bridge/camera_scan.cpp
  bridge/camera_session.cpp
  bridge/capability_probe.cpp
  bridge/device_enumeration.cpp
  bridge/device_record_text.cpp
  bridge/device_record_text_posix.cpp
  bridge/device_record_text_win.cpp
  bridge/device_resolution.cpp
  bridge/device_selector.cpp
  bridge/flash_session.cpp
  bridge/flash_transport.cpp
  bridge/imu_reader.cpp
  bridge/kernel_video_listing_posix.cpp
  bridge/kernel_video_listing_win.cpp
  bridge/platform_override.cpp
  bridge/platform_table.cpp
  bridge/process_lock_posix.cpp
  bridge/process_lock_win.cpp
  bridge/sonix_dispatch.cpp
  bridge/sonix_global_lock.cpp
  bridge/vendor_error_names.cpp
  bridge/vendor_library_version.cpp
  bridge/vendor_session.cpp
  bridge/vendor_status.cpp)

# The vendor operations behind the bridge, one table per platform.
list(APPEND UVC_STEREO_SOURCES
  bridge/backends/linux_backend_posix.cpp
  bridge/backends/linux_capture_listing_posix.cpp
  bridge/backends/linux_descriptors.cpp
  bridge/backends/linux_kernel_posix.cpp
  bridge/backends/linux_sysfs_posix.cpp
  bridge/backends/linux_usb_identity.cpp
  bridge/backends/linux_uvc_ioctl_posix.cpp
  bridge/backends/linux_video_devices_posix.cpp
  bridge/backends/platform_backend_posix.cpp
  bridge/backends/real_library_win.cpp
  bridge/backends/unavailable.cpp)

# The operating system's own calls: capture listings, COM, debug output, host clock, pauses, camera locks, files
# replaced whole.
list(APPEND UVC_STEREO_SOURCES
  bridge/os/camera_lock.cpp
  bridge/os/camera_lock_posix.cpp
  bridge/os/camera_lock_win.cpp
  bridge/os/capture_listing.cpp
  bridge/os/capture_listing_posix.cpp
  bridge/os/capture_listing_win.cpp
  bridge/os/capture_system_calls_win.cpp
  bridge/os/com_start_win.cpp
  bridge/os/debug_line.cpp
  bridge/os/debug_output_posix.cpp
  bridge/os/debug_output_win.cpp
  bridge/os/diagnostic_callback.cpp
  bridge/os/file_replace_posix.cpp
  bridge/os/file_replace_win.cpp
  bridge/os/host_clock.cpp
  bridge/os/host_clock_posix.cpp
  bridge/os/host_clock_win.cpp
  bridge/os/host_time.cpp
  bridge/os/hresult_message_win.cpp
  bridge/os/pause.cpp
  bridge/os/property_bag_text_win.cpp
  bridge/os/wide_text_win.cpp)

# The simulated camera rig, one more backend.
list(APPEND UVC_STEREO_SOURCES
  sim/backend.cpp
  sim/call_scope.cpp
  sim/camera_file.cpp
  sim/capture_listing.cpp
  sim/device_ops.cpp
  sim/device_record.cpp
  sim/extension_unit.cpp
  sim/faults.cpp
  sim/flash.cpp
  sim/flash_image_file.cpp
  sim/flash_ops.cpp
  sim/imu.cpp
  sim/imu_timing.cpp
  sim/node_listing.cpp
  sim/registry.cpp
  sim/rig.cpp
  sim/rig_clock.cpp
  sim/rig_directory.cpp
  sim/session_ops.cpp)

# The device API.
list(APPEND UVC_STEREO_SOURCES
  device/capability_not_supported.cpp
  device/device.cpp
  device/device_imu.cpp
  device/firmware_gate.cpp
  device/firmware_version.cpp
  device/flash_json.cpp
  device/imu_stream.cpp
  device/open_device.cpp
  device/scan_devices.cpp)

# The C interface.
list(APPEND UVC_STEREO_SOURCES
  c_api/boundary.cpp
  c_api/camera_access.cpp
  c_api/capability.cpp
  c_api/device.cpp
  c_api/device_imu.cpp
  c_api/device_imu_batch.cpp
  c_api/device_json.cpp
  c_api/device_list.cpp
  c_api/errors.cpp
  c_api/handle_use.cpp
  c_api/imu.cpp
  c_api/imu_stream.cpp
  c_api/last_error.cpp
  c_api/library.cpp
  c_api/records.cpp
  c_api/rig.cpp
  c_api/rig_call.cpp
  c_api/rig_camera.cpp
  c_api/rig_directory.cpp
  c_api/rig_hooks.cpp
  c_api/rig_log.cpp)

if(WIN32)
  list(FILTER UVC_STEREO_SOURCES EXCLUDE REGEX "_posix\\.cpp$")
else()
  list(FILTER UVC_STEREO_SOURCES EXCLUDE REGEX "_win\\.cpp$")
endif()
list(TRANSFORM UVC_STEREO_SOURCES PREPEND "${CMAKE_CURRENT_LIST_DIR}/")
