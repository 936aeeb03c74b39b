"""The SDK's simulated camera rig: develop and test without a camera or the vendor library.

    from tovanel_uvc_stereo import sim
    import tovanel_uvc_stereo as uvc

    with sim.SimulatedRig() as rig:
        rig.add_camera(serial_number="SN-1", device_path=r"\\\\?\\usb#vid_0c45&pid_6366#...")
        (info,) = uvc.scan_devices()

While a rig is open every camera operation of the process talks to it. Its cameras behave
like the real ones (NOR flash, descriptors in either byte order, a capability report, an IMU
sample stream); any vendor call can be made to fail, or met by a hook of your own at the
moment it begins, and every call is logged with its arguments. Closing the rig (leaving its
``with`` block) first closes the devices opened while it was in force, then restores the
platform's camera backend.
"""

from __future__ import annotations

import ctypes
import enum
from ctypes import byref, c_bool, c_char_p, c_int32, c_size_t, c_uint32, c_uint64
from dataclasses import dataclass, field
from typing import Any, Callable, List, Optional, Sequence, Tuple, Union

from . import _c, _convert, _device
from ._handle import OwnedHandle
from ._records import CapabilityReport

__all__ = [
    "DescriptorByteOrder",
    "ImuMotion",
    "SimulatedNodeAccess",
    "SimulatedImu",
    "SimulatedImuTiming",
    "SimulatedImuSampleTruth",
    "SimulatedCaptureDevice",
    "VendorCall",
    "SimulatedRig",
]


class DescriptorByteOrder(enum.IntEnum):
    """How a camera answers the vid/pid descriptor request."""

    BigEndian = 0  #: vid-high, vid-low, pid-high, pid-low
    LittleEndian = 1  #: each pair swapped


class ImuMotion(enum.IntEnum):
    """What a simulated IMU is doing."""

    AtRest = 0  #: gravity on +z, small sensor noise, no rotation
    Moving = 1  #: slow swaying


class SimulatedNodeAccess(enum.IntEnum):
    """Whether this account may open a simulated camera's video nodes, as the Linux kernel decides.

    A refused camera is still listed by a scan, but every call through its node fails
    ("ecGetKsControlFail") and :func:`~tovanel_uvc_stereo.find_camera_access_problems`
    names its nodes with the fix.
    """

    Allowed = 0  #: the node opens
    PermissionDenied = 1  #: a group this account is not in owns it (EACCES)
    Busy = 2  #: another program holds it (EBUSY)


@dataclass
class SimulatedImu:
    """One simulated IMU (the defaults are the SDK's)."""

    motion: ImuMotion = ImuMotion.AtRest
    first_counter: int = 0  #: counter of the first sample (wraps at 2**20)
    counter_step: int = 1  #: counter increment per read; larger values model missed samples
    temperature_c: float = 31.5  #: die temperature
    seed: int = 1  #: noise seed, so runs are repeatable


@dataclass
class SimulatedImuTiming:
    """How a simulated IMU lives in time (the defaults are the SDK's): it samples at ``rate_hz`` on
    its own oscillator, ``clock_error_ppm`` faster (positive) than the host's clock; a read answers
    the newest sample taken before the request reached the camera and takes a transfer time
    between ``latency_min_ns`` and ``latency_max_ns``, or, for a ``stall_probability`` share of
    reads, a stall between ``stall_min_ns`` and ``stall_max_ns``, drawn from ``seed``."""

    rate_hz: float = 200.0
    clock_error_ppm: float = 0.0
    latency_min_ns: int = 200_000
    latency_max_ns: int = 2_000_000
    stall_probability: float = 0.0
    stall_min_ns: int = 5_000_000
    stall_max_ns: int = 20_000_000
    seed: int = 1


@dataclass(frozen=True)
class SimulatedImuSampleTruth:
    """The truth about one sample a timed IMU answered a read with: its counter, the restarts
    before it, the samples since the camera (re)started before it, and when it was taken on the
    host clock."""

    counter: int
    segment: int
    sample_number: int
    taken_ns: int


@dataclass
class SimulatedCaptureDevice:
    """One device a capture backend lists."""

    friendly_name: str = ""
    device_path: str = ""


@dataclass
class VendorCall:
    """One vendor call as the rig saw it."""

    name: str = ""  #: "SonixCam_Init", "SonixCam_CstmReadFromSF", ...
    args: Tuple[int, ...] = field(default_factory=tuple)  #: the integer arguments, in order
    camera: int = -1  #: the camera the call named; -1 for none or unknown
    succeeded: bool = False
    lock_held: bool = False  #: the calling thread held the vendor lock
    open_sessions: int = 0  #: sessions open when the call was made


# The keyword arguments of add_camera: the C++ SimulatedCamera's fields.
_CAMERA_FIELDS = (
    "vendor_id",
    "product_id",
    "descriptor_order",
    "device_path",
    "device_name",
    "product_string",
    "descriptor_3",
    "serial_number",
    "firmware_version",
    "flash_type",
    "flash_size",
    "flash_sector_size",
    "user_space_address",
    "user_space_size",
    "capability",
    "capability_report",
    "imu_unit",
    "imu_selector",
    "imu_length",
    "imu",
    "node_access",
)
_UINT_FIELDS = {
    "vendor_id": "uint16",
    "product_id": "uint16",
    "flash_size": "uint32",
    "flash_sector_size": "uint32",
    "user_space_address": "uint32",
    "user_space_size": "uint32",
    "imu_unit": "uint8",
    "imu_selector": "uint8",
    "imu_length": "uint8",
}
_TEXT_FIELDS = ("device_path", "device_name", "firmware_version")
_OPTIONAL_TEXT_FIELDS = ("product_string", "descriptor_3", "serial_number")


def _vendor_call(record: _c.rig_call_t) -> VendorCall:
    """A vendor call as the C interface describes it, copied out of the SDK's memory."""
    return VendorCall(
        name=_c.text(record.name),
        args=tuple(record.args[: record.arg_count]) if record.arg_count else (),
        camera=record.camera,
        succeeded=bool(record.succeeded),
        lock_held=bool(record.lock_held),
        open_sessions=record.open_sessions,
    )


# A C callback without a result: ctypes hands an exception raised in one to sys.unraisablehook.
_UNRAISABLE_CALLBACK = ctypes.CFUNCTYPE(None)


class _HookFailure:
    """What a hook raised, named for sys.unraisablehook by the hook and the call it met."""

    def __init__(self, error: BaseException, call: str, hook: Callable[[VendorCall], None]) -> None:
        self.error = error
        self.call = call
        self.hook = hook

    def __call__(self) -> None:
        raise self.error

    def __repr__(self) -> str:
        return f"the simulated rig's hook on {self.call}: {self.hook!r}"


def _report_unraisable(error: BaseException, call: str, hook: Callable[[VendorCall], None]) -> None:
    """Hands an exception that cannot cross back into the SDK to ``sys.unraisablehook``, through
    the interpreter's own route for exceptions raised in C callbacks."""
    _UNRAISABLE_CALLBACK(_HookFailure(error, call, hook))()


def _call_hook(call: str, hook: Callable[[VendorCall], None]) -> Any:
    """The C hook that runs ``hook``: nothing it raises may cross into the SDK, so an exception is
    answered with a non-zero result (the rig's broken rule) and reported as unraisable."""

    def run(record: Any, _context: Optional[int]) -> int:
        try:
            hook(_vendor_call(record.contents))
        except BaseException as error:  # noqa: BLE001  (even KeyboardInterrupt cannot unwind through C)
            _report_unraisable(error, call, hook)
            return 1
        return 0

    return _c.rig_call_hook_t(run)


def _report_bytes(name: str, value: Union[bytes, bytearray, Sequence[int]]) -> bytes:
    data = bytes(value)
    if len(data) != 64:
        raise ValueError(f"{name} must be 64 bytes, got {len(data)}")
    return data


class SimulatedRig(OwnedHandle):
    """A simulated camera rig, in force from its creation until ``close()`` (or the end of its ``with`` block).

    One rig is in force at a time (the newest).
    """

    def __init__(self) -> None:
        self._lib = _c.lib()
        # The C hooks handed to the rig, kept until it is gone: see on_call.
        self._hooks: List[Any] = []
        handle = _c.handle_t()
        _c.check(self._lib.uvc_stereo_rig_create(byref(handle)))
        self._handle: Optional[int] = handle.value
        # What the devices opened while this rig is in force know it by (not the rig itself,
        # which they must not keep alive).
        self._token = object()
        _device.rig_created(self._token)

    def _release(self, handle: int) -> None:
        # Devices opened while this rig was in force go first: their sessions belong to it. Those
        # opened on another rig, older or newer, are that rig's to close.
        _device.close_devices_of_rig(self._token)
        self._lib.uvc_stereo_rig_destroy(handle)
        self._hooks.clear()

    def _live(self) -> int:
        if self._handle is None:
            raise ValueError("the simulated rig is closed")
        return self._handle

    # --- cameras --------------------------------------------------------------------

    def add_camera(self, **camera: Any) -> int:
        """Plugs a camera in and returns its rig index (0, 1, ...). Its flash starts erased (0xFF).

        Keyword arguments are the fields of the SDK's ``SimulatedCamera``: ``vendor_id``,
        ``product_id``, ``descriptor_order``, ``device_path``, ``device_name``,
        ``product_string``, ``descriptor_3`` and ``serial_number`` (None: the descriptor is
        absent), ``firmware_version``, ``flash_type``, ``flash_size``, ``flash_sector_size``,
        ``user_space_address``, ``user_space_size``, ``capability`` (a
        :class:`~tovanel_uvc_stereo.CapabilityReport`) or ``capability_report`` (64 raw
        bytes), ``imu_unit``, ``imu_selector``, ``imu_length``, ``imu`` (a :class:`SimulatedImu`)
        and ``node_access`` (a :class:`SimulatedNodeAccess`). Those not given keep the SDK's defaults.
        """
        unknown = sorted(set(camera) - set(_CAMERA_FIELDS))
        if unknown:
            raise TypeError(f"add_camera() got unknown camera fields: {', '.join(unknown)}")
        record = _c.rig_camera_t()
        _c.check(self._lib.uvc_stereo_rig_camera_defaults(byref(record)))
        keep_alive = []
        for name, value in camera.items():
            if name in _UINT_FIELDS:
                setattr(record, name, _convert.checked_uint(name, value, _UINT_FIELDS[name]))
            elif name in _TEXT_FIELDS:
                if not isinstance(value, str):
                    raise TypeError(f"{name} must be a str, not {type(value).__name__}")
                setattr(record, name, _c.encode(name, value))
            elif name in _OPTIONAL_TEXT_FIELDS:
                if value is not None and not isinstance(value, str):
                    raise TypeError(f"{name} must be a str or None, not {type(value).__name__}")
                setattr(record, name, _c.encode(name, value))
            elif name == "descriptor_order":
                record.descriptor_order = DescriptorByteOrder(value)
            elif name == "flash_type":
                record.flash_type = _convert.checked_int32(name, value)
            elif name == "capability":
                if value is not None:
                    report = _convert.capability_report_to_c(value)
                    keep_alive.append(report)
                    record.capability = ctypes.pointer(report)
            elif name == "capability_report":
                ctypes.memmove(record.capability_report, _report_bytes(name, value), 64)
            elif name == "imu":
                self._set_imu(record, value)
            elif name == "node_access":
                record.node_access = SimulatedNodeAccess(value)
        index = c_int32()
        _c.check(self._lib.uvc_stereo_rig_add_camera(self._live(), byref(record), byref(index)))
        return index.value

    @staticmethod
    def _set_imu(record: _c.rig_camera_t, imu: SimulatedImu) -> None:
        if not isinstance(imu, SimulatedImu):
            raise TypeError(f"imu must be a SimulatedImu, not {type(imu).__name__}")
        record.imu_motion = ImuMotion(imu.motion)
        record.imu_first_counter = _convert.checked_uint("imu.first_counter", imu.first_counter, "uint32")
        record.imu_counter_step = _convert.checked_uint("imu.counter_step", imu.counter_step, "uint32")
        record.imu_temperature_c = imu.temperature_c
        record.imu_seed = _convert.checked_uint("imu.seed", imu.seed, "uint32")

    def camera_count(self) -> int:
        count = c_size_t()
        _c.check(self._lib.uvc_stereo_rig_camera_count(self._live(), byref(count)))
        return count.value

    def unplug(self, camera: int) -> None:
        """The camera vanishes from scans and every call on it fails ("ecDeviceDisconnect")."""
        _c.check(self._lib.uvc_stereo_rig_unplug(self._live(), _convert.checked_int32("camera", camera)))

    def plug(self, camera: int) -> None:
        """Plugs an unplugged camera back in (write protection comes back on)."""
        _c.check(self._lib.uvc_stereo_rig_plug(self._live(), _convert.checked_int32("camera", camera)))

    def set_library_present(self, present: bool) -> None:
        """False: the vendor library cannot start, as on a machine without the camera driver."""
        _c.check(self._lib.uvc_stereo_rig_set_library_present(self._live(), bool(present)))

    def set_init_fails_without_cameras(self, fails: bool) -> None:
        """True (the default): starting a session fails ("ecNotFindDevice") while no camera is plugged."""
        _c.check(self._lib.uvc_stereo_rig_set_init_fails_without_cameras(self._live(), bool(fails)))

    # --- flash ----------------------------------------------------------------------

    def flash(self, camera: int, address: int, length: int) -> bytes:
        """The camera's flash bytes [address, address + length), shorter where the range runs off the chip."""
        address = _convert.checked_uint("address", address, "uint32")
        length = _convert.checked_uint("length", length, "uint32")
        buffer = ctypes.create_string_buffer(max(length, 1))
        copied = c_size_t()
        _c.check(
            self._lib.uvc_stereo_rig_flash(
                self._live(), _convert.checked_int32("camera", camera), address, length, buffer, length, byref(copied)
            )
        )
        return buffer.raw[: copied.value]

    def set_flash(self, camera: int, address: int, data: Union[bytes, bytearray]) -> None:
        """Overwrites flash at ``address`` as a programmer would (no erase rules, no write protection)."""
        data = bytes(data)
        _c.check(
            self._lib.uvc_stereo_rig_set_flash(
                self._live(),
                _convert.checked_int32("camera", camera),
                _convert.checked_uint("address", address, "uint32"),
                data,
                len(data),
            )
        )

    def write_protected(self, camera: int) -> bool:
        protected = c_bool()
        _c.check(
            self._lib.uvc_stereo_rig_write_protected(
                self._live(), _convert.checked_int32("camera", camera), byref(protected)
            )
        )
        return protected.value

    def cut_power_during_write(self, camera: int, after_bytes: int) -> None:
        """The next flash write programs only its first ``after_bytes`` bytes, then fails ("ecWriteFlashFail")."""
        _c.check(
            self._lib.uvc_stereo_rig_cut_power_during_write(
                self._live(), _convert.checked_int32("camera", camera), _convert.checked_uint("bytes", after_bytes, "uint32")
            )
        )

    def cut_power_during_erase(self, camera: int, after_bytes: int) -> None:
        """The next sector erase sets only its first ``after_bytes`` bytes to 0xFF, then fails ("ecSectorEraseFail")."""
        _c.check(
            self._lib.uvc_stereo_rig_cut_power_during_erase(
                self._live(), _convert.checked_int32("camera", camera), _convert.checked_uint("bytes", after_bytes, "uint32")
            )
        )

    def set_stuck_zero_bits(self, camera: int, address: int, mask: int) -> None:
        """A worn cell: the bits of ``mask`` at ``address`` read 0 whatever is erased or written."""
        _c.check(
            self._lib.uvc_stereo_rig_set_stuck_zero_bits(
                self._live(),
                _convert.checked_int32("camera", camera),
                _convert.checked_uint("address", address, "uint32"),
                _convert.checked_uint("mask", mask, "uint8"),
            )
        )

    # --- capability report, firmware, IMU -------------------------------------------

    def set_capability_report(self, camera: int, report: Union[CapabilityReport, bytes, bytearray]) -> None:
        """The camera's capability answer from now on: a report record, or 64 raw bytes (all zero: none)."""
        camera = _convert.checked_int32("camera", camera)
        if isinstance(report, CapabilityReport):
            record = _convert.capability_report_to_c(report)
            _c.check(self._lib.uvc_stereo_rig_set_capability_report(self._live(), camera, byref(record)))
        else:
            data = _report_bytes("report", report)
            _c.check(self._lib.uvc_stereo_rig_set_capability_bytes(self._live(), camera, data))

    def set_firmware_version(self, camera: int, version: str) -> None:
        _c.check(
            self._lib.uvc_stereo_rig_set_firmware_version(
                self._live(), _convert.checked_int32("camera", camera), _c.encode("version", version)
            )
        )

    def set_node_access(self, camera: int, access: SimulatedNodeAccess) -> None:
        """Whether this account may open the camera's video nodes from now on."""
        _c.check(
            self._lib.uvc_stereo_rig_set_node_access(
                self._live(), _convert.checked_int32("camera", camera), SimulatedNodeAccess(access)
            )
        )

    def queue_imu_status(self, camera: int, status_byte: int) -> None:
        """The next IMU reads answer with these status bytes (0xF1 init failure, 0xF2 read failure), in order."""
        _c.check(
            self._lib.uvc_stereo_rig_queue_imu_status(
                self._live(), _convert.checked_int32("camera", camera), _convert.checked_uint("status_byte", status_byte, "uint8")
            )
        )

    def next_imu_counter(self, camera: int) -> int:
        """The counter the camera's next IMU sample will carry."""
        counter = c_uint32()
        _c.check(
            self._lib.uvc_stereo_rig_next_imu_counter(self._live(), _convert.checked_int32("camera", camera), byref(counter))
        )
        return counter.value

    # --- capture backends -----------------------------------------------------------

    def set_imu_timing(self, camera: int, timing: Optional[SimulatedImuTiming] = None) -> None:
        """From now on the camera's IMU samples in time (``timing``, else the defaults), its counter
        starting afresh at its first counter, as if just plugged in."""
        if timing is None:
            timing = SimulatedImuTiming()
        record = _c.rig_imu_timing_t()
        record.rate_hz = _convert.checked_float("rate_hz", timing.rate_hz)
        record.clock_error_ppm = _convert.checked_float("clock_error_ppm", timing.clock_error_ppm)
        for name in ("latency_min_ns", "latency_max_ns", "stall_min_ns", "stall_max_ns"):
            setattr(record, name, _convert.checked_uint(name, getattr(timing, name), "uint64"))
        record.stall_probability = _convert.checked_float("stall_probability", timing.stall_probability)
        record.seed = _convert.checked_uint("seed", timing.seed, "uint32")
        _c.check(self._lib.uvc_stereo_rig_set_imu_timing(self._live(), _convert.checked_int32("camera", camera), byref(record)))

    def restart_imu(self, camera: int) -> None:
        """The camera's timed IMU restarts now: its counter goes back to 0."""
        _c.check(self._lib.uvc_stereo_rig_restart_imu(self._live(), _convert.checked_int32("camera", camera)))

    def use_virtual_time(self, start_ns: int = 1_000_000_000) -> None:
        """From now on the host clock the SDK stamps and paces IMU reads by is the rig's own,
        starting at ``start_ns``: only reads (by their transfer time), waits (at once) and
        :meth:`advance_time` move it, so hours of IMU stream run in seconds."""
        _c.check(self._lib.uvc_stereo_rig_use_virtual_time(self._live(), _convert.checked_uint("start_ns", start_ns, "uint64")))

    def now_ns(self) -> int:
        """The host clock the rig lives by: virtual, else the platform's monotonic clock."""
        now = c_uint64()
        _c.check(self._lib.uvc_stereo_rig_now_ns(self._live(), byref(now)))
        return now.value

    def advance_time(self, ns: int) -> None:
        """Moves virtual time forward by ``ns`` nanoseconds (nothing in real time)."""
        _c.check(self._lib.uvc_stereo_rig_advance_time(self._live(), _convert.checked_uint("ns", ns, "uint64")))

    def take_imu_truth(self, camera: int) -> List[SimulatedImuSampleTruth]:
        """Takes the samples the camera's timed IMU answered reads with since the last call, each
        distinct one once, oldest first."""
        camera = _convert.checked_int32("camera", camera)
        capacity = 4096
        template = bytes(_c.rig_imu_truth_t())
        array = (_c.rig_imu_truth_t * capacity).from_buffer_copy(template * capacity)
        count = c_size_t()
        truth: List[SimulatedImuSampleTruth] = []
        while True:
            _c.check(self._lib.uvc_stereo_rig_take_imu_truth(self._live(), camera, array, capacity, byref(count)))
            truth += [
                SimulatedImuSampleTruth(r.counter, r.segment, r.sample_number, r.taken_ns) for r in array[: count.value]
            ]
            if count.value < capacity:
                return truth

    def set_capture_devices(
        self, backend: int, devices: Sequence[Union[SimulatedCaptureDevice, Tuple[str, str]]]
    ) -> None:
        """The listing of ``OpenCvBackend.Msmf`` or ``OpenCvBackend.Dshow`` that scans match cameras
        against: :class:`SimulatedCaptureDevice` records or ``(friendly_name, device_path)`` pairs."""
        entries = [
            device if isinstance(device, SimulatedCaptureDevice) else SimulatedCaptureDevice(*device)
            for device in devices
        ]
        records = (_c.rig_capture_device_t * max(len(entries), 1))()
        for record, entry in zip(records, entries):
            record.struct_size = ctypes.sizeof(_c.rig_capture_device_t)
            record.friendly_name = _c.encode("friendly_name", entry.friendly_name)
            record.device_path = _c.encode("device_path", entry.device_path)
        _c.check(
            self._lib.uvc_stereo_rig_set_capture_devices(
                self._live(), _convert.checked_int32("backend", int(backend)), records, len(entries)
            )
        )

    def set_capture_listing_fails(self, backend: int, fails: bool) -> None:
        """The listing of ``backend`` fails (a scan then reports no index for it)."""
        _c.check(
            self._lib.uvc_stereo_rig_set_capture_listing_fails(
                self._live(), _convert.checked_int32("backend", int(backend)), bool(fails)
            )
        )

    # --- faults and the call log ----------------------------------------------------

    def add_fault(
        self, call: str, nth: int = 1, times: int = 1, vendor_code: int = 0, error_code_query_fails: bool = False
    ) -> None:
        """Makes a vendor call fail: ``call`` names it ("SonixCam_XuRead"; "*" counts every call).
        Uses are counted from now: the ``nth`` (1 = the next one) and the ``times - 1`` after it fail
        (``times`` 0: every use from then on); the library then reports ``vendor_code``."""
        _c.check(
            self._lib.uvc_stereo_rig_add_fault(
                self._live(),
                _c.encode("call", call),
                _convert.checked_uint("nth", nth, "uint32"),
                _convert.checked_uint("times", times, "uint32"),
                _convert.checked_int32("vendor_code", vendor_code),
                bool(error_code_query_fails),
            )
        )

    def clear_faults(self) -> None:
        _c.check(self._lib.uvc_stereo_rig_clear_faults(self._live()))

    def calls(self) -> List[VendorCall]:
        """Every vendor call seen so far, in order."""
        log = _c.handle_t()
        _c.check(self._lib.uvc_stereo_rig_calls(self._live(), byref(log)))
        try:
            count = c_size_t()
            _c.check(self._lib.uvc_stereo_rig_call_log_count(log, byref(count)))
            calls = []
            record = _c.rig_call_t()
            for index in range(count.value):
                _c.check(self._lib.uvc_stereo_rig_call_log_get(log, index, byref(record)))
                calls.append(_vendor_call(record))
            return calls
        finally:
            self._lib.uvc_stereo_rig_call_log_free(log)

    def on_call(self, call: str, hook: Callable[[VendorCall], None]) -> None:
        """Runs ``hook`` at the very moment the vendor call named ``call`` begins ("SonixCam_SectorEraseSF";
        "*": every call), such as to unplug a camera just as its flash is erased.

        The hook runs on the thread that makes the call, each time it begins, before it does its work or
        meets a fault, and is given the call as recorded so far (a :class:`VendorCall` whose ``succeeded``
        is False, as it has not run). The hooks a call matches run in the order they were added. The hook
        may use this rig's methods and close a device (which closes as the call it is inside returns), but
        not the SDK's other scan and device functions, nor create or close a rig:
        the call in progress still holds the camera backend. An exception it raises cannot cross back into
        the SDK: the rig lists "a hook on <call> threw" in :meth:`violations`, the exception goes to
        ``sys.unraisablehook``, and the call goes on. The rig keeps ``hook`` until it is closed.
        """
        if not callable(hook):
            raise TypeError(f"hook must be callable, not {type(hook).__name__}")
        c_hook = _call_hook(call, hook)
        _c.check(self._lib.uvc_stereo_rig_on_call(self._live(), _c.encode("call", call), c_hook, None))
        # Kept until the rig is closed, even past clear_call_hooks: a call that had already begun, or a
        # hook that clears the hooks itself, may still be running it, and freed code cannot be run.
        self._hooks.append(c_hook)

    def clear_call_hooks(self) -> None:
        """Removes every hook: calls that begin after this returns run none."""
        _c.check(self._lib.uvc_stereo_rig_clear_call_hooks(self._live()))

    def call_names(self) -> List[str]:
        """The names of every vendor call seen so far, in order."""
        return [call.name for call in self.calls()]

    def clear_calls(self) -> None:
        """Forgets the calls seen so far."""
        _c.check(self._lib.uvc_stereo_rig_clear_calls(self._live()))

    def violations(self) -> List[str]:
        """Broken rules seen so far: calls outside a session or without the vendor lock, closing
        without opening, erases or writes outside a camera's user space. Empty when all was well."""
        texts = _c.handle_t()
        _c.check(self._lib.uvc_stereo_rig_violations(self._live(), byref(texts)))
        try:
            count = c_size_t()
            _c.check(self._lib.uvc_stereo_string_list_count(texts, byref(count)))
            result = []
            for index in range(count.value):
                entry = c_char_p()
                _c.check(self._lib.uvc_stereo_string_list_get(texts, index, byref(entry)))
                result.append(_c.text(entry.value))
            return result
        finally:
            self._lib.uvc_stereo_string_list_free(texts)

    def open_sessions(self) -> int:
        """Vendor sessions opened and not yet closed."""
        sessions = c_int32()
        _c.check(self._lib.uvc_stereo_rig_open_sessions(self._live(), byref(sessions)))
        return sessions.value

