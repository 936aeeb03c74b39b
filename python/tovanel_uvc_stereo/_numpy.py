"""numpy, when it is installed: looked up at each call, so the package works without it."""

from __future__ import annotations

import functools
from types import ModuleType
from typing import Optional


def numpy_module() -> Optional[ModuleType]:
    """The numpy module, or None when it cannot be imported."""
    try:
        import numpy
    except ImportError:
        return None
    return numpy


@functools.lru_cache(maxsize=None)
def imu_sample_dtype(numpy: ModuleType):
    """The record of one converted sample in ``Device.read_imu_samples``' array."""
    return numpy.dtype(
        [
            ("host_timestamp_ns", numpy.uint64),
            ("sample_counter", numpy.uint32),
            ("temperature_c", numpy.float64),
            ("accel_g", numpy.float64, (3,)),
            ("gyro_dps", numpy.float64, (3,)),
        ]
    )
