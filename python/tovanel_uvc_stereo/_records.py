"""The SDK's records as plain dataclasses, with the C++ field names and defaults."""

from __future__ import annotations

import enum
from dataclasses import dataclass, field
from typing import Dict, Optional, Tuple

# Bits of ``open_device``'s ``required_capabilities`` and of a device's ``transport_flags``.
TRANSPORT_FLASH = 0x01
TRANSPORT_IMU = 0x02
TRANSPORT_FLASH_JSON = 0x04

# Capability bits of a capability report with a meaning for this SDK.
CAPABILITY_FLASH_USER_SPACE = 0x02
CAPABILITY_IMU = 0x04


class OpenCvBackend(enum.IntEnum):
    """Capture backends, numbered as OpenCV's capture-API constants of the same names."""

    V4l2 = 200
    Dshow = 700
    Msmf = 1400
    Gstreamer = 1800


class CapabilitySource(enum.IntEnum):
    """Where a device's capabilities come from."""

    None_ = 0  #: nothing determined
    Reported = 1  #: the device gave a valid capability report
    Fallback = 2  #: no valid report; fixed defaults are in force


@dataclass
class DeviceInfo:
    """One camera as a scan found it. ``backend_indices`` maps a backend name such as
    ``"CAP_DSHOW"`` to the capture index that backend gives the camera."""

    vendor_id: int = 0
    product_id: int = 0
    aux_flag_a: bool = False
    aux_flag_b: bool = False
    serial_number: str = ""
    descriptor_text: str = ""
    friendly_name: str = ""
    extra_text: str = ""
    device_path: str = ""
    backend_indices: Dict[str, int] = field(default_factory=dict)


@dataclass(frozen=True)
class CameraAccessProblem:
    """A video node of a supported camera that this account cannot open (Linux): the camera's
    ``device_path`` as :func:`scan_devices` lists it, the ``node`` (``"/dev/video0"``), the
    system's error number and text (``reason``, such as ``"Permission denied"``), and the
    ``fix``, one line for a person."""

    device_path: str = ""
    node: str = ""
    system_error: int = 0
    reason: str = ""
    fix: str = ""


@dataclass
class FlashUserSpace:
    """Where the camera's flash user space lies, as its capability report declares it."""

    start: int = 0
    size: int = 0


@dataclass
class ReportedImuInfo:
    """The IMU block of a capability report."""

    model: str = ""
    xu_unit: int = 0
    xu_selector: int = 0
    xu_length: int = 0
    decimal_exponent: int = 0
    temperature_offset_c: float = 25.0
    temperature_lsb_per_c: float = 128.0
    accel_lsb_per_g: float = 2048.0
    gyro_lsb_per_dps: float = 16.4


@dataclass
class CapabilityReport:
    """A validated 64-byte capability report."""

    major_version: int = 1
    minor_version: int = 0
    capability_bits: int = 0
    flash_user_space: Optional[FlashUserSpace] = None  #: present exactly when bit 0x02 is set
    imu: Optional[ReportedImuInfo] = None  #: present exactly when bit 0x04 is set


@dataclass
class DeviceCapabilityInfo:
    """What an opened device knows of its camera's capability report."""

    source: CapabilitySource = CapabilitySource.None_
    report: Optional[CapabilityReport] = None  #: the report when ``source`` is ``Reported``
    message: str = ""  #: why defaults are in force, with ``Fallback``


@dataclass
class FlashConfig:
    """Which camera a flash operation addresses, and where its configuration record lies."""

    vidpid: str = ""
    auto_select: bool = True
    vendor_id: int = 0
    product_id: int = 0
    aux_flag_a: bool = False
    aux_flag_b: bool = False
    serial_number: str = ""
    device_path: str = ""
    user_space_address: int = 0x51000
    erase_sector_size: int = 4096
    magic: int = 0x41564F54
    user_space_size: int = 0x10000
    min_header_size: int = 16
    max_header_size: int = 256
    verify_crc: bool = True
    verify_after_write: bool = True


@dataclass
class ReadJsonResult:
    """The camera's JSON configuration as read from flash (minified and validated)."""

    format_version: int = 0
    json: str = ""


@dataclass
class ImuConversionOptions:
    """Scale factors from raw IMU counts to physical units."""

    temperature_offset_c: float = 25.0
    temperature_lsb_per_c: float = 128.0
    accel_lsb_per_g: float = 2048.0
    gyro_lsb_per_dps: float = 16.4


@dataclass
class ImuTransportConfig:
    """Where a device's IMU samples are read: extension unit, control selector, bytes per read."""

    xu_unit: int = 4
    xu_selector: int = 10
    xu_length: int = 17


@dataclass
class CameraModelId:
    """The USB identity of one supported camera model."""

    vendor_id: int = 0
    product_id: int = 0


@dataclass
class ReadImuResult:
    """One raw IMU sample."""

    host_timestamp_ns: int = 0
    sample_counter: int = 0
    temperature_raw: int = 0
    accel_raw: Tuple[int, int, int] = (0, 0, 0)
    gyro_raw: Tuple[int, int, int] = (0, 0, 0)


@dataclass
class ConvertedImuResult:
    """One IMU sample in physical units: degrees Celsius, g, degrees per second."""

    host_timestamp_ns: int = 0
    temperature_c: float = 0.0
    accel_g: Tuple[float, float, float] = (0.0, 0.0, 0.0)
    gyro_dps: Tuple[float, float, float] = (0.0, 0.0, 0.0)


@dataclass(frozen=True)
class ImuStreamSample:
    """One sample as an :class:`ImuStream` delivers it.

    ``sample_index`` runs on across counter wraps and restarts, growing by ``1 + missed_before``;
    ``host_time_ns`` is when the camera took it, on the host's monotonic clock (CLOCK_MONOTONIC
    on Linux, the performance counter on Windows), strictly increasing, known to within
    ``host_time_uncertainty_ns`` (``IMU_TIME_UNKNOWN`` for the first sample);
    ``read_time_ns`` is the middle of the read that delivered it. ``raw`` is stamped with
    ``read_time_ns``, ``converted`` with ``host_time_ns``.
    """

    sample_index: int = 0
    counter: int = 0
    segment: int = 0
    restarted: bool = False
    missed_before: int = 0
    host_time_ns: int = 0
    host_time_uncertainty_ns: int = 0
    read_time_ns: int = 0
    raw: ReadImuResult = field(default_factory=ReadImuResult)
    converted: ConvertedImuResult = field(default_factory=ConvertedImuResult)


# host_time_uncertainty_ns of a sample whose time no read has bounded yet: the first of a stream.
IMU_TIME_UNKNOWN = 2**64 - 1


@dataclass(frozen=True)
class ImuStreamStatistics:
    """What an :class:`ImuStream` has done so far: its counts, the IMU's rate by the host's clock
    (0 until two samples were seen), the camera clock's error against ``nominal_rate_hz`` (positive:
    the camera's clock runs fast), and the latencies of its reads in nanoseconds (median and p99
    within about 3%)."""

    samples_delivered: int = 0
    duplicate_reads: int = 0
    samples_missed: int = 0
    restarts: int = 0
    reads: int = 0
    failed_reads: int = 0
    rate_hz: float = 0.0
    nominal_rate_hz: float = 0.0
    clock_error_ppm: float = 0.0
    read_latency_min_ns: int = 0
    read_latency_median_ns: int = 0
    read_latency_p99_ns: int = 0
    read_latency_max_ns: int = 0
