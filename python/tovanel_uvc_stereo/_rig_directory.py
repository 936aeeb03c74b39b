"""Simulated rigs whose cameras live in a directory, shared by every program given it."""

from ctypes import POINTER, byref, c_char_p, c_size_t, create_string_buffer
from typing import Any, List, Optional

from . import _c, _device
from .sim import SimulatedRig


def _declare(lib: Any) -> None:
    lib.uvc_stereo_rig_create_in_directory.restype = _c.error_t
    lib.uvc_stereo_rig_create_in_directory.argtypes = [c_char_p, POINTER(_c.handle_t)]
    lib.uvc_stereo_rig_directory.restype = _c.error_t
    lib.uvc_stereo_rig_directory.argtypes = [_c.handle_t, c_char_p, c_size_t, POINTER(c_size_t)]


class SimulatedRigInDirectory(SimulatedRig):
    """A simulated rig whose cameras live in ``directory`` (made, without cameras, when missing).

    Each camera's identity, plugged state and flash contents are files there: what one
    program writes the next one reads, and programs given the same directory share its
    cameras while they run, with the same camera interlock as real cameras. Everything
    else behaves as :class:`~tovanel_uvc_stereo.sim.SimulatedRig`.
    """

    def __init__(self, directory: str) -> None:  # pylint: disable=super-init-not-called
        # The rig is made by another C function than SimulatedRig's, so its set-up is repeated here.
        self._lib = _c.lib()
        _declare(self._lib)
        self._hooks: List[Any] = []
        handle = _c.handle_t()
        _c.check(self._lib.uvc_stereo_rig_create_in_directory(_c.encode("directory", directory), byref(handle)))
        self._handle: Optional[int] = handle.value
        # As for any rig: the devices opened while it is in force know it by this token.
        self._token = object()
        _device.rig_created(self._token)

    @property
    def directory(self) -> str:
        """The directory the cameras are kept in."""
        required = c_size_t(0)
        self._lib.uvc_stereo_rig_directory(self._live(), None, 0, byref(required))
        buffer = create_string_buffer(required.value)
        _c.check(self._lib.uvc_stereo_rig_directory(self._live(), buffer, required.value, None))
        return buffer.value.decode("utf-8")
