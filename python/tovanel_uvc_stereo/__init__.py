"""Tovanel UVC stereo camera SDK for Python.

Scan for cameras (:func:`scan_devices`), open one (:func:`open_device`), read its capability
report, read and write its JSON configuration, and stream IMU samples in physical units.
Failures raise :class:`UvcStereoError` with the SDK's code and exact message.
:mod:`tovanel_uvc_stereo.sim` runs everything against a simulated camera rig.

The SDK's shared library is loaded at the first call that needs it: from beside this package,
else from the path in ``TOVANEL_UVC_STEREO_LIBRARY``, else through the system's loader.
"""

from ._device import Device, find_camera_access_problems, open_device, scan_devices
from ._errors import ErrorCode, UvcStereoError
from ._imu_stream import ImuStream
from ._functions import (
    convert_imu,
    crc32_ieee,
    error_name,
    library_version,
    minify_and_validate_json,
    opencv_backend_name,
    supported_camera_models,
)
from ._c import library_path
from ._library import LIBRARY_ENVIRONMENT_VARIABLE, LibraryNotFoundError
from ._records import (
    CAPABILITY_FLASH_USER_SPACE,
    CAPABILITY_IMU,
    TRANSPORT_FLASH,
    TRANSPORT_FLASH_JSON,
    TRANSPORT_IMU,
    CameraAccessProblem,
    CameraModelId,
    CapabilityReport,
    CapabilitySource,
    ConvertedImuResult,
    DeviceCapabilityInfo,
    DeviceInfo,
    FlashConfig,
    FlashUserSpace,
    IMU_TIME_UNKNOWN,
    ImuConversionOptions,
    ImuStreamSample,
    ImuStreamStatistics,
    ImuTransportConfig,
    OpenCvBackend,
    ReadImuResult,
    ReadJsonResult,
    ReportedImuInfo,
)

from . import sim  # noqa: E402  (tovanel_uvc_stereo.sim.SimulatedRig without a second import)



def __getattr__(name):
    # The version is the library's own (set once, by the SDK's build), read when first asked for, so that importing
    # the package never needs the library.
    if name == "__version__":
        return library_version()
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


__all__ = [
    "CAPABILITY_FLASH_USER_SPACE",
    "CAPABILITY_IMU",
    "TRANSPORT_FLASH",
    "TRANSPORT_FLASH_JSON",
    "TRANSPORT_IMU",
    "CameraAccessProblem",
    "CameraModelId",
    "CapabilityReport",
    "CapabilitySource",
    "ConvertedImuResult",
    "Device",
    "DeviceCapabilityInfo",
    "DeviceInfo",
    "ErrorCode",
    "FlashConfig",
    "FlashUserSpace",
    "IMU_TIME_UNKNOWN",
    "ImuConversionOptions",
    "ImuStream",
    "ImuStreamSample",
    "ImuStreamStatistics",
    "ImuTransportConfig",
    "LIBRARY_ENVIRONMENT_VARIABLE",
    "LibraryNotFoundError",
    "OpenCvBackend",
    "ReadImuResult",
    "ReadJsonResult",
    "ReportedImuInfo",
    "UvcStereoError",
    "convert_imu",
    "crc32_ieee",
    "error_name",
    "find_camera_access_problems",
    "library_path",
    "library_version",
    "minify_and_validate_json",
    "open_device",
    "opencv_backend_name",
    "scan_devices",
    "sim",
    "supported_camera_models",
]
