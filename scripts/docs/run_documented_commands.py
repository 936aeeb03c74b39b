"""Runs the commands and programs of the project's documents exactly as written, so that none can rot.

Usage: run_documented_commands.py WORKDIR DOCUMENT...

In each document, in order:
- a fenced block whose info string is `sh` is run by bash (`set -euo pipefail`) in WORKDIR, with HOME set to
  WORKDIR/home; a block that fails fails the run, naming the document and the line;
- a fenced block preceded by the line `<!-- file: NAME -->` is written to WORKDIR/NAME instead (the program a
  later `sh` block builds and runs);
- every other block (`console` for commands that change the machine, `text`, `cmake`, fragments) is only shown.
Documents run one after the other in the same WORKDIR, so a later one may use what an earlier one built.
"""
import os
import re
import subprocess
import sys
import time
from pathlib import Path

FENCE = re.compile(r"^(`{3,})(.*)$")
FILE_MARK = re.compile(r"^<!--\s*file:\s*(\S+)\s*-->$")


def blocks(path):
    """The fenced blocks of a document: (first line number, info string, file name or None, text)."""
    lines = Path(path).read_text(encoding="utf-8").split("\n")
    i = 0
    while i < len(lines):
        opening = FENCE.match(lines[i])
        if not opening:
            i += 1
            continue
        fence, info = opening.group(1), opening.group(2).strip()
        mark = FILE_MARK.match(lines[i - 1].strip()) if i > 0 else None
        body = []
        j = i + 1
        while j < len(lines) and lines[j].strip() != fence:
            body.append(lines[j])
            j += 1
        if j == len(lines):
            sys.exit(f"{path}:{i + 1}: a fenced block that never closes")
        yield i + 1, info, mark.group(1) if mark else None, "\n".join(body) + "\n"
        i = j + 1


def main():
    workdir = Path(sys.argv[1]).resolve()
    home = workdir / "home"
    home.mkdir(parents=True, exist_ok=True)
    env = dict(os.environ, HOME=str(home))
    ran = written = shown = 0
    for document in sys.argv[2:]:
        for line, info, file_name, text in blocks(document):
            where = f"{document}:{line}"
            if file_name:
                target = workdir / file_name
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_text(text, encoding="utf-8")
                print(f"--- {where}: wrote {file_name}", flush=True)
                written += 1
            elif info == "sh":
                print(f"--- {where}: running\n{text.rstrip()}", flush=True)
                start = time.monotonic()
                result = subprocess.run(["bash", "-c", "set -euo pipefail\n" + text], cwd=workdir, env=env)
                if result.returncode != 0:
                    sys.exit(f"{where}: the documented command failed with status {result.returncode}")
                print(f"--- {where}: ok in {time.monotonic() - start:.1f} s", flush=True)
                ran += 1
            else:
                shown += 1
    print(f"documented commands: {ran} blocks run, {written} files written, {shown} blocks only shown")
    if ran == 0:
        sys.exit("no documented command was found to run")


if __name__ == "__main__":
    main()
