"""Tovanel UVC stereo camera SDK for Python.

Scan for cameras (:func:`scan_devices`), open one (:func:`open_device`), read its capability
report, read and write its JSON configuration, and stream IMU samples in physical units.
Failures raise :class:`UvcStereoError` with the SDK's code and exact message.
:mod:`tovanel_uvc_stereo.sim` runs everything against a simulated camera rig.
"""

from ._errors import ErrorCode, UvcStereoError
from ._library import LIBRARY_ENVIRONMENT_VARIABLE, LibraryNotFoundError, library_path
from ._records import (
    CAPABILITY_FLASH_USER_SPACE,
    CAPABILITY_IMU,
    TRANSPORT_FLASH,
    TRANSPORT_FLASH_JSON,
    TRANSPORT_IMU,
    CapabilityReport,
    CapabilitySource,
    ConvertedImuResult,
    DeviceCapabilityInfo,
    DeviceInfo,
    FlashConfig,
    FlashUserSpace,
    ImuConversionOptions,
    OpenCvBackend,
    ReadImuResult,
    ReadJsonResult,
    ReportedImuInfo,
)

__version__ = "0.1.0"
