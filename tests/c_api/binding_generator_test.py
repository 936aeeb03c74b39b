"""The C header as a binding generator reads it: Python's cffi parses the header, preprocessed
as a program using the library sees it, and declares every function the header declares; then,
where the library can be loaded into this interpreter, calls one through those declarations.

Usage: binding_generator_test.py C_COMPILER HEADER_INCLUDE_DIR GENERATED_INCLUDE_DIR [LIBRARY]
"""
import re
import subprocess
import sys

import cffi


def consumer_view(compiler, include_dirs):
    """The header after the preprocessor, as a program that uses the library compiles it.

    The standard headers it includes are left out: cffi knows their types (uint32_t, size_t,
    bool) by itself and cannot read a C library's own headers.
    """
    header = f"{include_dirs[0]}/uvc_stereo/uvc_stereo_c.h"
    with open(header, encoding="utf-8") as f:
        text = f.read()
    text = re.sub(r"^#include <[a-z]+\.h>$", "", text, flags=re.M)
    args = [compiler, "-E", "-P", "-x", "c", "-"] + [f"-I{d}" for d in include_dirs]
    return subprocess.run(args, input=text, capture_output=True, text=True, check=True).stdout


def declared_functions(include_dir):
    with open(f"{include_dir}/uvc_stereo/uvc_stereo_c.h", encoding="utf-8") as f:
        flat = " ".join(f.read().split())
    return set(re.findall(r"UVC_STEREO_C_API [^;(#]*UVC_STEREO_CALL (uvc_stereo_\w+)\(", flat))


def main():
    compiler, include_dir, generated_dir = sys.argv[1:4]
    library = sys.argv[4] if len(sys.argv) > 4 else None
    text = consumer_view(compiler, [include_dir, generated_dir])
    for attribute in ("__attribute__", "__declspec", "visibility"):
        if attribute in text:
            sys.exit(f"the header as a program sees it still carries {attribute}")
    ffi = cffi.FFI()
    ffi.cdef(text)
    parsed = {name.split(" ", 1)[1] for name in ffi._parser._declarations if name.startswith("function ")}
    wanted = declared_functions(include_dir)
    if len(wanted) < 50:
        sys.exit(f"found only {len(wanted)} declarations in the header: the pattern no longer reads it")
    missing = sorted(wanted - parsed)
    if missing:
        sys.exit(f"cffi did not declare: {', '.join(missing)}")
    if library:
        lib = ffi.dlopen(library)
        version = ffi.string(lib.uvc_stereo_version()).decode()
        macro = re.search(r'UVC_STEREO_VERSION_STRING "([^"]+)"', open(f"{generated_dir}/uvc_stereo/version.h").read())
        if version != macro.group(1):
            sys.exit(f"the library says version {version}, the header {macro.group(1)}")
    print(f"cffi declared all {len(wanted)} functions" + (", and called the library" if library else ""))


if __name__ == "__main__":
    main()
