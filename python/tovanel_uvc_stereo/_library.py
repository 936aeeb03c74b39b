"""Finding and loading the SDK's shared library.

The library is looked for in a fixed order, and the first copy that loads wins:

1. beside this package (where an installation with the library bundled puts it);
2. the file named by the environment variable ``TOVANEL_UVC_STEREO_LIBRARY``;
3. the system's loader (``LD_LIBRARY_PATH``, the loader cache, ``PATH`` on Windows).

When none loads, :class:`LibraryNotFoundError` lists every place looked at and why
each failed. The package loads the library once, at the first call that needs it (``_c.lib``).
"""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
from pathlib import Path
from typing import List, Mapping, Optional, Sequence, Tuple

LIBRARY_ENVIRONMENT_VARIABLE = "TOVANEL_UVC_STEREO_LIBRARY"
_BASE_NAME = "tovanel_uvc_stereo_sdk"


class LibraryNotFoundError(OSError):
    """The SDK's shared library could not be found or loaded.

    ``attempts`` holds one ``(place, reason)`` pair per place looked at, in order.
    """

    def __init__(self, attempts: Sequence[Tuple[str, str]]):
        self.attempts: List[Tuple[str, str]] = list(attempts)
        lines = [f"cannot load the Tovanel UVC stereo SDK library ({' or '.join(library_file_names())}); looked:"]
        lines += [f"  {place}: {reason}" for place, reason in self.attempts]
        super().__init__("\n".join(lines))


def library_file_names(platform: Optional[str] = None) -> List[str]:
    """The file names the shared library has on ``platform`` (default: this one), preferred first."""
    platform = sys.platform if platform is None else platform
    if platform.startswith("win") or platform == "cygwin":
        return [f"{_BASE_NAME}.dll"]
    if platform == "darwin":
        return [f"lib{_BASE_NAME}.dylib"]
    # The unversioned name is what a build tree and a bundled package hold; an installed
    # runtime without development files has only the name with the interface version.
    return [f"lib{_BASE_NAME}.so", f"lib{_BASE_NAME}.so.0"]


def _load(path: str) -> ctypes.CDLL:
    # 64-bit Windows has one calling convention, so CDLL serves the DLL as well.
    return ctypes.CDLL(path)


def _package_directory() -> Path:
    return Path(__file__).resolve().parent


def find_and_load(
    environ: Optional[Mapping[str, str]] = None,
    package_directory: Optional[Path] = None,
    system_names: Optional[Sequence[str]] = None,
) -> Tuple[ctypes.CDLL, str]:
    """Loads the library in the documented order; returns it with where it came from.

    The arguments replace, for tests, the environment, the package's directory and the
    names handed to the system's loader.
    """
    environ = os.environ if environ is None else environ
    package_directory = _package_directory() if package_directory is None else package_directory
    system_names = _system_names() if system_names is None else system_names
    attempts: List[Tuple[str, str]] = []

    for name in library_file_names():
        candidate = package_directory / name
        if not candidate.is_file():
            attempts.append((f"beside the package: {candidate}", "no such file"))
            continue
        try:
            return _load(str(candidate)), str(candidate)
        except OSError as error:
            attempts.append((f"beside the package: {candidate}", str(error)))

    named = environ.get(LIBRARY_ENVIRONMENT_VARIABLE, "")
    if not named:
        attempts.append((LIBRARY_ENVIRONMENT_VARIABLE, "not set"))
    elif not Path(named).is_file():
        attempts.append((f"{LIBRARY_ENVIRONMENT_VARIABLE}={named}", "no such file"))
    else:
        try:
            return _load(named), named
        except OSError as error:
            attempts.append((f"{LIBRARY_ENVIRONMENT_VARIABLE}={named}", str(error)))

    for name in system_names:
        try:
            return _load(name), name
        except OSError as error:
            attempts.append((f"the system's loader: {name}", str(error)))

    raise LibraryNotFoundError(attempts)


def _system_names() -> List[str]:
    if sys.platform.startswith("win"):
        # Since Python 3.8 a bare DLL name is not searched on PATH; find_library does that.
        found = ctypes.util.find_library(_BASE_NAME)
        return [found] if found else [f"{_BASE_NAME}.dll"]
    return library_file_names()

