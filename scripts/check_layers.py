#!/usr/bin/python3
"""Holds the folders of src/ to their layer: the pure ones touch no device and no OS, and every folder
keeps its code in the namespaces that name it.

A file of a pure folder fails the check when it
  - includes a platform header (windows.h, unistd.h, sys/..., fcntl.h, pthread.h, <thread>, <fstream>, ...),
  - calls the OS (files, environment, sleeps, processes, the Windows API) or the camera (SonixCam_*),
  - or includes a header of a higher layer: the bridge, its backends and OS halves, the simulated rig, the
    device API, the C interface, or a public header that belongs to one of them.

A file of any folder fails it when it opens a namespace its folder may not use (FOLDER_NAMESPACES), and
a header of the bridge fails it when it declares in `detail` or `win_detail` a name that the SDK's own
interface does not fix there: the bridge's other internals live in `detail::bridge`.

Usage: check_layers.py [SOURCE_ROOT]   (default: the src/ folder beside this script's parent)
Prints one line per finding and exits 1 when there is any, 0 when every folder keeps its rule.
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

# The namespaces each folder of src/ may open (subfolders follow their top folder). Internal helpers live
# in `detail`, Windows-bound ones in `win_detail`; the bridge's own internals in `detail::bridge`, the rig's
# in `sim`, the C interface's in `c_api`. An anonymous namespace adds nothing to the name it sits in.
SDK = "tovanel::uvc_stereo"
PURE_NAMESPACES = {SDK, SDK + "::detail", SDK + "::detail::capability_layout"}
FOLDER_NAMESPACES = {
    "core": PURE_NAMESPACES,
    "flash": PURE_NAMESPACES,
    "capability": PURE_NAMESPACES,
    "imu": PURE_NAMESPACES,
    "win": {SDK, SDK + "::win_detail"},
    "device": {SDK, SDK + "::detail"},
    # SonixLib is the vendor interface's own namespace, declared by the bridge alone.
    "bridge": {SDK, SDK + "::detail", SDK + "::detail::bridge", SDK + "::win_detail", "SonixLib"},
    "sim": {SDK + "::sim"},
    "c_api": {SDK + "::c_api"},
}

# The bridge's names that the SDK's interface fixes in `detail` and `win_detail`; every other name the
# bridge declares belongs in `detail::bridge`, but for the Windows-bound ones: those of a `_win.h` header
# and the listings that exist only on Windows.
FIXED_NAMES = {
    "detail": {
        "ImuReader",
        "ImuTransportConfig",
        "XuCapabilityProbeResult",
        "crc32c",
        "ensure_imu_supported_by_firmware",
        "firmware_version_allows_imu",
        "firmware_version_disables_imu",
        "interpret_xu_capability_bytes",
        "open_imu_platform",
        "parse_xu_capability_report",
        "probe_xu_capability",
        "read_firmware_version_from_device",
    },
    "win_detail": {
        "EnumeratedDevice",
        "SonixGlobalLock",
        "WinOpenCvCameraCandidate",
        "enumerate_devices_with_active_runtime",
        "get_vendor_error_code",
        "is_no_device_error",
        "make_vendor_status",
        "resolve_device_with_active_runtime",
        "enumerate_dshow_backend_candidates",
        "enumerate_msmf_backend_candidates",
    },
}

NAMESPACE_OPEN = re.compile(r"\b(inline\s+)?namespace\s+([A-Za-z_][\w:]*)?\s*\{")
# A name a header declares directly in a namespace: a type, or the function before its parameter list.
DECLARED_TYPE = re.compile(r"^\s*(?:template\s*<[^>]*>\s*)?(?:struct|class|enum(?:\s+class)?|using)\s+(\w+)")
FORWARD_DECLARATION = re.compile(r"^\s*(?:struct|class)\s+\w+\s*;")
DECLARED_FUNCTION = re.compile(r"(\w+)\s*\(")

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


def namespaces_of(code):
    """Each namespace `code` opens, with its full name and the line it opens on, and the lines directly
    inside each opened namespace as (full name, line number, text) for the declarations' check."""
    opened = []
    direct = []
    stack = []  # one entry per open brace: the full namespace name it opens, or None for any other brace
    for number, line in enumerate(code.splitlines(), 1):
        namespace = stack[-1] if stack and stack[-1] is not None else None
        if namespace is not None and line.strip():
            direct.append((namespace, number, line))
        position = 0
        while position < len(line):
            match = NAMESPACE_OPEN.match(line, position) if line[position] in "in" else None
            if match and (position == 0 or not (line[position - 1].isalnum() or line[position - 1] == "_")):
                enclosing = next((name for name in reversed(stack) if name is not None), "")
                name = match.group(2)
                full = enclosing if name is None else (f"{enclosing}::{name}" if enclosing else name)
                if name is not None:
                    opened.append((full, number))
                stack.append(full)
                position = match.end()
                continue
            if line[position] == "{":
                stack.append(None)
            elif line[position] == "}" and stack:
                stack.pop()
            position += 1
    return opened, direct


def check_namespaces(path, folder):
    findings = []
    code = strip_comments_and_strings(path.read_text(encoding="utf-8", errors="replace"))
    opened, direct = namespaces_of(code)
    allowed = FOLDER_NAMESPACES.get(folder)
    if allowed is not None:
        for full, number in opened:
            if full not in allowed:
                findings.append((number, f"opens namespace {full}, which {folder}/ may not use"))
    if folder == "bridge" and path.suffix == ".h" and not path.stem.endswith("_win"):
        for full, number, line in direct:
            short = full[len(SDK) + 2 :] if full.startswith(SDK + "::") else None
            # A forward declaration names what another header declares; that header is checked itself.
            if short not in FIXED_NAMES or line.lstrip().startswith(("#", "}")) or FORWARD_DECLARATION.match(line):
                continue
            found = DECLARED_TYPE.match(line) or (DECLARED_FUNCTION.search(line) if not line.startswith(" ") else None)
            if found and found.group(1) not in FIXED_NAMES[short]:
                findings.append(
                    (number, f"declares {found.group(1)} in {short}, where only the SDK's fixed names live")
                )
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
    namespaced = 0
    for path in sorted(root.rglob("*")):
        if path.suffix not in {".h", ".cpp", ".c"} or not path.is_file():
            continue
        relative = path.relative_to(root)
        namespaced += 1
        for number, message in check_namespaces(path, relative.parts[0]):
            print(f"{relative}:{number}: {message}")
            total += 1
    if total:
        print(f"check_layers: {total} finding(s): every folder must keep its layer", file=sys.stderr)
        return 1
    print(f"check_layers: {checked} files of the pure folders keep their layer")
    print(f"check_layers: {namespaced} files keep their folders' namespaces")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
