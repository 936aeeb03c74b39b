"""Every ctypes structure of the package has the layout the C compiler gives the struct of
the SDK's C header: the same fields in the same order, each at the same offset with the same
size, and the same total size. A C program, generated from the header and the ctypes
structures and built by the system's C compiler, says what the compiler gives."""

import ctypes
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from tovanel_uvc_stereo import _c

HEADER = Path(__file__).resolve().parents[2] / "include" / "uvc_stereo" / "uvc_stereo_c.h"
PREFIX = "uvc_stereo_"


def header_structs(text):
    """{C type name: [field names in order]} for every struct the header defines with a body."""
    structs = {}
    for name, body, closing in re.findall(r"typedef struct (\w+) \{(.*?)\} (\w+);", text, flags=re.S):
        assert name == closing, f"typedef struct {name} is named {closing}"
        body = re.sub(r"/\*.*?\*/", "", body, flags=re.S)
        fields = []
        for declaration in body.split(";"):
            declaration = declaration.strip()
            if declaration:
                fields.append(re.match(r".*?(\w+)\s*(\[[^\]]*\])?$", declaration, flags=re.S).group(1))
        structs[name] = fields
    return structs


def ctypes_structure(c_name):
    return getattr(_c, c_name[len(PREFIX) :], None)


def layout_program(structs):
    """C code printing "<struct> <size>" and "<struct>.<field> <offset> <size>" lines."""
    lines = ["#include <stddef.h>", "#include <stdio.h>", '#include "uvc_stereo/uvc_stereo_c.h"', "int main(void) {"]
    for name, fields in structs.items():
        lines.append(f'  printf("{name} %zu\\n", sizeof({name}));')
        for field in fields:
            lines.append(
                f'  printf("{name}.{field} %zu %zu\\n", offsetof({name}, {field}), sizeof((({name}*)0)->{field}));'
            )
    lines += ["  return 0;", "}"]
    return "\n".join(lines) + "\n"


def ctypes_layout(structs, structure_for):
    """The same lines as the C program prints, from the ctypes structures."""
    lines = []
    for name in structs:
        structure = structure_for(name)
        lines.append(f"{name} {ctypes.sizeof(structure)}")
        for field, _ in structure._fields_:
            descriptor = getattr(structure, field)
            lines.append(f"{name}.{field} {descriptor.offset} {descriptor.size}")
    return lines


@pytest.fixture(scope="module")
def structs():
    return header_structs(HEADER.read_text())


@pytest.fixture(scope="module")
def compiler_layout(structs, tmp_path_factory):
    compiler = shutil.which("cc") or shutil.which("gcc") or shutil.which("clang")
    if compiler is None:
        pytest.skip("no C compiler to ask for the header's layout")
    work = tmp_path_factory.mktemp("layout")
    (work / "layout.c").write_text(layout_program(structs))
    # The header includes the version header the build generates; the layout does not depend on its numbers.
    (work / "uvc_stereo").mkdir()
    (work / "uvc_stereo" / "version.h").write_text('#define UVC_STEREO_VERSION_STRING "0.0.0"\n')
    subprocess.run(
        [compiler, "-std=c99", "-Wall", "-Werror", "-I", str(HEADER.parents[1]), "-I", str(work), "layout.c", "-o", "layout"],
        cwd=work,
        check=True,
    )
    return subprocess.run([str(work / "layout")], check=True, capture_output=True, text=True).stdout.splitlines()


def test_the_header_defines_the_structs_the_package_uses(structs):
    assert len(structs) >= 15
    missing = [name for name in structs if ctypes_structure(name) is None]
    assert missing == []


def test_every_structure_has_the_fields_of_its_struct_in_order(structs):
    for name, fields in structs.items():
        assert [field for field, _ in ctypes_structure(name)._fields_] == fields, name


def test_every_structure_has_the_sizes_and_offsets_the_compiler_gives(structs, compiler_layout):
    assert ctypes_layout(structs, ctypes_structure) == compiler_layout


def test_a_field_moved_in_a_structure_is_seen(structs, compiler_layout):
    fields = list(_c.imu_sample_t._fields_)
    fields[1], fields[2] = fields[2], fields[1]
    moved = type("imu_sample_t", (ctypes.Structure,), {"_fields_": fields})

    def structure_for(name):
        return moved if name == "uvc_stereo_imu_sample_t" else ctypes_structure(name)

    assert ctypes_layout(structs, structure_for) != compiler_layout
