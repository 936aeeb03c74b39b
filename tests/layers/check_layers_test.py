#!/usr/bin/python3
"""The layer check fails on each kind of breach of the pure folders' rule and passes a clean tree."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "check_layers.py"

CLEAN = {
    "core/sum.h": '#pragma once\n#include <cstdint>\n#include "uvc_stereo/result.h"\nint sum(int a, int b);\n',
    "core/sum.cpp": '#include "core/sum.h"\n// open(the door) in a comment is no call\n'
    'int sum(int a, int b) { return a + b; }\n',
    "flash/record.cpp": '#include "core/sum.h"\n#include "flash/record.h"\n'
    'struct Scanner { bool open(bool) { return true; } bool go() { return open(true); } };\n'
    'const char* text = "getenv(\\"HOME\\")";\n',
    "flash/record.h": "#pragma once\n",
    "imu/rule.cpp": '#include "core/sum.h"\n#include "uvc_stereo/models.h"\n',
    "capability/report.cpp": "#include <array>\n",
    "win/path.cpp": "#include <string>\nnamespace tovanel::uvc_stereo::win_detail {\nint parse_hex4();\n}\n",
    "core/sum_detail.cpp": "namespace tovanel::uvc_stereo {\nnamespace detail {\nnamespace {\nint twice(int a) { return 2 * a; }\n}"
    "\n}\n}\n",
    "bridge/session.h": "#pragma once\nnamespace tovanel::uvc_stereo::detail::bridge {\nclass CameraSession;\n"
    "struct VendorSession {\n  int open();\n};\n[[nodiscard]] int make_selector(int camera);\n}\n",
    "bridge/probe.h": "#pragma once\nnamespace tovanel::uvc_stereo::win_detail {\nstruct CaptureSystemCalls;\n}\n"
    "namespace tovanel::uvc_stereo::detail {\nstruct XuCapabilityProbeResult;\n"
    "[[nodiscard]] XuCapabilityProbeResult probe_xu_capability(\n    const DeviceInfo& device);\n}\n",
    "bridge/os/com_start_win.h": "#pragma once\nnamespace tovanel::uvc_stereo::win_detail {\nclass ComScope {};\n}\n",
    "bridge/sonix_camera.h": "#pragma once\nnamespace SonixLib {\nstruct scDevice_t {};\n}\n",
    "sim/rig.cpp": "namespace tovanel::uvc_stereo::sim {\nnamespace {\nint calls;\n}\n}\n",
    "c_api/errors.cpp": 'namespace tovanel::uvc_stereo::c_api {\nint last_error();\n}\nextern "C" {\nint f() { return 0; }\n}\n',
}


def run_check(files):
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = Path(root) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        done = subprocess.run([sys.executable, str(SCRIPT), root], capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr


class CheckLayers(unittest.TestCase):
    def assert_rejected(self, name, text, expected):
        files = dict(CLEAN)
        files[name] = text
        code, output = run_check(files)
        self.assertEqual(code, 1, output)
        self.assertIn(name + ":", output)
        self.assertIn(expected, output)

    def test_passes_a_tree_that_keeps_its_layers(self):
        code, output = run_check(CLEAN)
        self.assertEqual(code, 0, output)
        self.assertIn("keep their layer", output)

    def test_fails_on_a_platform_header(self):
        self.assert_rejected("core/sum.cpp", "#include <unistd.h>\n", "platform header <unistd.h>")
        self.assert_rejected("flash/record.cpp", "#include <sys/ioctl.h>\n", "platform header <sys/ioctl.h>")
        self.assert_rejected("win/path.cpp", "#include <windows.h>\n", "platform header <windows.h>")
        self.assert_rejected("imu/rule.cpp", "#include <thread>\n", "platform header <thread>")

    def test_fails_on_a_sleep(self):
        self.assert_rejected("core/sum.cpp", "void f() { std::this_thread::sleep_for(d); }\n", "calls sleep_for")

    def test_fails_on_an_os_call(self):
        self.assert_rejected("flash/record.cpp", 'const char* h = std::getenv("HOME");\n', "calls getenv")
        self.assert_rejected("flash/record.cpp", "int f() { return ::open(p, 0); }\n", "calls ::open")
        self.assert_rejected("win/path.cpp", 'void f() { OutputDebugStringA("x"); }\n', "calls OutputDebugStringA")

    def test_fails_on_a_device_call(self):
        self.assert_rejected("imu/rule.cpp", "bool f() { return SonixCam_Init(); }\n", "calls SonixCam_Init")

    def test_fails_on_a_header_of_a_higher_layer(self):
        self.assert_rejected("imu/rule.cpp", '#include "bridge/flash_transport.h"\n', "a header of a higher layer")
        self.assert_rejected("core/sum.cpp", '#include "flash/record.h"\n', "a header of a higher layer")
        self.assert_rejected("flash/record.cpp", '#include "uvc_stereo/device.h"\n', "public header of a higher layer")

    def test_fails_on_a_namespace_its_folder_may_not_use(self):
        wrong = "namespace tovanel::uvc_stereo::vendor {\nstruct CameraSession {};\n}\n"
        self.assert_rejected("bridge/session.h", wrong, "opens namespace tovanel::uvc_stereo::vendor, which bridge/")
        self.assert_rejected(
            "bridge/os/com_start_win.h", wrong, "opens namespace tovanel::uvc_stereo::vendor, which bridge/"
        )
        self.assert_rejected(
            "core/sum.cpp",
            "namespace tovanel::uvc_stereo::detail::bridge {\nint sum();\n}\n",
            "opens namespace tovanel::uvc_stereo::detail::bridge, which core/ may not use",
        )
        self.assert_rejected(
            "sim/rig.cpp", "namespace tovanel::uvc_stereo::detail {\n}\n", "opens namespace tovanel::uvc_stereo::detail"
        )
        self.assert_rejected("c_api/errors.cpp", "namespace tovanel::uvc_stereo {\n}\n", "which c_api/ may not use")

    def test_names_a_nested_namespace_by_its_full_name(self):
        self.assert_rejected(
            "bridge/session.h",
            "namespace tovanel::uvc_stereo {\nnamespace vendor {\nvoid f();\n}\n}\n",
            "bridge/session.h:2: opens namespace tovanel::uvc_stereo::vendor",
        )
        self.assert_rejected(
            "imu/rule.cpp",
            "namespace tovanel::uvc_stereo {\nnamespace {\nnamespace win_detail {\n}\n}\n}\n",
            "opens namespace tovanel::uvc_stereo::win_detail, which imu/ may not use",
        )

    def test_fails_on_a_bridge_internal_declared_among_the_fixed_names(self):
        self.assert_rejected(
            "bridge/probe.h",
            "namespace tovanel::uvc_stereo::detail {\n[[nodiscard]] int make_selector(int camera);\n}\n",
            "declares make_selector in detail, where only the SDK's fixed names live",
        )
        self.assert_rejected(
            "bridge/probe.h",
            "namespace tovanel::uvc_stereo::win_detail {\nclass FlashSession {\n public:\n  int open();\n};\n}\n",
            "declares FlashSession in win_detail",
        )

    def test_lets_a_windows_header_of_the_bridge_keep_its_helpers_in_win_detail(self):
        files = dict(CLEAN)
        files["bridge/os/wide_text_win.h"] = "namespace tovanel::uvc_stereo::win_detail {\nint narrow(int wide);\n}\n"
        code, output = run_check(files)
        self.assertEqual(code, 0, output)


if __name__ == "__main__":
    unittest.main()
