"""Shared fixtures: a simulated rig with one supported camera, and numpy hidden on request.

``--without-numpy`` runs the whole suite as on a machine where numpy is not installed: any
import of numpy fails from the start of the session, as it would there.
"""

import importlib.abc
import sys

import pytest


def pytest_addoption(parser):
    parser.addoption(
        "--without-numpy", action="store_true", default=False, help="hide numpy, as on a machine without it"
    )


class _HideNumpy(importlib.abc.MetaPathFinder):
    def find_spec(self, fullname, path, target=None):
        if fullname == "numpy" or fullname.startswith("numpy."):
            raise ModuleNotFoundError(f"No module named {fullname!r}", name=fullname)
        return None


def pytest_configure(config):
    if config.getoption("--without-numpy"):
        sys.meta_path.insert(0, _HideNumpy())
        for name in [name for name in sys.modules if name == "numpy" or name.startswith("numpy.")]:
            del sys.modules[name]


def pytest_report_header(config):
    try:
        import numpy
    except ImportError:
        return "numpy: not importable"
    return f"numpy: {numpy.__version__}"



import tovanel_uvc_stereo as uvc  # noqa: E402
from tovanel_uvc_stereo import sim  # noqa: E402

from helpers import supported_camera  # noqa: E402


@pytest.fixture
def rig():
    """A rig with no camera; at the end of the test every session must be closed and no rule broken."""
    with sim.SimulatedRig() as simulated:
        yield simulated
        assert simulated.open_sessions() == 0
        assert simulated.violations() == []


@pytest.fixture
def camera_rig(rig):
    """A rig with one supported camera (index 0) without capability reporting."""
    rig.add_camera(**supported_camera())
    return rig


@pytest.fixture
def device(camera_rig):
    """The rig's camera, opened; closed after the test."""
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as opened:
        yield opened
