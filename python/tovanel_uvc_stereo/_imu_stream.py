"""A stream of IMU samples: every sample the camera took delivered once, in order, with the
host time it was taken, read a batch per call into the SDK."""

from __future__ import annotations

import ctypes
import functools
import operator
import sys
import threading
import time
from ctypes import byref, c_size_t
from typing import TYPE_CHECKING, Any, Iterator, List, Optional

from . import _c, _convert, _numpy
from ._errors import ErrorCode, UvcStereoError
from ._records import ImuStreamSample, ImuStreamStatistics

if TYPE_CHECKING:  # pragma: no cover
    from ._device import Device

# Samples one call into the SDK reads at most, and the longest one call may wait: between two
# calls a read notices Ctrl-C (the interpreter raises KeyboardInterrupt only between Python steps)
# and a close() from another thread, while a call is long enough to cost nothing per sample.
STREAM_CHUNK = 1024
STREAM_SLICE_NS = 500_000_000

_CLOSED_MESSAGE = "IMU stream is closed"
# What the package says of a closed device (a closed Python Device is the C++ moved-from one).
DEVICE_CLOSED_MESSAGE = "device is closed or moved-from"
_SAMPLE_SIZE = ctypes.sizeof(_c.imu_stream_sample_t)


def _device_closed() -> UvcStereoError:
    return UvcStereoError(ErrorCode.InvalidArgument, DEVICE_CLOSED_MESSAGE)


def _stream_closed() -> UvcStereoError:
    return UvcStereoError(ErrorCode.InvalidArgument, _CLOSED_MESSAGE)


@functools.lru_cache(maxsize=None)
def stream_sample_dtype(numpy):
    """The record of one sample in :meth:`ImuStream.read`'s array: named fields over the SDK's
    own sample layout, so the SDK writes straight into the array the caller gets."""
    sample = _c.imu_stream_sample_t
    raw = sample.raw.offset
    converted = sample.converted.offset
    fields = [
        ("sample_index", numpy.uint64, sample.sample_index.offset),
        ("counter", numpy.uint32, sample.counter.offset),
        ("segment", numpy.uint32, sample.segment.offset),
        ("restarted", numpy.bool_, sample.restarted.offset),
        ("missed_before", numpy.uint64, sample.missed_before.offset),
        ("host_time_ns", numpy.uint64, sample.host_time_ns.offset),
        ("host_time_uncertainty_ns", numpy.uint64, sample.host_time_uncertainty_ns.offset),
        ("read_time_ns", numpy.uint64, sample.read_time_ns.offset),
        ("temperature_c", numpy.float64, converted + _c.imu_converted_t.temperature_c.offset),
        (("accel_g", (numpy.float64, (3,))), None, converted + _c.imu_converted_t.accel_g.offset),
        (("gyro_dps", (numpy.float64, (3,))), None, converted + _c.imu_converted_t.gyro_dps.offset),
        ("temperature_raw", numpy.int16, raw + _c.imu_sample_t.temperature_raw.offset),
        (("accel_raw", (numpy.int16, (3,))), None, raw + _c.imu_sample_t.accel_raw.offset),
        (("gyro_raw", (numpy.int16, (3,))), None, raw + _c.imu_sample_t.gyro_raw.offset),
    ]
    names, formats, offsets = [], [], []
    for name, kind, offset in fields:
        if isinstance(name, tuple):
            name, kind = name
        names.append(name)
        formats.append(kind)
        offsets.append(offset)
    return numpy.dtype({"names": names, "formats": formats, "offsets": offsets, "itemsize": _SAMPLE_SIZE})


class ImuStream:
    """IMU samples as the camera took them, made by :meth:`Device.open_imu_stream`.

    Each sample is delivered once, in the order taken; the samples no read saw are counted in
    the next one's ``missed_before`` and in :meth:`statistics`. The stream is pulled by the
    caller: nothing reads in the background.

    * Iterating yields one :class:`ImuStreamSample` at a time, waiting for each, without end.
    * :meth:`read` returns a batch: with numpy a structured array, without it a list of records.

    A failing read raises :class:`UvcStereoError` with the SDK's code and message, and the
    error's ``samples`` holds what the read had delivered before the failure (the same type the
    read returns), so no sample is lost; the stream stays open and the next read continues the
    same timeline. While the camera is unplugged every read fails the same way.

    Use it in a ``with`` block or call :meth:`close`; closing the device also closes its streams.
    Threads: a ``close()`` (of the stream or of its device) from another thread waits for the
    call into the SDK in flight and ends a read at its next call (raising ``IMU stream is
    closed`` or ``device is closed or moved-from`` with the samples read so far). Ctrl-C ends a
    read between two calls into the SDK; the samples that read had delivered are then dropped.
    """

    def __init__(self, device: "Device", handle: int):
        self._device = device
        self._handle: Optional[int] = handle
        self._closing = False
        # The array iteration reads into, one sample at a time, its size set for the SDK.
        self._one = _c.imu_stream_sample_t()
        self._one_address = ctypes.addressof(self._one)
        self._list_buffer: Optional[ctypes.Array] = None

    # --- the life of the handle -------------------------------------------------------

    def close(self) -> None:
        """Frees the stream (the device's IMU stays open); closing twice is harmless. A call into
        the SDK under way on another thread is waited for."""
        self._closing = True
        turn = self._device._turn
        if sys.is_finalizing():
            # Daemon threads stop where they stand at the interpreter's end: never wait for them.
            if not turn.acquire(blocking=False):
                return
        else:
            turn.acquire()
        try:
            self._free()
        finally:
            turn.release()

    def _free(self) -> None:
        # With the device's turn held: by close(), or by the device closing before its handle goes.
        handle, self._handle = self._handle, None
        if handle is not None:
            _c.lib().uvc_stereo_imu_stream_free(handle)

    @property
    def closed(self) -> bool:
        """True once close() has begun (or the device was closed)."""
        return self._closing or self._handle is None

    def __enter__(self) -> "ImuStream":
        return self

    def __exit__(self, *exc_info: Any) -> None:
        self.close()

    def __del__(self) -> None:
        try:
            self.close()
        except Exception:  # noqa: BLE001  (the interpreter may be shutting down)
            pass

    def __repr__(self) -> str:
        return f"<tovanel_uvc_stereo.ImuStream {'closed' if self.closed else 'open'}>"

    def _in_turn(self, work, *args: Any) -> Any:
        """``work(handle, *args)`` in the device's turn; refused once the stream or device is closing
        (as the device refuses, when the device is)."""
        if self._device._closing:
            raise _device_closed()
        if self._closing:
            raise _stream_closed()

        def with_stream(_device_handle: int) -> Any:
            handle = self._handle
            if handle is None or self._closing:
                raise _stream_closed()
            return work(handle, *args)

        return self._device._in_turn(with_stream)

    # --- reading --------------------------------------------------------------------

    def statistics(self) -> ImuStreamStatistics:
        """The stream's counts, rate, clock error and read latencies so far."""
        statistics = _c.imu_stream_statistics_t()
        code = self._in_turn(lambda handle: _c.lib().uvc_stereo_imu_stream_statistics(handle, byref(statistics)))
        _c.check(code)
        return _convert.stream_statistics_from_c(statistics)

    def __iter__(self) -> Iterator[ImuStreamSample]:
        read = _c.lib().uvc_stereo_imu_stream_read
        done = c_size_t()
        done_address = ctypes.addressof(done)
        address = self._one_address

        def read_one(handle: int):
            # Converted in the turn, before another thread's call may reuse the buffer.
            code = read(handle, address, 1, STREAM_SLICE_NS, done_address)
            return code, (_convert.stream_sample_from_c(self._one) if done.value else None)

        while True:
            code, sample = self._in_turn(read_one)
            if code != _c.OK:
                raise _c.failure(code)
            if sample is not None:
                yield sample

    def read(self, n: int, timeout: Optional[float] = None):
        """Reads up to ``n`` new samples.

        ``timeout`` (seconds) bounds the wait: the read returns the samples it has once the next
        paced read would begin after it, so it may return fewer than ``n``; ``0`` takes only the
        read due now; ``None`` waits for all ``n``.

        With numpy installed: a structured array with the fields ``sample_index``, ``counter``,
        ``segment``, ``restarted``, ``missed_before``, ``host_time_ns``,
        ``host_time_uncertainty_ns``, ``read_time_ns``, ``temperature_c``, ``accel_g`` (3),
        ``gyro_dps`` (3), ``temperature_raw``, ``accel_raw`` (3) and ``gyro_raw`` (3), which the
        SDK fills in place. Without numpy: a list of :class:`ImuStreamSample`.
        """
        if isinstance(n, bool):
            raise TypeError("n must be an int, not bool")
        n = operator.index(n)
        if n < 0:
            raise ValueError(f"n must not be negative, got {n}")
        if timeout is None:
            remaining_ns: Optional[int] = None
        else:
            if isinstance(timeout, bool) or not isinstance(timeout, (int, float)):
                raise TypeError(f"timeout must be a number of seconds or None, not {type(timeout).__name__}")
            if not timeout >= 0:
                raise ValueError(f"timeout must not be negative, got {timeout}")
            remaining_ns = int(timeout * 1e9)

        numpy = _numpy.numpy_module()
        if numpy is None:
            samples: Any = []
            buffer = self._take_list_buffer(min(n, STREAM_CHUNK))
            base = ctypes.addressof(buffer)
        else:
            samples = numpy.empty(n, dtype=stream_sample_dtype(numpy))
            base = samples.ctypes.data
        read = _c.lib().uvc_stereo_imu_stream_read
        in_device_turn = self._device._in_turn
        done = c_size_t()
        done_address = ctypes.addressof(done)
        delivered = 0

        def read_chunk(_device_handle: int, address: int, count: int, timeout_ns: int) -> int:
            # In the device's turn: the stream cannot be freed under the call.
            handle = self._handle
            if handle is None or self._closing:
                raise _stream_closed()
            code = read(handle, address, count, timeout_ns, done_address)
            if numpy is None:
                # Converted in the turn, before another thread's call may reuse the buffer.
                samples.extend(_convert.stream_samples_from_c(buffer, done.value))
            return code

        def result() -> Any:
            return samples if numpy is None else samples[:delivered]

        try:
            while delivered < n:
                count = min(n - delivered, STREAM_CHUNK)
                if numpy is None:
                    address = base
                else:
                    address = base + delivered * _SAMPLE_SIZE
                # The SDK takes the first element's size as the array's stride.
                ctypes.c_uint32.from_address(address).value = _SAMPLE_SIZE
                slice_ns = STREAM_SLICE_NS if remaining_ns is None else max(0, min(remaining_ns, STREAM_SLICE_NS))
                started = time.monotonic_ns() if remaining_ns is not None else 0
                if self._closing:
                    # Refused at once, without waiting for the turn of a call under way.
                    raise _device_closed() if self._device._closing else _stream_closed()
                code = in_device_turn(read_chunk, address, count, slice_ns)
                got = done.value
                delivered += got
                if code != _c.OK:
                    raise _c.failure(code)
                if remaining_ns is not None:
                    # A short call waited out its whole slice; a full one at most its slice.
                    spent = slice_ns if got < count else min(slice_ns, time.monotonic_ns() - started)
                    remaining_ns -= spent
                    if remaining_ns <= 0 and got < count:
                        break
        except UvcStereoError as error:
            error.samples = result()
            raise
        return result()

    def _take_list_buffer(self, n: int) -> ctypes.Array:
        # Without numpy, the stream's own C array, kept for the next read.
        buffer = self._list_buffer
        if buffer is None or len(buffer) < n:
            template = bytes(_c.imu_stream_sample_t())
            capacity = max(n, 1)
            buffer = (_c.imu_stream_sample_t * capacity).from_buffer_copy(template * capacity)
            self._list_buffer = buffer
        return buffer
