"""Finding the shared library: beside the package, then TOVANEL_UVC_STEREO_LIBRARY, then the
system's loader, and one clear error naming every place looked at when none loads."""

import ctypes.util
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import _library

PACKAGE_SOURCE = Path(uvc.__file__).resolve().parent
NO_SUCH_SYSTEM_LIBRARY = ["libtovanel_uvc_stereo_sdk_absent_for_this_test.so"]


def copy_package_without_library(destination: Path) -> Path:
    """A copy of the package's Python files alone, so nothing is bundled beside it."""
    target = destination / "tovanel_uvc_stereo"
    shutil.copytree(PACKAGE_SOURCE, target, ignore=shutil.ignore_patterns("__pycache__", "*.so", "*.so.*", "*.dll"))
    return target


def test_the_file_names_follow_the_platform():
    assert _library.library_file_names("linux") == ["libtovanel_uvc_stereo_sdk.so", "libtovanel_uvc_stereo_sdk.so.0"]
    assert _library.library_file_names("win32") == ["tovanel_uvc_stereo_sdk.dll"]
    assert _library.library_file_names("darwin") == ["libtovanel_uvc_stereo_sdk.dylib"]


def test_nothing_found_names_every_place_looked_at(tmp_path):
    with pytest.raises(_library.LibraryNotFoundError) as caught:
        _library.find_and_load(environ={}, package_directory=tmp_path, system_names=NO_SUCH_SYSTEM_LIBRARY)
    error = caught.value
    places = [place for place, _ in error.attempts]
    assert places[:-1] == [f"beside the package: {tmp_path / name}" for name in _library.library_file_names()] + [
        "TOVANEL_UVC_STEREO_LIBRARY"
    ]
    assert places[-1] == f"the system's loader: {NO_SUCH_SYSTEM_LIBRARY[0]}"
    text = str(error)
    assert text.startswith("cannot load the Tovanel UVC stereo SDK library (")
    assert "TOVANEL_UVC_STEREO_LIBRARY: not set" in text
    assert f"beside the package: {tmp_path / _library.library_file_names()[0]}: no such file" in text
    assert isinstance(error, OSError)


def test_a_named_file_that_does_not_exist_is_reported(tmp_path):
    missing = tmp_path / "missing.so"
    with pytest.raises(_library.LibraryNotFoundError) as caught:
        _library.find_and_load(
            environ={"TOVANEL_UVC_STEREO_LIBRARY": str(missing)},
            package_directory=tmp_path,
            system_names=NO_SUCH_SYSTEM_LIBRARY,
        )
    assert (f"TOVANEL_UVC_STEREO_LIBRARY={missing}", "no such file") in caught.value.attempts


def test_a_named_file_that_is_no_library_is_reported_with_the_loaders_reason(tmp_path):
    bogus = tmp_path / "not_a_library.so"
    bogus.write_bytes(b"this is text, not a shared library")
    with pytest.raises(_library.LibraryNotFoundError) as caught:
        _library.find_and_load(
            environ={"TOVANEL_UVC_STEREO_LIBRARY": str(bogus)},
            package_directory=tmp_path,
            system_names=NO_SUCH_SYSTEM_LIBRARY,
        )
    place, reason = caught.value.attempts[len(_library.library_file_names())]
    assert place == f"TOVANEL_UVC_STEREO_LIBRARY={bogus}"
    assert reason not in ("", "no such file")


def test_the_named_library_loads(tmp_path):
    path = uvc.library_path()
    library, found = _library.find_and_load(
        environ={"TOVANEL_UVC_STEREO_LIBRARY": path}, package_directory=tmp_path, system_names=NO_SUCH_SYSTEM_LIBRARY
    )
    assert found == path
    assert library is not None


def test_a_library_beside_the_package_wins_over_the_named_one(tmp_path):
    beside = tmp_path / _library.library_file_names()[0]
    shutil.copyfile(os.path.realpath(uvc.library_path()), beside)
    bogus = tmp_path / "not_a_library.so"
    bogus.write_bytes(b"never loaded")
    _, found = _library.find_and_load(
        environ={"TOVANEL_UVC_STEREO_LIBRARY": str(bogus)},
        package_directory=tmp_path,
        system_names=NO_SUCH_SYSTEM_LIBRARY,
    )
    assert found == str(beside)


def run_python(code: str, cwd: Path, environment: dict) -> subprocess.CompletedProcess:
    return subprocess.run([sys.executable, "-c", code], cwd=cwd, env=environment, capture_output=True, text=True)


def clean_environment(**extra: str) -> dict:
    environment = {key: value for key, value in os.environ.items() if key not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    environment.pop("TOVANEL_UVC_STEREO_LIBRARY", None)
    environment.update(extra)
    return environment


@pytest.mark.skipif(
    ctypes.util.find_library("tovanel_uvc_stereo_sdk") is not None, reason="the SDK is installed for the system's loader"
)
def test_import_works_without_the_library_and_the_first_call_raises_the_clear_error(tmp_path):
    copy_package_without_library(tmp_path)
    code = (
        "import tovanel_uvc_stereo as uvc\n"
        "try:\n"
        "    uvc.scan_devices()\n"
        "except uvc.LibraryNotFoundError as error:\n"
        "    print(error)\n"
        "else:\n"
        "    raise SystemExit('no error')\n"
    )
    result = run_python(code, tmp_path, clean_environment(PYTHONPATH=str(tmp_path)))
    assert result.returncode == 0, result.stderr
    assert result.stdout.startswith("cannot load the Tovanel UVC stereo SDK library")
    assert "TOVANEL_UVC_STEREO_LIBRARY: not set" in result.stdout
    assert "the system's loader" in result.stdout


def test_a_fresh_process_loads_the_library_named_in_the_environment(tmp_path):
    copy_package_without_library(tmp_path)
    path = uvc.library_path()
    code = (
        "import tovanel_uvc_stereo\n"
        "print(tovanel_uvc_stereo.library_path())\n"
        "print(tovanel_uvc_stereo.crc32_ieee(b'123456789'))\n"
        "with tovanel_uvc_stereo.sim.SimulatedRig() as rig:\n"
        "    print(rig.camera_count())\n"
    )
    result = run_python(code, tmp_path, clean_environment(PYTHONPATH=str(tmp_path), TOVANEL_UVC_STEREO_LIBRARY=path))
    assert result.returncode == 0, result.stderr
    assert result.stdout.split() == [path, str(0xCBF43926), "0"]
