"""The SDK's C interface (``uvc_stereo_c.h``) declared for ctypes.

Every struct mirrors the header field for field; every function is bound once, with its
argument and result types, when the library is first loaded. ``call`` turns a failing
result into :class:`UvcStereoError` with the library's own code and message.
"""

from __future__ import annotations

import ctypes
import threading
from ctypes import (
    POINTER,
    Structure,
    c_bool,
    c_char,
    c_char_p,
    c_double,
    c_int32,
    c_int64,
    c_size_t,
    c_uint8,
    c_uint16,
    c_uint32,
    c_uint64,
    c_void_p,
)
from typing import Optional

from . import _library
from ._errors import UvcStereoError

error_t = c_int32
OK = 0
MAX_BACKEND_INDICES = 8


class Sized(Structure):
    """A struct that begins with ``struct_size``, set to its own size on creation."""

    def __init__(self, *args, **kwargs):
        super().__init__(*args, **kwargs)
        self.struct_size = ctypes.sizeof(self)


class camera_model_t(Structure):
    _fields_ = [("vendor_id", c_uint16), ("product_id", c_uint16)]


class backend_index_t(Structure):
    _fields_ = [("backend", c_int32), ("index", c_int32)]


class device_info_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("vendor_id", c_uint16),
        ("product_id", c_uint16),
        ("aux_flag_a", c_bool),
        ("aux_flag_b", c_bool),
        ("serial_number", c_char_p),
        ("descriptor_text", c_char_p),
        ("friendly_name", c_char_p),
        ("extra_text", c_char_p),
        ("device_path", c_char_p),
        ("backend_index_count", c_uint32),
        ("backend_indices", backend_index_t * MAX_BACKEND_INDICES),
    ]


class scan_filter_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("has_vendor_id", c_bool),
        ("vendor_id", c_uint16),
        ("has_product_id", c_bool),
        ("product_id", c_uint16),
        ("require_serial_number", c_bool),
    ]


class open_options_t(Sized):
    _fields_ = [("struct_size", c_uint32), ("required_capabilities", c_uint32), ("busy_wait_ms", c_uint32)]


class reported_imu_t(Structure):
    _fields_ = [
        ("model", c_char * 9),
        ("xu_unit", c_uint8),
        ("xu_selector", c_uint8),
        ("xu_length", c_uint8),
        ("decimal_exponent", c_uint8),
        ("temperature_offset_c", c_double),
        ("temperature_lsb_per_c", c_double),
        ("accel_lsb_per_g", c_double),
        ("gyro_lsb_per_dps", c_double),
    ]


class capability_report_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("major_version", c_uint8),
        ("minor_version", c_uint8),
        ("capability_bits", c_uint64),
        ("has_flash_user_space", c_bool),
        ("flash_user_space_start", c_uint32),
        ("flash_user_space_size", c_uint32),
        ("has_imu", c_bool),
        ("imu", reported_imu_t),
    ]


class capability_info_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("source", c_int32),
        ("report", POINTER(capability_report_t)),
        ("message", c_char_p),
    ]


class flash_config_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("vidpid", c_char_p),
        ("auto_select", c_bool),
        ("vendor_id", c_uint16),
        ("product_id", c_uint16),
        ("aux_flag_a", c_bool),
        ("aux_flag_b", c_bool),
        ("serial_number", c_char_p),
        ("device_path", c_char_p),
        ("user_space_address", c_uint32),
        ("erase_sector_size", c_uint32),
        ("magic", c_uint32),
        ("user_space_size", c_uint32),
        ("min_header_size", c_uint16),
        ("max_header_size", c_uint16),
        ("verify_crc", c_bool),
        ("verify_after_write", c_bool),
        ("busy_wait_ms", c_uint32),
    ]


class imu_transport_t(Sized):
    _fields_ = [("struct_size", c_uint32), ("xu_unit", c_uint8), ("xu_selector", c_uint8), ("xu_length", c_uint8)]


class imu_conversion_options_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("temperature_offset_c", c_double),
        ("temperature_lsb_per_c", c_double),
        ("accel_lsb_per_g", c_double),
        ("gyro_lsb_per_dps", c_double),
    ]


class imu_sample_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("sample_counter", c_uint32),
        ("host_timestamp_ns", c_uint64),
        ("temperature_raw", ctypes.c_int16),
        ("accel_raw", ctypes.c_int16 * 3),
        ("gyro_raw", ctypes.c_int16 * 3),
    ]


class imu_converted_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("host_timestamp_ns", c_uint64),
        ("temperature_c", c_double),
        ("accel_g", c_double * 3),
        ("gyro_dps", c_double * 3),
    ]


class imu_stream_options_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("nominal_rate_hz", c_double),
        ("reads_per_sample", c_double),
        ("max_reads_per_second", c_double),
    ]


class imu_stream_sample_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("counter", c_uint32),
        ("sample_index", c_uint64),
        ("segment", c_uint32),
        ("restarted", c_bool),
        ("missed_before", c_uint64),
        ("host_time_ns", c_uint64),
        ("host_time_uncertainty_ns", c_uint64),
        ("read_time_ns", c_uint64),
        ("raw", imu_sample_t),
        ("converted", imu_converted_t),
    ]


class imu_stream_statistics_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("samples_delivered", c_uint64),
        ("duplicate_reads", c_uint64),
        ("samples_missed", c_uint64),
        ("restarts", c_uint64),
        ("reads", c_uint64),
        ("failed_reads", c_uint64),
        ("rate_hz", c_double),
        ("nominal_rate_hz", c_double),
        ("clock_error_ppm", c_double),
        ("read_latency_min_ns", c_uint64),
        ("read_latency_median_ns", c_uint64),
        ("read_latency_p99_ns", c_uint64),
        ("read_latency_max_ns", c_uint64),
    ]


class rig_imu_timing_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("rate_hz", c_double),
        ("clock_error_ppm", c_double),
        ("latency_min_ns", c_uint64),
        ("latency_max_ns", c_uint64),
        ("stall_probability", c_double),
        ("stall_min_ns", c_uint64),
        ("stall_max_ns", c_uint64),
        ("seed", c_uint32),
    ]


class rig_imu_truth_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("counter", c_uint32),
        ("segment", c_uint32),
        ("sample_number", c_uint64),
        ("taken_ns", c_uint64),
    ]


class rig_camera_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("vendor_id", c_uint16),
        ("product_id", c_uint16),
        ("descriptor_order", c_int32),
        ("device_path", c_char_p),
        ("device_name", c_char_p),
        ("product_string", c_char_p),
        ("descriptor_3", c_char_p),
        ("serial_number", c_char_p),
        ("firmware_version", c_char_p),
        ("flash_type", c_int32),
        ("flash_size", c_uint32),
        ("flash_sector_size", c_uint32),
        ("user_space_address", c_uint32),
        ("user_space_size", c_uint32),
        ("capability", POINTER(capability_report_t)),
        ("capability_report", c_uint8 * 64),
        ("imu_unit", c_uint8),
        ("imu_selector", c_uint8),
        ("imu_length", c_uint8),
        ("imu_motion", c_int32),
        ("imu_first_counter", c_uint32),
        ("imu_counter_step", c_uint32),
        ("imu_temperature_c", c_double),
        ("imu_seed", c_uint32),
        ("node_access", c_int32),
    ]


class rig_capture_device_t(Sized):
    _fields_ = [("struct_size", c_uint32), ("friendly_name", c_char_p), ("device_path", c_char_p)]


class rig_call_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("name", c_char_p),
        ("args", POINTER(c_int64)),
        ("arg_count", c_size_t),
        ("camera", c_int32),
        ("succeeded", c_bool),
        ("lock_held", c_bool),
        ("open_sessions", c_int32),
    ]


# A hook the rig runs as a vendor call begins: (the call so far, context) -> 0 when all went well.
rig_call_hook_t = ctypes.CFUNCTYPE(c_int32, POINTER(rig_call_t), c_void_p)


class camera_access_problem_t(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("system_error", c_int32),
        ("device_path", c_char_p),
        ("node", c_char_p),
        ("reason", c_char_p),
        ("fix", c_char_p),
    ]


# Opaque handles travel as plain pointers.
handle_t = c_void_p
P = POINTER

# name: (result type, argument types). A result of error_t is checked by ``call``.
_PROTOTYPES = {
    "uvc_stereo_error_name": (c_char_p, [error_t]),
    "uvc_stereo_last_error_code": (error_t, []),
    "uvc_stereo_last_error_message": (c_char_p, []),
    "uvc_stereo_clear_last_error": (None, []),
    "uvc_stereo_version": (c_char_p, []),
    "uvc_stereo_crc32_ieee": (error_t, [c_void_p, c_size_t, P(c_uint32)]),
    "uvc_stereo_minify_and_validate_json": (error_t, [c_char_p, c_size_t, c_void_p, c_size_t, P(c_size_t)]),
    "uvc_stereo_supported_camera_models": (error_t, [c_void_p, c_size_t, P(c_size_t)]),
    "uvc_stereo_opencv_backend_name": (c_char_p, [c_int32]),
    "uvc_stereo_capability_report_defaults": (error_t, [P(capability_report_t)]),
    "uvc_stereo_imu_conversion_options_defaults": (error_t, [P(imu_conversion_options_t)]),
    "uvc_stereo_convert_imu": (error_t, [c_void_p, c_void_p, c_void_p]),
    "uvc_stereo_scan_devices": (error_t, [P(scan_filter_t), P(handle_t)]),
    "uvc_stereo_device_list_count": (error_t, [handle_t, P(c_size_t)]),
    "uvc_stereo_device_list_get": (error_t, [handle_t, c_size_t, P(device_info_t)]),
    "uvc_stereo_device_list_free": (None, [handle_t]),
    "uvc_stereo_find_camera_access_problems": (error_t, [P(handle_t)]),
    "uvc_stereo_camera_access_list_count": (error_t, [handle_t, P(c_size_t)]),
    "uvc_stereo_camera_access_list_get": (error_t, [handle_t, c_size_t, P(camera_access_problem_t)]),
    "uvc_stereo_camera_access_list_free": (None, [handle_t]),
    "uvc_stereo_open_device": (error_t, [handle_t, c_size_t, P(open_options_t), P(handle_t)]),
    "uvc_stereo_open_device_info": (error_t, [P(device_info_t), P(open_options_t), P(handle_t)]),
    "uvc_stereo_device_close": (None, [handle_t]),
    "uvc_stereo_device_info": (error_t, [handle_t, P(device_info_t)]),
    "uvc_stereo_device_capability_info": (error_t, [handle_t, P(capability_info_t)]),
    "uvc_stereo_device_flash_config": (error_t, [handle_t, P(flash_config_t)]),
    "uvc_stereo_device_imu_transport": (error_t, [handle_t, P(imu_transport_t)]),
    "uvc_stereo_device_transport_flags": (error_t, [handle_t, P(c_uint32)]),
    "uvc_stereo_device_has_flash_transport": (error_t, [handle_t, P(c_bool)]),
    "uvc_stereo_device_has_imu_transport": (error_t, [handle_t, P(c_bool)]),
    "uvc_stereo_device_read_json": (error_t, [handle_t, c_void_p, c_size_t, P(c_size_t), P(c_uint16)]),
    "uvc_stereo_device_write_json": (error_t, [handle_t, c_char_p, c_size_t]),
    "uvc_stereo_device_open_imu": (error_t, [handle_t]),
    "uvc_stereo_device_read_imu": (error_t, [handle_t, c_void_p]),
    "uvc_stereo_device_read_imu_samples": (error_t, [handle_t, c_void_p, c_size_t, c_void_p]),
    "uvc_stereo_device_close_imu": (error_t, [handle_t]),
    "uvc_stereo_device_imu_conversion_options": (error_t, [handle_t, P(imu_conversion_options_t)]),
    # Pointers as plain addresses: a batch passes its arrays without building a ctypes object per call.
    "uvc_stereo_device_convert_imu": (error_t, [handle_t, c_void_p, c_void_p]),
    "uvc_stereo_device_convert_imu_samples": (error_t, [handle_t, c_void_p, c_size_t, c_void_p, c_void_p]),
    "uvc_stereo_imu_stream_options_defaults": (error_t, [P(imu_stream_options_t)]),
    "uvc_stereo_imu_stream_open": (error_t, [handle_t, P(imu_stream_options_t), P(handle_t)]),
    # The samples as a plain address: a read passes numpy's memory or the stream's own array as it is.
    "uvc_stereo_imu_stream_read": (error_t, [handle_t, c_void_p, c_size_t, c_uint64, c_void_p]),
    "uvc_stereo_imu_stream_statistics": (error_t, [handle_t, P(imu_stream_statistics_t)]),
    "uvc_stereo_imu_stream_free": (None, [handle_t]),
    "uvc_stereo_rig_camera_defaults": (error_t, [P(rig_camera_t)]),
    "uvc_stereo_rig_create": (error_t, [P(handle_t)]),
    "uvc_stereo_rig_destroy": (None, [handle_t]),
    "uvc_stereo_rig_add_camera": (error_t, [handle_t, P(rig_camera_t), P(c_int32)]),
    "uvc_stereo_rig_camera_count": (error_t, [handle_t, P(c_size_t)]),
    "uvc_stereo_rig_unplug": (error_t, [handle_t, c_int32]),
    "uvc_stereo_rig_plug": (error_t, [handle_t, c_int32]),
    "uvc_stereo_rig_set_library_present": (error_t, [handle_t, c_bool]),
    "uvc_stereo_rig_set_init_fails_without_cameras": (error_t, [handle_t, c_bool]),
    "uvc_stereo_rig_flash": (error_t, [handle_t, c_int32, c_uint32, c_uint32, c_void_p, c_size_t, P(c_size_t)]),
    "uvc_stereo_rig_set_flash": (error_t, [handle_t, c_int32, c_uint32, c_char_p, c_size_t]),
    "uvc_stereo_rig_write_protected": (error_t, [handle_t, c_int32, P(c_bool)]),
    "uvc_stereo_rig_cut_power_during_write": (error_t, [handle_t, c_int32, c_uint32]),
    "uvc_stereo_rig_cut_power_during_erase": (error_t, [handle_t, c_int32, c_uint32]),
    "uvc_stereo_rig_set_stuck_zero_bits": (error_t, [handle_t, c_int32, c_uint32, c_uint8]),
    "uvc_stereo_rig_set_capability_report": (error_t, [handle_t, c_int32, P(capability_report_t)]),
    "uvc_stereo_rig_set_capability_bytes": (error_t, [handle_t, c_int32, c_char_p]),
    "uvc_stereo_rig_set_firmware_version": (error_t, [handle_t, c_int32, c_char_p]),
    "uvc_stereo_rig_set_node_access": (error_t, [handle_t, c_int32, c_int32]),
    "uvc_stereo_rig_queue_imu_status": (error_t, [handle_t, c_int32, c_uint8]),
    "uvc_stereo_rig_next_imu_counter": (error_t, [handle_t, c_int32, P(c_uint32)]),
    "uvc_stereo_rig_set_capture_devices": (error_t, [handle_t, c_int32, P(rig_capture_device_t), c_size_t]),
    "uvc_stereo_rig_set_capture_listing_fails": (error_t, [handle_t, c_int32, c_bool]),
    "uvc_stereo_rig_add_fault": (error_t, [handle_t, c_char_p, c_uint32, c_uint32, c_int32, c_bool]),
    "uvc_stereo_rig_clear_faults": (error_t, [handle_t]),
    "uvc_stereo_rig_calls": (error_t, [handle_t, P(handle_t)]),
    "uvc_stereo_rig_call_log_count": (error_t, [handle_t, P(c_size_t)]),
    "uvc_stereo_rig_call_log_get": (error_t, [handle_t, c_size_t, P(rig_call_t)]),
    "uvc_stereo_rig_call_log_free": (None, [handle_t]),
    "uvc_stereo_rig_clear_calls": (error_t, [handle_t]),
    "uvc_stereo_rig_on_call": (error_t, [handle_t, c_char_p, rig_call_hook_t, c_void_p]),
    "uvc_stereo_rig_clear_call_hooks": (error_t, [handle_t]),
    "uvc_stereo_rig_violations": (error_t, [handle_t, P(handle_t)]),
    "uvc_stereo_string_list_count": (error_t, [handle_t, P(c_size_t)]),
    "uvc_stereo_string_list_get": (error_t, [handle_t, c_size_t, P(c_char_p)]),
    "uvc_stereo_string_list_free": (None, [handle_t]),
    "uvc_stereo_rig_imu_timing_defaults": (error_t, [P(rig_imu_timing_t)]),
    "uvc_stereo_rig_set_imu_timing": (error_t, [handle_t, c_int32, P(rig_imu_timing_t)]),
    "uvc_stereo_rig_restart_imu": (error_t, [handle_t, c_int32]),
    "uvc_stereo_rig_use_virtual_time": (error_t, [handle_t, c_uint64]),
    "uvc_stereo_rig_now_ns": (error_t, [handle_t, P(c_uint64)]),
    "uvc_stereo_rig_advance_time": (error_t, [handle_t, c_uint64]),
    "uvc_stereo_rig_take_imu_truth": (error_t, [handle_t, c_int32, c_void_p, c_size_t, P(c_size_t)]),
    "uvc_stereo_rig_open_sessions": (error_t, [handle_t, P(c_int32)]),
}


class _Bound:
    lock = threading.Lock()
    library: Optional[ctypes.CDLL] = None
    path: str = ""


def lib() -> ctypes.CDLL:
    """The library with every function of the C interface bound; found and loaded on first use."""
    bound = _Bound.library
    if bound is not None:
        return bound
    with _Bound.lock:
        if _Bound.library is None:
            library, path = _library.find_and_load()
            for name, (restype, argtypes) in _PROTOTYPES.items():
                function = getattr(library, name)
                function.restype = restype
                function.argtypes = argtypes
            _Bound.library, _Bound.path = library, path
        return _Bound.library


def library_path() -> str:
    """Where the loaded library came from (loading it if needed)."""
    lib()
    return _Bound.path


def text(raw: Optional[bytes]) -> str:
    """A text from the SDK as a str ("" for null).

    Bytes that are not UTF-8 (a configuration record may hold any byte above 0x7F inside a
    string) become the lone surrogates U+DC80..U+DCFF, Python's "surrogateescape", so that
    the str goes back into the SDK as exactly the bytes that came out.
    """
    return raw.decode("utf-8", "surrogateescape") if raw else ""


def text_bytes(name: str, value: str) -> bytes:
    """A str for the SDK as UTF-8, the lone surrogates U+DC80..U+DCFF back to the bytes they
    stand for (see ``text``). Any other lone surrogate has no UTF-8 form and is refused."""
    if not isinstance(value, str):
        raise TypeError(f"{name} must be a str, not {type(value).__name__}")
    try:
        return value.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise ValueError(
            f"{name} holds the lone surrogate U+{ord(value[error.start]):04X} at index {error.start}, "
            "which has no UTF-8 form"
        ) from None


def encode(name: str, value: Optional[str]) -> Optional[bytes]:
    """A str for one of the SDK's NUL-terminated strings; None stays None.

    A NUL inside the str is refused: the SDK would read the text only up to it, and a
    selector cut short names another camera.
    """
    if value is None:
        return None
    data = text_bytes(name, value)
    if b"\0" in data:
        raise ValueError(
            f"{name} holds a NUL character at index {value.index(chr(0))}; "
            "the SDK's strings end at their first NUL"
        )
    return data


def failure(code: int) -> UvcStereoError:
    """The calling thread's last failure as an exception; ``code`` is the failing result."""
    return UvcStereoError(code, text(lib().uvc_stereo_last_error_message()))


def check(code: int) -> None:
    """Raises the calling thread's last failure when ``code`` is not OK."""
    if code != OK:
        raise failure(code)
