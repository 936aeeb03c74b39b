"""Copies between the C interface's structs and the package's dataclasses.

Everything that comes out of the SDK is copied into Python objects at once, so nothing in
Python points into memory that a handle owns.
"""

from __future__ import annotations

import ctypes
import struct
from typing import Dict, List, Optional, Union

from . import _c
from ._records import (
    CameraAccessProblem,
    CapabilityReport,
    CapabilitySource,
    ConvertedImuResult,
    DeviceCapabilityInfo,
    DeviceInfo,
    FlashConfig,
    FlashUserSpace,
    ImuConversionOptions,
    ImuStreamSample,
    ImuStreamStatistics,
    ImuTransportConfig,
    OpenCvBackend,
    ReadImuResult,
    ReportedImuInfo,
)

_UINT_BITS = {"uint8": 8, "uint16": 16, "uint32": 32, "uint64": 64}


def checked_uint(name: str, value: int, kind: str) -> int:
    """``value`` when it fits the unsigned C type ``kind``; ctypes would wrap it silently."""
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name} must be an int, not {type(value).__name__}")
    if not 0 <= value < (1 << _UINT_BITS[kind]):
        raise ValueError(f"{name} must fit {kind}, got {value}")
    return value


def checked_int32(name: str, value: int) -> int:
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name} must be an int, not {type(value).__name__}")
    if not -(1 << 31) <= value < (1 << 31):
        raise ValueError(f"{name} must fit int32, got {value}")
    return value


def checked_float(name: str, value: float) -> float:
    """``value`` as a float, refusing anything but a real number (a bool included)."""
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise TypeError(f"{name} must be a number, not {type(value).__name__}")
    return float(value)


def json_bytes(function: str, text: Union[str, bytes, bytearray, memoryview]) -> bytes:
    """A JSON text argument as the bytes handed to the SDK (see Device.write_json)."""
    if isinstance(text, str):
        return _c.text_bytes(f"{function}() text", text)
    if isinstance(text, (bytes, bytearray, memoryview)):
        return bytes(text)
    raise TypeError(f"{function}() takes the JSON text as a str or bytes, not {type(text).__name__}")


def backend_name(backend: int) -> str:
    return _c.text(_c.lib().uvc_stereo_opencv_backend_name(backend))


def _backend_numbers() -> Dict[str, int]:
    return {backend_name(member.value): member.value for member in OpenCvBackend}


def camera_access_problem_from_c(problem: _c.camera_access_problem_t) -> CameraAccessProblem:
    return CameraAccessProblem(
        device_path=_c.text(problem.device_path),
        node=_c.text(problem.node),
        system_error=problem.system_error,
        reason=_c.text(problem.reason),
        fix=_c.text(problem.fix),
    )


def device_info_from_c(info: _c.device_info_t) -> DeviceInfo:
    count = min(info.backend_index_count, _c.MAX_BACKEND_INDICES)
    return DeviceInfo(
        vendor_id=info.vendor_id,
        product_id=info.product_id,
        aux_flag_a=bool(info.aux_flag_a),
        aux_flag_b=bool(info.aux_flag_b),
        serial_number=_c.text(info.serial_number),
        descriptor_text=_c.text(info.descriptor_text),
        friendly_name=_c.text(info.friendly_name),
        extra_text=_c.text(info.extra_text),
        device_path=_c.text(info.device_path),
        backend_indices={
            backend_name(entry.backend): entry.index for entry in info.backend_indices[:count]
        },
    )


def device_info_to_c(info: DeviceInfo) -> _c.device_info_t:
    """The C record of ``info``; its strings live as long as the returned struct."""
    if not isinstance(info, DeviceInfo):
        raise TypeError(f"expected a DeviceInfo, not {type(info).__name__}")
    record = _c.device_info_t()
    record.vendor_id = checked_uint("vendor_id", info.vendor_id, "uint16")
    record.product_id = checked_uint("product_id", info.product_id, "uint16")
    record.aux_flag_a = bool(info.aux_flag_a)
    record.aux_flag_b = bool(info.aux_flag_b)
    record.serial_number = _c.encode("serial_number", info.serial_number)
    record.descriptor_text = _c.encode("descriptor_text", info.descriptor_text)
    record.friendly_name = _c.encode("friendly_name", info.friendly_name)
    record.extra_text = _c.encode("extra_text", info.extra_text)
    record.device_path = _c.encode("device_path", info.device_path)
    if len(info.backend_indices) > _c.MAX_BACKEND_INDICES:
        raise ValueError(f"backend_indices holds more than {_c.MAX_BACKEND_INDICES} backends")
    numbers = _backend_numbers()
    entries = []
    for name, index in info.backend_indices.items():
        if name not in numbers:
            raise ValueError(f"backend_indices: unknown capture backend {name!r} (known: {', '.join(numbers)})")
        entries.append((numbers[name], checked_int32(f"backend_indices[{name!r}]", index)))
    # The C record lists the backends in increasing order, as the C++ map holds them.
    for slot, (backend, index) in enumerate(sorted(entries)):
        record.backend_indices[slot].backend = backend
        record.backend_indices[slot].index = index
    record.backend_index_count = len(entries)
    return record


# The scale factors from raw IMU counts to physical units: named alike in the capability report's
# IMU block, the conversion options, and their C structs.
_SCALE_FIELDS = ("temperature_offset_c", "temperature_lsb_per_c", "accel_lsb_per_g", "gyro_lsb_per_dps")


def _scales(source) -> Dict[str, float]:
    return {name: getattr(source, name) for name in _SCALE_FIELDS}


def _set_scales(target, source) -> None:
    for name in _SCALE_FIELDS:
        setattr(target, name, getattr(source, name))


def capability_report_from_c(report: _c.capability_report_t) -> CapabilityReport:
    imu = report.imu
    return CapabilityReport(
        major_version=report.major_version,
        minor_version=report.minor_version,
        capability_bits=report.capability_bits,
        flash_user_space=(
            FlashUserSpace(start=report.flash_user_space_start, size=report.flash_user_space_size)
            if report.has_flash_user_space
            else None
        ),
        imu=(
            ReportedImuInfo(
                model=_c.text(imu.model),
                xu_unit=imu.xu_unit,
                xu_selector=imu.xu_selector,
                xu_length=imu.xu_length,
                decimal_exponent=imu.decimal_exponent,
                **_scales(imu),
            )
            if report.has_imu
            else None
        ),
    )


def capability_report_to_c(report: CapabilityReport) -> _c.capability_report_t:
    if not isinstance(report, CapabilityReport):
        raise TypeError(f"expected a CapabilityReport, not {type(report).__name__}")
    record = _c.capability_report_t()
    _c.check(_c.lib().uvc_stereo_capability_report_defaults(ctypes.byref(record)))
    record.major_version = checked_uint("major_version", report.major_version, "uint8")
    record.minor_version = checked_uint("minor_version", report.minor_version, "uint8")
    record.capability_bits = checked_uint("capability_bits", report.capability_bits, "uint64")
    record.has_flash_user_space = report.flash_user_space is not None
    if report.flash_user_space is not None:
        record.flash_user_space_start = checked_uint("flash_user_space.start", report.flash_user_space.start, "uint32")
        record.flash_user_space_size = checked_uint("flash_user_space.size", report.flash_user_space.size, "uint32")
    record.has_imu = report.imu is not None
    if report.imu is not None:
        imu = report.imu
        model = _c.encode("imu.model", imu.model)
        if len(model) > 8:
            raise ValueError(f"imu.model holds at most 8 bytes of UTF-8, got {imu.model!r}")
        record.imu.model = model
        record.imu.xu_unit = checked_uint("imu.xu_unit", imu.xu_unit, "uint8")
        record.imu.xu_selector = checked_uint("imu.xu_selector", imu.xu_selector, "uint8")
        record.imu.xu_length = checked_uint("imu.xu_length", imu.xu_length, "uint8")
        record.imu.decimal_exponent = checked_uint("imu.decimal_exponent", imu.decimal_exponent, "uint8")
        _set_scales(record.imu, imu)
    return record


def capability_info_from_c(info: _c.capability_info_t) -> DeviceCapabilityInfo:
    report: Optional[CapabilityReport] = capability_report_from_c(info.report.contents) if info.report else None
    return DeviceCapabilityInfo(source=CapabilitySource(info.source), report=report, message=_c.text(info.message))


def flash_config_from_c(config: _c.flash_config_t) -> FlashConfig:
    return FlashConfig(
        vidpid=_c.text(config.vidpid),
        auto_select=bool(config.auto_select),
        vendor_id=config.vendor_id,
        product_id=config.product_id,
        aux_flag_a=bool(config.aux_flag_a),
        aux_flag_b=bool(config.aux_flag_b),
        serial_number=_c.text(config.serial_number),
        device_path=_c.text(config.device_path),
        user_space_address=config.user_space_address,
        erase_sector_size=config.erase_sector_size,
        magic=config.magic,
        user_space_size=config.user_space_size,
        min_header_size=config.min_header_size,
        max_header_size=config.max_header_size,
        verify_crc=bool(config.verify_crc),
        verify_after_write=bool(config.verify_after_write),
    )


def imu_transport_from_c(transport: _c.imu_transport_t) -> ImuTransportConfig:
    return ImuTransportConfig(
        xu_unit=transport.xu_unit, xu_selector=transport.xu_selector, xu_length=transport.xu_length
    )


def conversion_options_from_c(options: _c.imu_conversion_options_t) -> ImuConversionOptions:
    return ImuConversionOptions(**_scales(options))


def conversion_options_to_c(options: ImuConversionOptions) -> _c.imu_conversion_options_t:
    if not isinstance(options, ImuConversionOptions):
        raise TypeError(f"expected ImuConversionOptions, not {type(options).__name__}")
    record = _c.imu_conversion_options_t()
    _set_scales(record, options)
    return record


# The IMU structs as flat byte layouts: struct packs and unpacks a whole sample in one call,
# and refuses a value that does not fit its field, where ctypes would wrap it silently.
_SAMPLE = struct.Struct("=IIQh3h3h")
_CONVERTED = struct.Struct("=I4xQd3d3d")
assert _SAMPLE.size <= ctypes.sizeof(_c.imu_sample_t) and _c.imu_sample_t.temperature_raw.offset == 16
assert _CONVERTED.size == ctypes.sizeof(_c.imu_converted_t) and _c.imu_converted_t.accel_g.offset == 24


def sample_from_c(sample: _c.imu_sample_t) -> ReadImuResult:
    _, counter, timestamp, temperature, ax, ay, az, gx, gy, gz = _SAMPLE.unpack_from(sample)
    return ReadImuResult(timestamp, counter, temperature, (ax, ay, az), (gx, gy, gz))


def sample_to_c(raw: ReadImuResult) -> _c.imu_sample_t:
    if not isinstance(raw, ReadImuResult):
        raise TypeError(f"expected a ReadImuResult, not {type(raw).__name__}")
    sample = _c.imu_sample_t()
    try:
        accel_x, accel_y, accel_z = raw.accel_raw
        gyro_x, gyro_y, gyro_z = raw.gyro_raw
        _SAMPLE.pack_into(
            sample,
            0,
            sample.struct_size,
            raw.sample_counter,
            raw.host_timestamp_ns,
            raw.temperature_raw,
            accel_x,
            accel_y,
            accel_z,
            gyro_x,
            gyro_y,
            gyro_z,
        )
    except (struct.error, ValueError, TypeError) as error:
        raise ValueError(
            f"{raw!r} does not fit the SDK's raw sample (counter uint32, timestamp uint64, "
            f"temperature and three accel and gyro values int16): {error}"
        ) from None
    return sample


def converted_from_c(converted: _c.imu_converted_t) -> ConvertedImuResult:
    _, timestamp, temperature, ax, ay, az, gx, gy, gz = _CONVERTED.unpack_from(converted)
    return ConvertedImuResult(timestamp, temperature, (ax, ay, az), (gx, gy, gz))


def converted_list_from_c(array, count: int) -> List[ConvertedImuResult]:
    """The first ``count`` converted samples of a C array, as records."""
    data = memoryview(array).cast("B")[: count * _CONVERTED.size]
    return [
        ConvertedImuResult(timestamp, temperature, (ax, ay, az), (gx, gy, gz))
        for _, timestamp, temperature, ax, ay, az, gx, gy, gz in _CONVERTED.iter_unpack(data)
    ]


# A stream sample as one flat byte layout (its raw and converted samples inside), so a whole
# batch unpacks without a ctypes attribute access per field.
_STREAM_SAMPLE = struct.Struct("=IIQI?3xQQQQ" + "IIQ7h2x" + "I4xQ7d")
assert _STREAM_SAMPLE.size == ctypes.sizeof(_c.imu_stream_sample_t) and _c.imu_stream_sample_t.raw.offset == 56


def _stream_sample(fields: tuple) -> ImuStreamSample:
    (_, counter, index, segment, restarted, missed, host_time, uncertainty, read_time,
     _, raw_counter, raw_time, temperature_raw, ax, ay, az, gx, gy, gz,
     _, converted_time, temperature_c, cax, cay, caz, cgx, cgy, cgz) = fields
    return ImuStreamSample(
        sample_index=index,
        counter=counter,
        segment=segment,
        restarted=restarted,
        missed_before=missed,
        host_time_ns=host_time,
        host_time_uncertainty_ns=uncertainty,
        read_time_ns=read_time,
        raw=ReadImuResult(raw_time, raw_counter, temperature_raw, (ax, ay, az), (gx, gy, gz)),
        converted=ConvertedImuResult(converted_time, temperature_c, (cax, cay, caz), (cgx, cgy, cgz)),
    )


def stream_sample_from_c(sample: _c.imu_stream_sample_t) -> ImuStreamSample:
    return _stream_sample(_STREAM_SAMPLE.unpack_from(sample))


def stream_samples_from_c(array, count: int) -> List[ImuStreamSample]:
    """The first ``count`` samples of a C array of stream samples, as records."""
    data = memoryview(array).cast("B")[: count * _STREAM_SAMPLE.size]
    return [_stream_sample(fields) for fields in _STREAM_SAMPLE.iter_unpack(data)]


def stream_statistics_from_c(statistics: _c.imu_stream_statistics_t) -> ImuStreamStatistics:
    return ImuStreamStatistics(**{name: getattr(statistics, name) for name, _ in statistics._fields_[1:]})
