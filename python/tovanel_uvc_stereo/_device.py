"""Scanning, opening a camera, and the operations of an open camera."""

from __future__ import annotations

import ctypes
import itertools
import operator
import sys
import threading
import weakref
from ctypes import byref, c_bool, c_size_t, c_uint16, c_uint32
from typing import Any, Callable, List, Optional, Union

from . import _c, _convert, _numpy
from ._errors import ErrorCode, UvcStereoError
from ._handle import OwnedHandle
from ._imu_stream import DEVICE_CLOSED_MESSAGE, ImuStream
from ._records import (
    CameraAccessProblem,
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
_CLOSED_MESSAGE = DEVICE_CLOSED_MESSAGE

# Samples read and converted per call into the SDK in a batch: between two chunks a batch
# notices Ctrl-C (the interpreter only raises KeyboardInterrupt between Python steps) and a
# close() from another thread, while the chunk is long enough that the calls cost nothing per sample.
IMU_CHUNK = 1024

# The JSON configuration's first read is sized for a record of up to this many bytes; a larger
# record is read again into a buffer of exactly the size the SDK reports it needs.
_JSON_FIRST_READ = 0x10000

# Devices not yet closed, each with the order it was opened in and the simulated rig in force
# when it was opened, so that a rig going away closes the devices opened on it, and only those.
_open_devices: "weakref.WeakSet[Device]" = weakref.WeakSet()
_open_order = itertools.count(1)
_open_lock = threading.Lock()
# The simulated rigs alive, oldest first: the newest is in force.
_rigs: List[object] = []


def _list_records(handle, prefix: str, record_type, convert) -> list:
    """The records of a C list handle (``<prefix>_count``, ``_get`` and ``_free``), each
    converted; the list is freed whatever happens."""
    lib = _c.lib()
    try:
        count = c_size_t()
        _c.check(getattr(lib, prefix + "_count")(handle, byref(count)))
        records = []
        for index in range(count.value):
            record = record_type()
            _c.check(getattr(lib, prefix + "_get")(handle, index, byref(record)))
            records.append(convert(record))
        return records
    finally:
        getattr(lib, prefix + "_free")(handle)


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
    return _list_records(device_list, "uvc_stereo_device_list", _c.device_info_t, _convert.device_info_from_c)


def find_camera_access_problems() -> List[CameraAccessProblem]:
    """Every video node of every supported camera the kernel lists that this account cannot
    open, with the system's reason and the fix, in node order: such a camera is listed and
    opens, but its IMU and capability report cannot be read until the fix is applied. Empty on
    Windows. While a simulated rig serves the cameras, on any platform, its plugged cameras
    added with a ``node_access`` other than ``sim.SimulatedNodeAccess.Allowed`` are named
    instead, with the reasons and fixes Linux gives."""
    problem_list = _c.handle_t()
    _c.check(_c.lib().uvc_stereo_find_camera_access_problems(byref(problem_list)))
    return _list_records(
        problem_list, "uvc_stereo_camera_access_list", _c.camera_access_problem_t, _convert.camera_access_problem_from_c
    )


def open_device(info: DeviceInfo, required_capabilities: int = 0) -> "Device":
    """Opens a scanned camera: checks it, probes its capability report and proves what
    ``required_capabilities`` asks for (``TRANSPORT_FLASH`` and/or ``TRANSPORT_FLASH_JSON``).

    The returned :class:`Device` is a context manager; leaving the ``with`` block closes it.
    """
    record = _convert.device_info_to_c(info)
    options = _c.open_options_t()
    options.required_capabilities = _convert.checked_uint("required_capabilities", required_capabilities, "uint32")
    handle = _c.handle_t()
    with _open_lock:
        rig = _rigs[-1] if _rigs else None
    _c.check(_c.lib().uvc_stereo_open_device_info(byref(record), byref(options), byref(handle)))
    return Device(handle.value, rig)


def _value(record):
    return record.value


def _closed() -> UvcStereoError:
    return UvcStereoError(ErrorCode.InvalidArgument, _CLOSED_MESSAGE)


class _ImuBuffers:
    """Reusable C arrays for one chunk of raw and converted samples, each element's size set,
    made once per device so that reading allocates nothing in the SDK's name."""

    def __init__(self, capacity: int):
        self.capacity = capacity
        raw_template = bytes(_c.imu_sample_t())
        converted_template = bytes(_c.imu_converted_t())
        self.raw = (_c.imu_sample_t * capacity).from_buffer_copy(raw_template * capacity)
        self.converted = (_c.imu_converted_t * capacity).from_buffer_copy(converted_template * capacity)
        self.raw_address = ctypes.addressof(self.raw)
        self.converted_address = ctypes.addressof(self.converted)
        self._views = None

    def numpy_views(self, numpy):
        """The two arrays seen by numpy, in place (made at the first use with numpy)."""
        if self._views is None:
            raw = numpy.frombuffer(self.raw, dtype=numpy.dtype(_c.imu_sample_t))
            converted = numpy.frombuffer(self.converted, dtype=numpy.dtype(_c.imu_converted_t))
            self._views = (
                raw["sample_counter"],
                converted["host_timestamp_ns"],
                converted["temperature_c"],
                converted["accel_g"],
                converted["gyro_dps"],
            )
        return self._views


class Device(OwnedHandle):
    """An opened camera, made by :func:`open_device`.

    Use it in a ``with`` block or call ``close()``; closing also closes an open IMU.
    A closed device refuses every operation with ``InvalidArgument: device is closed or
    moved-from``; its ``info``, ``capability_info`` and ``flash_config`` are then the
    defaults, as for a moved-from C++ ``Device``.

    Threads: any method may be called from any thread. ``close()`` may be called while other
    threads are inside calls on the device (a reader thread in :meth:`read_imu_samples`, a main
    thread closing on Ctrl-C): it refuses new calls, stops a batch read at its next chunk, waits
    for the calls in flight to return, and only then closes the camera. The calls that begin
    after it raise ``device is closed or moved-from``. Other calls on one device from several
    threads take turns, a batch read one chunk at a time; their results interleave in no
    promised order.
    """

    def __init__(self, handle: int, rig: Optional[object] = None):
        self._handle: Optional[int] = handle
        # The C arrays batch reads go through, kept for the next batch.
        self._free_buffers: List[_ImuBuffers] = []
        # The SDK's device handle takes one call at a time. Every call holds this lock for its C
        # calls (a batch: for one chunk), so calls from several threads take turns, a close_imu
        # never meets a read under way, and close() waits for the call in flight.
        self._turn = threading.RLock()
        # How deep the thread holding the lock is in calls on this device (a rig hook may call again).
        self._depth = 0
        # Set by close() before it waits its turn: new calls are refused, a batch stops at its next chunk.
        self._closing = False
        self._rig = rig
        # The IMU streams opened on the device, freed before it closes (a stream needs its device).
        self._streams: "weakref.WeakSet[ImuStream]" = weakref.WeakSet()
        with _open_lock:
            self._open_order = next(_open_order)
            _open_devices.add(self)

    # --- the life of the handle -------------------------------------------------------

    def _in_turn(self, work: Callable[..., Any], *args: Any) -> Any:
        """``work(handle, *args)`` in this thread's turn on the device; refused once closing.

        The turn is taken by a ``with`` block and the depth counted inside its ``try``, so that
        a KeyboardInterrupt, which may arrive between any two calls, never leaves either behind.
        """
        if self._closing:
            # Refused at once, without waiting for the turn of a call under way.
            raise _closed()
        with self._turn:
            handle = self._handle
            if handle is None or self._closing:
                raise _closed()
            self._depth += 1
            try:
                return work(handle, *args)
            finally:
                self._depth -= 1
                if not self._depth and self._closing:
                    # A close() made while the call was under way: the device closes as the call ends.
                    self._close_now()

    def close(self) -> None:
        """Closes the device (and its IMU); closing twice is harmless.

        New calls are refused at once and a batch read stops at its next chunk; a call in flight
        on another thread is waited for. Called from inside a call on this device on the same
        thread (a rig hook), the device closes as that call returns.
        """
        self._closing = True
        if sys.is_finalizing():
            # The interpreter is ending and stops daemon threads where they stand: a call they
            # have in flight never returns its turn. Nothing is waited for, and nothing is freed
            # under them; the process's end takes the camera back.
            if not self._turn.acquire(blocking=False):
                return
        else:
            self._turn.acquire()
        try:
            if not self._depth:
                self._close_now()
        finally:
            self._turn.release()

    def _close_now(self) -> None:
        # With the turn held and no call under way.
        handle, self._handle = self._handle, None
        if handle is not None:
            self._release(handle)

    def _release(self, handle: int) -> None:
        # Closing also closes an open IMU, which ends its camera session.
        with _open_lock:
            _open_devices.discard(self)
        for stream in list(self._streams):
            stream._closing = True
            stream._free()
        _c.lib().uvc_stereo_device_close(handle)

    @property
    def closed(self) -> bool:
        """True once close() has begun: the device takes no new calls."""
        return self._closing

    def __repr__(self) -> str:
        if self._closing:
            return "<tovanel_uvc_stereo.Device closed>"
        info = self.info
        return (
            f"<tovanel_uvc_stereo.Device {info.vendor_id:04x}:{info.product_id:04x} "
            f"serial={info.serial_number!r}>"
        )

    def _call(self, function: str, *args) -> None:
        """Calls the C function with the handle first, in this thread's turn; raises its failure."""
        code = self._in_turn(getattr(_c.lib(), function), *args)
        if code != _c.OK:
            raise _c.failure(code)

    # --- what the device is ---------------------------------------------------------

    def _query(self, closed_value, record_type, function: str, convert):
        """One of the device's descriptions: ``closed_value`` once closed, as a moved-from C++ Device answers."""
        record = record_type()
        try:
            code = self._in_turn(getattr(_c.lib(), function), byref(record))
        except UvcStereoError:
            return closed_value
        _c.check(code)
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
        """Reads the JSON configuration record, minified and validated, with its format version.

        The record stores the bytes it was given, and a string in it may hold any byte above
        0x7F, UTF-8 or not. Bytes that are not UTF-8 come out as the lone surrogates
        U+DC80..U+DCFF (Python's "surrogateescape"), which :meth:`write_json` turns back into
        the same bytes: ``write_json(read_json().json)`` writes the record's text byte for byte.
        ``text.encode("utf-8", "surrogateescape")`` gives the record's exact bytes.
        """
        return self._in_turn(self._read_json)

    def _read_json(self, handle: int) -> ReadJsonResult:
        lib = _c.lib()
        # Sized from what the record holds, not from the user space the camera declares (which
        # may be huge): a first read sized for common records, then, for a larger record, one
        # sized exactly as the SDK reports from the record's header.
        size = min(self._user_space_size(handle) + 1, _JSON_FIRST_READ)
        while True:
            buffer = ctypes.create_string_buffer(size)
            required = c_size_t()
            version = c_uint16()
            code = lib.uvc_stereo_device_read_json(handle, buffer, size, byref(required), byref(version))
            if code == _c.OK:
                text = ctypes.string_at(buffer, required.value - 1)
                return ReadJsonResult(format_version=version.value, json=_c.text(text))
            if required.value <= size:
                raise _c.failure(code)
            size = required.value

    @staticmethod
    def _user_space_size(handle: int) -> int:
        config = _c.flash_config_t()
        _c.check(_c.lib().uvc_stereo_device_flash_config(handle, byref(config)))
        return config.user_space_size

    def write_json(self, text: Union[str, bytes]) -> None:
        """Validates, minifies and writes ``text`` (a str, or bytes as they are) as the configuration
        record (format version 0). Invalid JSON raises ``InvalidJson`` and touches nothing.

        A str is written as UTF-8, its lone surrogates U+DC80..U+DCFF as the bytes they stand
        for (see :meth:`read_json`); any other lone surrogate raises ``ValueError``, and anything
        but a str or bytes-like object raises ``TypeError``.
        """
        data = _convert.json_bytes("write_json", text)
        self._call("uvc_stereo_device_write_json", data, len(data))

    # --- the IMU --------------------------------------------------------------------

    def open_imu(self) -> None:
        """Opens the IMU (a no-op when it is open). The JSON configuration is refused until :meth:`close_imu`."""
        self._call("uvc_stereo_device_open_imu")

    def close_imu(self) -> None:
        """Closes the IMU, if it is open."""
        self._call("uvc_stereo_device_close_imu")

    def read_imu(self) -> ReadImuResult:
        """Reads one raw sample."""
        sample = _c.imu_sample_t()
        self._call("uvc_stereo_device_read_imu", byref(sample))
        return _convert.sample_from_c(sample)

    def imu_conversion_options(self) -> ImuConversionOptions:
        """The scale factors in force: the camera's capability report's, else the defaults."""
        options = _c.imu_conversion_options_t()
        self._call("uvc_stereo_device_imu_conversion_options", byref(options))
        return _convert.conversion_options_from_c(options)

    def convert_imu(self, raw: ReadImuResult) -> ConvertedImuResult:
        """Converts a raw sample to degrees Celsius, g and degrees per second with this camera's factors."""
        sample = _convert.sample_to_c(raw)
        converted = _c.imu_converted_t()
        self._call("uvc_stereo_device_convert_imu", ctypes.addressof(sample), ctypes.addressof(converted))
        return _convert.converted_from_c(converted)

    def read_imu_samples(self, n: int):
        """Reads ``n`` samples and converts them with this camera's factors.

        With numpy installed: a structured array of ``n`` records with the fields
        ``host_timestamp_ns``, ``sample_counter``, ``temperature_c``, ``accel_g`` (3) and
        ``gyro_dps`` (3). Without numpy: a list of :class:`ConvertedImuResult`.
        The first failing read or conversion raises; the batch's samples are then dropped.

        The samples are read and converted in chunks of ``IMU_CHUNK``, each by one call into
        the SDK: between two chunks, Ctrl-C (``KeyboardInterrupt``) ends a long batch, and so
        does a ``close()`` from another thread (``device is closed or moved-from``).
        """
        if isinstance(n, bool):
            raise TypeError("n must be an int, not bool")
        n = operator.index(n)
        if n < 0:
            raise ValueError(f"n must not be negative, got {n}")
        buffers = self._take_buffers(min(n, IMU_CHUNK))
        try:
            numpy = _numpy.numpy_module()
            if numpy is None:
                samples: Any = []
            else:
                samples = numpy.empty(n, dtype=_numpy.imu_sample_dtype(numpy))
                counters, timestamps, temperatures, accels, gyros = buffers.numpy_views(numpy)
            lib = _c.lib()
            read_batch = lib.uvc_stereo_device_read_imu_samples
            convert_batch = lib.uvc_stereo_device_convert_imu_samples
            done = c_size_t()
            done_address = ctypes.addressof(done)

            def read_and_convert(handle: int, count: int) -> int:
                code = read_batch(handle, buffers.raw_address, count, done_address)
                if code != _c.OK:
                    return code
                return convert_batch(handle, buffers.raw_address, count, buffers.converted_address, done_address)

            start = 0
            while start < n:
                # One turn a chunk: between two, other threads' calls and a close() get theirs.
                count = min(n - start, IMU_CHUNK)
                code = self._in_turn(read_and_convert, count)
                if code != _c.OK:
                    raise _c.failure(code)
                stop = start + count
                if numpy is None:
                    samples += _convert.converted_list_from_c(buffers.converted, count)
                else:
                    chunk = samples[start:stop]
                    chunk["host_timestamp_ns"] = timestamps[:count]
                    chunk["sample_counter"] = counters[:count]
                    chunk["temperature_c"] = temperatures[:count]
                    chunk["accel_g"] = accels[:count]
                    chunk["gyro_dps"] = gyros[:count]
                start = stop
            return samples
        finally:
            # Kept for the next batch, also after a failure or Ctrl-C.
            self._free_buffers.append(buffers)

    def open_imu_stream(
        self, nominal_rate_hz: float = 0.0, reads_per_sample: float = 3.0, max_reads_per_second: float = 0.0
    ) -> ImuStream:
        """Opens an :class:`ImuStream` over this camera's IMU, opening the IMU when it is not open.

        ``nominal_rate_hz`` is the IMU's rate by its own clock, which the clock error is measured
        against (0: the usual IMU rate nearest the measured one); ``reads_per_sample`` is how many
        reads per sample period the stream paces itself to (at least 1); ``max_reads_per_second``
        caps the reads per second (0: no cap). The stream is a context manager; closing the
        device closes it too.
        """
        options = _c.imu_stream_options_t()
        options.nominal_rate_hz = _convert.checked_float("nominal_rate_hz", nominal_rate_hz)
        options.reads_per_sample = _convert.checked_float("reads_per_sample", reads_per_sample)
        options.max_reads_per_second = _convert.checked_float("max_reads_per_second", max_reads_per_second)
        handle = _c.handle_t()

        def open_stream(device_handle: int) -> ImuStream:
            _c.check(_c.lib().uvc_stereo_imu_stream_open(device_handle, byref(options), byref(handle)))
            stream = ImuStream(self, handle.value)
            self._streams.add(stream)
            return stream

        return self._in_turn(open_stream)

    def _take_buffers(self, n: int) -> _ImuBuffers:
        # A reading thread takes the device's buffers for its call and puts them back after, so
        # two threads reading one device at once never share one (list.pop and append are atomic).
        try:
            buffers = self._free_buffers.pop()
        except IndexError:
            buffers = None
        if buffers is None or buffers.capacity < n:
            buffers = _ImuBuffers(max(n, 1))
        return buffers


def rig_created(rig: object) -> None:
    """A simulated rig is now in force: devices opened from now on belong to it."""
    with _open_lock:
        _rigs.append(rig)


def close_devices_of_rig(rig: object) -> None:
    """Closes every open device opened while ``rig`` was in force, in the order they were opened,
    and forgets the rig (see sim.SimulatedRig)."""
    with _open_lock:
        devices = [device for device in _open_devices if device._rig is rig]
    for device in sorted(devices, key=lambda device: device._open_order):
        device.close()
    with _open_lock:
        if rig in _rigs:
            _rigs.remove(rig)
