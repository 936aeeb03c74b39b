"""Scanning, opening a camera, and the operations of an open camera."""

from __future__ import annotations

import ctypes
import itertools
import operator
import threading
import weakref
from ctypes import byref, c_bool, c_size_t, c_uint16, c_uint32
from typing import List, Optional, Union

from . import _c, _convert, _numpy
from ._errors import ErrorCode, UvcStereoError
from ._handle import OwnedHandle
from ._records import (
    ConvertedImuResult,
    DeviceCapabilityInfo,
    DeviceInfo,
    FlashConfig,
    ImuConversionOptions,
    ImuTransportConfig,
    ReadImuResult,
    ReadJsonResult,
)

# What the SDK says of a device that is closed; a closed Python Device is the C++ moved-from one.
_CLOSED_MESSAGE = "device is closed or moved-from"

# Devices not yet closed, each with the order it was opened in, so that a simulated rig
# going away can close the devices opened on it first.
_open_devices: "weakref.WeakSet[Device]" = weakref.WeakSet()
_open_order = itertools.count(1)
_open_lock = threading.Lock()


def scan_devices(
    vendor_id: Optional[int] = None, product_id: Optional[int] = None, require_serial_number: bool = False
) -> List[DeviceInfo]:
    """Lists the supported cameras attached now, in enumeration order.

    ``vendor_id`` and ``product_id`` narrow the scan when given; ``require_serial_number``
    keeps only cameras with a serial number. No camera attached is an empty list.
    """
    scan_filter = _c.scan_filter_t()
    if vendor_id is not None:
        scan_filter.has_vendor_id = True
        scan_filter.vendor_id = _convert.checked_uint("vendor_id", vendor_id, "uint16")
    if product_id is not None:
        scan_filter.has_product_id = True
        scan_filter.product_id = _convert.checked_uint("product_id", product_id, "uint16")
    scan_filter.require_serial_number = bool(require_serial_number)
    lib = _c.lib()
    device_list = _c.handle_t()
    _c.check(lib.uvc_stereo_scan_devices(byref(scan_filter), byref(device_list)))
    try:
        count = c_size_t()
        _c.check(lib.uvc_stereo_device_list_count(device_list, byref(count)))
        devices = []
        for index in range(count.value):
            record = _c.device_info_t()
            _c.check(lib.uvc_stereo_device_list_get(device_list, index, byref(record)))
            devices.append(_convert.device_info_from_c(record))
        return devices
    finally:
        lib.uvc_stereo_device_list_free(device_list)


def open_device(info: DeviceInfo, required_capabilities: int = 0) -> "Device":
    """Opens a scanned camera: checks it, probes its capability report and proves what
    ``required_capabilities`` asks for (``TRANSPORT_FLASH`` and/or ``TRANSPORT_FLASH_JSON``).

    The returned :class:`Device` is a context manager; leaving the ``with`` block closes it.
    """
    record = _convert.device_info_to_c(info)
    options = _c.open_options_t()
    options.required_capabilities = _convert.checked_uint("required_capabilities", required_capabilities, "uint32")
    handle = _c.handle_t()
    _c.check(_c.lib().uvc_stereo_open_device_info(byref(record), byref(options), byref(handle)))
    return Device(handle.value)


def _value(record):
    return record.value


def _closed() -> UvcStereoError:
    return UvcStereoError(ErrorCode.InvalidArgument, _CLOSED_MESSAGE)


class _ImuBuffers:
    """Reusable C arrays for batches of raw and converted samples, each element's size set."""

    def __init__(self, capacity: int):
        self.capacity = capacity
        raw_template = bytes(_c.imu_sample_t())
        converted_template = bytes(_c.imu_converted_t())
        self.raw = (_c.imu_sample_t * capacity).from_buffer_copy(raw_template * capacity)
        self.converted = (_c.imu_converted_t * capacity).from_buffer_copy(converted_template * capacity)
        self.raw_address = ctypes.addressof(self.raw)
        self.converted_address = ctypes.addressof(self.converted)


class Device(OwnedHandle):
    """An opened camera, made by :func:`open_device`.

    Use it in a ``with`` block or call ``close()``; closing also closes an open IMU.
    A closed device refuses every operation with ``InvalidArgument: device is closed or
    moved-from``; its ``info``, ``capability_info`` and ``flash_config`` are then the
    defaults, as for a moved-from C++ ``Device``. One device is used from one thread at a time.
    """

    def __init__(self, handle: int):
        self._handle: Optional[int] = handle
        self._imu_buffers: Optional[_ImuBuffers] = None
        with _open_lock:
            self._open_order = next(_open_order)
            _open_devices.add(self)

    def _release(self, handle: int) -> None:
        # Closing also closes an open IMU, which ends its camera session.
        with _open_lock:
            _open_devices.discard(self)
        _c.lib().uvc_stereo_device_close(handle)

    def __repr__(self) -> str:
        if self._handle is None:
            return "<tovanel_uvc_stereo.Device closed>"
        info = self.info
        return (
            f"<tovanel_uvc_stereo.Device {info.vendor_id:04x}:{info.product_id:04x} "
            f"serial={info.serial_number!r}>"
        )

    def _live(self) -> int:
        if self._handle is None:
            raise _closed()
        return self._handle

    # --- what the device is ---------------------------------------------------------

    def _query(self, closed_value, record_type, function: str, convert):
        """One of the device's descriptions: ``closed_value`` once closed, as a moved-from C++ Device answers."""
        if self._handle is None:
            return closed_value
        record = record_type()
        _c.check(getattr(_c.lib(), function)(self._handle, byref(record)))
        return convert(record)

    @property
    def info(self) -> DeviceInfo:
        """The scanned record this device was opened from."""
        return self._query(DeviceInfo(), _c.device_info_t, "uvc_stereo_device_info", _convert.device_info_from_c)

    @property
    def capability_info(self) -> DeviceCapabilityInfo:
        """What the capability probe found: the report, or why fallback defaults are in force."""
        return self._query(
            DeviceCapabilityInfo(),
            _c.capability_info_t,
            "uvc_stereo_device_capability_info",
            _convert.capability_info_from_c,
        )

    @property
    def flash_config(self) -> FlashConfig:
        """The flash configuration derived for this camera."""
        return self._query(
            FlashConfig(), _c.flash_config_t, "uvc_stereo_device_flash_config", _convert.flash_config_from_c
        )

    @property
    def imu_transport(self) -> ImuTransportConfig:
        """Where IMU samples are read."""
        return self._query(
            ImuTransportConfig(), _c.imu_transport_t, "uvc_stereo_device_imu_transport", _convert.imu_transport_from_c
        )

    @property
    def transport_flags(self) -> int:
        """Transports proven or opened: ``TRANSPORT_FLASH``, ``TRANSPORT_IMU``, ``TRANSPORT_FLASH_JSON``."""
        return self._query(0, c_uint32, "uvc_stereo_device_transport_flags", _value)

    @property
    def has_flash_transport(self) -> bool:
        return self._query(False, c_bool, "uvc_stereo_device_has_flash_transport", _value)

    @property
    def has_imu_transport(self) -> bool:
        return self._query(False, c_bool, "uvc_stereo_device_has_imu_transport", _value)

    # --- the JSON configuration -----------------------------------------------------

    def read_json(self) -> ReadJsonResult:
        """Reads the JSON configuration record, minified and validated, with its format version."""
        handle = self._live()
        lib = _c.lib()
        # The text never needs more than the user space and its NUL, so one read suffices.
        size = self.flash_config.user_space_size + 1
        while True:
            buffer = ctypes.create_string_buffer(size)
            required = c_size_t()
            version = c_uint16()
            code = lib.uvc_stereo_device_read_json(handle, buffer, size, byref(required), byref(version))
            if code == _c.OK:
                return ReadJsonResult(format_version=version.value, json=_c.text(buffer.raw[: required.value - 1]))
            if required.value <= size:
                raise _c.failure(code)
            size = required.value

    def write_json(self, text: Union[str, bytes]) -> None:
        """Validates, minifies and writes ``text`` as the configuration record (format version 0).
        Invalid JSON raises ``InvalidJson`` and touches nothing."""
        handle = self._live()
        data = text.encode("utf-8") if isinstance(text, str) else bytes(text)
        _c.check(_c.lib().uvc_stereo_device_write_json(handle, data, len(data)))

    # --- the IMU --------------------------------------------------------------------

    def open_imu(self) -> None:
        """Opens the IMU (a no-op when it is open). The JSON configuration is refused until :meth:`close_imu`."""
        _c.check(_c.lib().uvc_stereo_device_open_imu(self._live()))

    def close_imu(self) -> None:
        """Closes the IMU, if it is open."""
        _c.check(_c.lib().uvc_stereo_device_close_imu(self._live()))

    def read_imu(self) -> ReadImuResult:
        """Reads one raw sample."""
        sample = _c.imu_sample_t()
        _c.check(_c.lib().uvc_stereo_device_read_imu(self._live(), byref(sample)))
        return _convert.sample_from_c(sample)

    def imu_conversion_options(self) -> ImuConversionOptions:
        """The scale factors in force: the camera's capability report's, else the defaults."""
        options = _c.imu_conversion_options_t()
        _c.check(_c.lib().uvc_stereo_device_imu_conversion_options(self._live(), byref(options)))
        return _convert.conversion_options_from_c(options)

    def convert_imu(self, raw: ReadImuResult) -> ConvertedImuResult:
        """Converts a raw sample to degrees Celsius, g and degrees per second with this camera's factors."""
        handle = self._live()
        sample = _convert.sample_to_c(raw)
        converted = _c.imu_converted_t()
        _c.check(
            _c.lib().uvc_stereo_device_convert_imu(handle, ctypes.addressof(sample), ctypes.addressof(converted))
        )
        return _convert.converted_from_c(converted)

    def read_imu_samples(self, n: int):
        """Reads ``n`` samples and converts them with this camera's factors.

        With numpy installed: a structured array of ``n`` records with the fields
        ``host_timestamp_ns``, ``sample_counter``, ``temperature_c``, ``accel_g`` (3) and
        ``gyro_dps`` (3). Without numpy: a list of :class:`ConvertedImuResult`.
        The first failing read or conversion raises; the batch's samples are then dropped.
        """
        handle = self._live()
        n = operator.index(n)
        if n < 0:
            raise ValueError(f"n must not be negative, got {n}")
        buffers = self._buffers_for(n)
        lib = _c.lib()
        if n > 0:
            read = c_size_t()
            code = lib.uvc_stereo_device_read_imu_samples(handle, buffers.raw_address, n, byref(read))
            if code != _c.OK:
                raise _c.failure(code)
            convert = lib.uvc_stereo_device_convert_imu
            raw_size = ctypes.sizeof(_c.imu_sample_t)
            converted_size = ctypes.sizeof(_c.imu_converted_t)
            raw_addresses = range(buffers.raw_address, buffers.raw_address + n * raw_size, raw_size)
            converted_addresses = range(
                buffers.converted_address, buffers.converted_address + n * converted_size, converted_size
            )
            for raw_address, converted_address in zip(raw_addresses, converted_addresses):
                code = convert(handle, raw_address, converted_address)
                if code != _c.OK:
                    raise _c.failure(code)

        numpy = _numpy.numpy_module()
        if numpy is None:
            return _convert.converted_list_from_c(buffers.converted, n)
        raw = numpy.frombuffer(buffers.raw, dtype=numpy.dtype(_c.imu_sample_t), count=n)
        converted = numpy.frombuffer(buffers.converted, dtype=numpy.dtype(_c.imu_converted_t), count=n)
        samples = numpy.empty(n, dtype=_numpy.imu_sample_dtype(numpy))
        samples["host_timestamp_ns"] = converted["host_timestamp_ns"]
        samples["sample_counter"] = raw["sample_counter"]
        samples["temperature_c"] = converted["temperature_c"]
        samples["accel_g"] = converted["accel_g"]
        samples["gyro_dps"] = converted["gyro_dps"]
        return samples

    def _buffers_for(self, n: int) -> _ImuBuffers:
        buffers = self._imu_buffers
        if buffers is None or buffers.capacity < n:
            buffers = _ImuBuffers(max(n, 1))
            self._imu_buffers = buffers
        return buffers


def close_devices_opened_after(order: int) -> None:
    """Closes every open device opened after the ``order``-th open (see sim.SimulatedRig)."""
    with _open_lock:
        devices = [device for device in _open_devices if device._open_order > order]
    for device in sorted(devices, key=lambda device: device._open_order):
        device.close()


def current_open_order() -> int:
    """How many devices have been opened so far in this process."""
    with _open_lock:
        return next(_open_order) - 1
