"""Builds the package, with the SDK's shared library bundled beside it when one is named.

    TOVANEL_UVC_STEREO_LIBRARY=build/release/libtovanel_uvc_stereo_sdk.so \
        python -m pip install --no-build-isolation --no-index ./python

copies the named library into the installed package, where ``import tovanel_uvc_stereo``
finds it first; the wheel is then tagged for this platform. A library placed in
``tovanel_uvc_stereo/`` by hand is bundled the same way. Without either, the package is
pure Python and finds the library at run time (see ``tovanel_uvc_stereo/_library.py``).
"""

import importlib.util
import os
import re
import shutil
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution

PACKAGE = "tovanel_uvc_stereo"
SOURCE_DIRECTORY = Path(__file__).resolve().parent / PACKAGE

# The package's own knowledge of the library's file names; nothing is loaded here.
_spec = importlib.util.spec_from_file_location("_library", SOURCE_DIRECTORY / "_library.py")
_library = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(_library)
LIBRARY_NAMES = _library.library_file_names()


def named_library():
    named = os.environ.get(_library.LIBRARY_ENVIRONMENT_VARIABLE, "")
    if not named:
        return None
    path = Path(named)
    if not path.is_file():
        raise SystemExit(f"{_library.LIBRARY_ENVIRONMENT_VARIABLE}={named}: no such file")
    return path


def placed_library():
    return next((SOURCE_DIRECTORY / name for name in LIBRARY_NAMES if (SOURCE_DIRECTORY / name).is_file()), None)


class BuildPyWithLibrary(build_py):
    def run(self):
        target = Path(self.build_lib) / PACKAGE
        # A build directory left from an earlier build must not ship an old library.
        for name in LIBRARY_NAMES:
            (target / name).unlink(missing_ok=True)
        super().run()
        source = named_library() or placed_library()
        if source is not None:
            target.mkdir(parents=True, exist_ok=True)
            # Under the platform's plain name, whatever versioned name the build gave it.
            shutil.copyfile(source.resolve(), target / LIBRARY_NAMES[0])


class MaybeBinaryDistribution(Distribution):
    def has_ext_modules(self):
        return named_library() is not None or placed_library() is not None


def sdk_version():
    """The version the SDK's CMake project sets: the one place the version is written."""
    cmake_lists = Path(__file__).resolve().parent.parent / "CMakeLists.txt"
    if not cmake_lists.is_file():
        raise SystemExit(f"{cmake_lists}: not found; the package is built from the SDK's source tree")
    found = re.search(r"project\(\s*\w+\s+VERSION\s+(\d+\.\d+\.\d+)", cmake_lists.read_text(encoding="utf-8"))
    if found is None:
        raise SystemExit(f"{cmake_lists}: no project(... VERSION x.y.z)")
    return found.group(1)


setup(
    version=sdk_version(),
    cmdclass={"build_py": BuildPyWithLibrary},
    distclass=MaybeBinaryDistribution,
)
