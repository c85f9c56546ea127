#!/usr/bin/env python3
"""Packs what an integrator ships: the programs of every architecture, their symbols, notices, INF sections and notes.

The same files give the same bytes. Nothing is left when they don't fit together.

  make_package.py BUILD_FOLDER    holds a folder for each architecture; the zip goes to its package folder
"""

import hashlib
import pathlib
import re
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True  # nothing is left among the sources
sys.path.append(str(ROOT / "cmake/checks"))
import check_package  # noqa: E402
import third_party  # noqa: E402

ARCHITECTURES = ("x64", "arm64", "x86")
PROGRAMS = ("WiaScanDialog.dll", "scan_demo.exe")


def version():
    return re.search(r"project\(\w+ VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text("utf-8"))[1]


def as_text(text):
    """As Windows editors expect it."""
    return text.replace("@VERSION@", version()).replace("\n", "\r\n").encode("utf-8")


def collect(build, file_system=pathlib.Path("/")):
    """Name in the zip -> bytes."""
    programs, symbols = {}, {}
    for architecture in ARCHITECTURES:
        for name in PROGRAMS:
            programs[f"{architecture}/{name}"] = (build / architecture / name).read_bytes()
        symbols[f"symbols/{architecture}/WiaScanDialog.pdb"] = (
            build / architecture / "WiaScanDialog.pdb"
        ).read_bytes()
    # The name under which an INF can have it beside the machine's own.
    programs["x86/WiaScanDialog32.dll"] = programs["x86/WiaScanDialog.dll"]
    sources = [*(ROOT / "packaging").iterdir(), ROOT / "docs/integrating.md"]
    texts = {path.name: as_text(path.read_text("utf-8")) for path in sources}
    texts[check_package.NOTICES] = as_text(third_party.notices(programs, file_system))
    return programs | symbols | texts


def write(files, target):
    """Writes the zip; ValueError, and no zip, when the check finds something wrong with it."""
    unchecked = target.with_suffix(".unchecked")
    with zipfile.ZipFile(unchecked, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in sorted(files):
            # A fixed time, and the attributes of an ordinary file: nothing of the machine that packed it.
            entry = zipfile.ZipInfo(f"{target.stem}/{name}", (1980, 1, 1, 0, 0, 0))
            entry.compress_type, entry.external_attr, entry.create_system = zipfile.ZIP_DEFLATED, 0o644 << 16, 3
            archive.writestr(entry, files[name])
    if mistakes := check_package.check(unchecked):
        unchecked.unlink()
        raise ValueError("\n".join(mistakes))
    unchecked.replace(target)


def main():
    build = pathlib.Path(sys.argv[1])
    target = build / "package" / f"WiaScanDialog-{version()}.zip"
    target.parent.mkdir(exist_ok=True)
    target.unlink(missing_ok=True)
    try:
        files = collect(build)
        write(files, target)
    except (OSError, ValueError) as failure:
        sys.exit(f"error: nothing was packed: {failure}")
    for name in sorted(files):
        print(f"{len(files[name]):9} {name}")
    print(f"{target.stat().st_size} bytes, sha256 {hashlib.sha256(target.read_bytes()).hexdigest()}")
    print(target)


if __name__ == "__main__":
    main()
