"""The SDK's free functions: checksums, the JSON minifier, IMU conversion and the model table."""

from __future__ import annotations

import ctypes
from ctypes import byref, c_size_t, c_uint32
from typing import List, Union

from . import _c, _convert
from ._records import CameraModelId, ConvertedImuResult, ImuConversionOptions, ReadImuResult

BytesLike = Union[bytes, bytearray, memoryview]


def library_version() -> str:
    """The loaded library's version, ``"MAJOR.MINOR.PATCH"``."""
    return _c.text(_c.lib().uvc_stereo_version())


def error_name(code: int) -> str:
    """The SDK's name of an error code (``"InvalidJson"``); ``"Unknown"`` for any other number."""
    return _c.text(_c.lib().uvc_stereo_error_name(_convert.checked_int32("code", code)))


def opencv_backend_name(backend: int) -> str:
    """``"CAP_DSHOW"``, ``"CAP_MSMF"``, ...; ``"CAP_UNKNOWN"`` for anything else."""
    return _convert.backend_name(_convert.checked_int32("backend", backend))


def crc32_ieee(data: BytesLike) -> int:
    """CRC-32 (IEEE 802.3, reflected 0xEDB88320) of ``data``; 0 for no bytes."""
    view = memoryview(data).cast("B")
    crc = c_uint32()
    if view.readonly:
        buffer = view.tobytes() if not isinstance(data, bytes) else data
        _c.check(_c.lib().uvc_stereo_crc32_ieee(buffer, len(buffer), byref(crc)))
    else:
        # Writable buffers (bytearray, numpy arrays) are read in place, without a copy.
        address = ctypes.addressof(ctypes.c_char.from_buffer(view)) if len(view) else None
        _c.check(_c.lib().uvc_stereo_crc32_ieee(address, len(view), byref(crc)))
    return crc.value


def minify_and_validate_json(text: Union[str, bytes]) -> str:
    """Checks that ``text`` is exactly one well-formed JSON value and returns it with every
    whitespace byte outside strings removed. Invalid JSON raises ``InvalidJson`` with the
    offset of the fault.

    ``text`` is a str or bytes-like (anything else raises ``TypeError``). The bytes of strings
    are kept as they are: those that are not UTF-8 come back as the lone surrogates
    U+DC80..U+DCFF (``surrogateescape``), which this function and ``Device.write_json`` turn
    back into the same bytes."""
    data = _convert.json_bytes("minify_and_validate_json", text)
    # The result is never longer than the input.
    out = ctypes.create_string_buffer(len(data) + 1)
    required = c_size_t()
    _c.check(_c.lib().uvc_stereo_minify_and_validate_json(data, len(data), out, len(out), byref(required)))
    return _c.text(ctypes.string_at(out, required.value - 1))


def convert_imu(raw: ReadImuResult, options: ImuConversionOptions) -> ConvertedImuResult:
    """Converts a raw sample to degrees Celsius, g and degrees per second with ``options``.
    A zero accelerometer or gyroscope scale yields zeros; a zero temperature scale raises."""
    sample = _convert.sample_to_c(raw)
    factors = _convert.conversion_options_to_c(options)
    converted = _c.imu_converted_t()
    _c.check(
        _c.lib().uvc_stereo_convert_imu(
            ctypes.addressof(sample), ctypes.addressof(factors), ctypes.addressof(converted)
        )
    )
    return _convert.converted_from_c(converted)


def supported_camera_models() -> List[CameraModelId]:
    """The camera models this SDK supports, in the order scans check them."""
    lib = _c.lib()
    count = c_size_t()
    # Asking with no room reports the number (and fails, as the interface documents).
    lib.uvc_stereo_supported_camera_models(None, 0, byref(count))
    models = (_c.camera_model_t * count.value)()
    _c.check(lib.uvc_stereo_supported_camera_models(models, count.value, byref(count)))
    return [CameraModelId(vendor_id=model.vendor_id, product_id=model.product_id) for model in models[: count.value]]
