#!/usr/bin/python3
"""Holds the pure folders of src/ to their rule: they touch no device and no OS.

A file of a pure folder fails the check when it
  - includes a platform header (windows.h, unistd.h, sys/..., fcntl.h, pthread.h, <thread>, <fstream>, ...),
  - calls the OS (files, environment, sleeps, processes, the Windows API) or the camera (SonixCam_*),
  - or includes a header of a higher layer: the bridge, its backends and OS halves, the simulated rig, the
    device API, the C interface, or a public header that belongs to one of them.

Usage: check_layers.py [SOURCE_ROOT]   (default: the src/ folder beside this script's parent)
Prints one line per finding and exits 1 when there is any, 0 when the pure folders keep their rule.
"""

import re
import sys
from pathlib import Path

# The pure folders, each with the folders it may include besides itself (always lower ones).
PURE_FOLDERS = {
    "core": set(),
    "flash": {"core"},
    "capability": {"core"},
    "imu": {"core"},
    "win": {"core"},
}

# Public headers a pure folder may include: the records and functions of the pure layers themselves.
PURE_PUBLIC_HEADERS = {
    "backend.h",
    "capability.h",
    "checksum.h",
    "export.h",
    "flash.h",
    "flash_config.h",
    "imu.h",
    "json.h",
    "models.h",
    "records.h",
    "result.h",
}

PLATFORM_HEADERS = re.compile(
    r"^(windows\.h|winbase\.h|winnt\.h|objbase\.h|combaseapi\.h|dshow\.h|mfapi\.h|mfidl\.h|mfobjects\.h|"
    r"unistd\.h|fcntl\.h|pthread\.h|dlfcn\.h|dirent\.h|poll\.h|signal\.h|csignal|time\.h|ctime|termios\.h|"
    r"sys/.*|linux/.*|asm/.*|thread|mutex|shared_mutex|condition_variable|future|fstream|filesystem|"
    r"io\.h|process\.h|direct\.h)$",
    re.IGNORECASE,
)

# Calls that reach the OS or the camera. Matched on code with comments and string literals removed.
OS_CALLS = re.compile(
    r"\b(std::this_thread|sleep_for|sleep_until|usleep|nanosleep|Sleep|SleepEx|"
    r"getenv|_wgetenv|secure_getenv|setenv|putenv|"
    r"fopen|_wfopen|freopen|openat|ioctl|mmap|lstat|opendir|readdir|popen|fork|exec[lv]p?e?|"
    r"CreateFile[AW]?|RegOpenKeyEx[AW]?|RegQueryValueEx[AW]?|"
    r"LoadLibrary[AW]?|LoadLibraryEx[AW]?|GetProcAddress|OutputDebugString[AW]?|QueryPerformanceCounter|"
    r"CoInitializeEx|CoCreateInstance|MFStartup|WideCharToMultiByte|MultiByteToWideChar|"
    r"clock_gettime|SonixCam_\w+)\s*\("
)
# System calls whose names are common words are recognised only as the global functions (::open(...)).
GLOBAL_OS_CALLS = re.compile(r"(?<![\w:])::(open|close|read|write|stat|system|remove|rename)\s*\(")

# Qualifiers under which the listed names are still the OS's own (std::this_thread::sleep_for, std::getenv).
STANDARD_QUALIFIERS = {"std", "this_thread", "chrono"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def strip_comments_and_strings(text):
    """The code of `text` with comments, string and character literals blanked out (line breaks kept)."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"([^(\s]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL
    )
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group(0)), text)


def check_file(path, folder, allowed):
    findings = []
    text = path.read_text(encoding="utf-8", errors="replace")
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        bracket, header = match.groups()
        if bracket == "<" and PLATFORM_HEADERS.match(header):
            findings.append((number, f"includes the platform header <{header}>"))
            continue
        if bracket == '"':
            top = header.split("/", 1)[0] if "/" in header else None
            if top == "uvc_stereo":
                if header.split("/", 1)[1] not in PURE_PUBLIC_HEADERS:
                    findings.append((number, f'includes "{header}", a public header of a higher layer'))
            elif top is None:
                findings.append((number, f'includes "{header}" without its folder'))
            elif top != folder and top not in allowed:
                findings.append((number, f'includes "{header}", a header of a higher layer'))
    code = strip_comments_and_strings(text)
    for number, line in enumerate(code.splitlines(), 1):
        if line.lstrip().startswith("#"):
            continue
        for match in OS_CALLS.finditer(line):
            # A member or a name of another namespace is not the OS's function (out.write(...), std::string::read).
            before = line[: match.start()].rstrip()
            qualifier = re.search(r"(\w+)::$", before)
            if before.endswith((".", "->")) or (qualifier and qualifier.group(1) not in STANDARD_QUALIFIERS):
                continue
            findings.append((number, f"calls {match.group(1)}, which reaches the OS or the camera"))
        for match in GLOBAL_OS_CALLS.finditer(line):
            findings.append((number, f"calls ::{match.group(1)}, which reaches the OS"))
    return findings


def main(argv):
    root = Path(argv[1]) if len(argv) > 1 else Path(__file__).resolve().parent.parent / "src"
    if not root.is_dir():
        print(f"check_layers: no source folder {root}", file=sys.stderr)
        return 2
    total = 0
    checked = 0
    for folder, allowed in PURE_FOLDERS.items():
        for path in sorted((root / folder).glob("*")):
            if path.suffix not in {".h", ".cpp", ".c"}:
                continue
            checked += 1
            for number, message in check_file(path, folder, allowed):
                print(f"{path.relative_to(root)}:{number}: {message}")
                total += 1
    if total:
        print(f"check_layers: {total} finding(s): the pure folders must touch no device and no OS", file=sys.stderr)
        return 1
    print(f"check_layers: {checked} files of the pure folders keep their layer")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
