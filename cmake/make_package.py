#!/usr/bin/env python3
"""Packs two zips: what an integrator ships, the programs of every architecture with symbols, notices, INF sections and
notes; and the check kit, the test programs and what they need on anybody's Windows PC.

The same files give the same bytes. Nothing is left of a zip whose files don't fit together.

  make_package.py BUILD_FOLDER    holds a folder for each architecture; the zips go to its package folder
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


def in_folders(build, names):
    return {f"{folder}/{name}": (build / folder / name).read_bytes() for folder in ARCHITECTURES for name in names}


def with_notices(programs, others):
    return programs | others | {check_package.NOTICES: as_text(third_party.notices(programs))}


def collect(build):
    """What an integrator ships: name in the zip -> bytes."""
    programs = in_folders(build, PROGRAMS)
    symbols = {f"symbols/{name}": data for name, data in in_folders(build, ["WiaScanDialog.pdb"]).items()}
    # The name under which an INF can have it beside the machine's own.
    programs["x86/WiaScanDialog32.dll"] = programs["x86/WiaScanDialog.dll"]
    sources = [*(ROOT / "packaging").glob("*.*"), ROOT / "docs/integrating.md", ROOT / "CHANGELOG.md"]
    texts = {path.name: as_text(path.read_text("utf-8")) for path in sources}
    return with_notices(programs, symbols | texts)


def collect_check(build):
    """The check kit: name in the zip -> bytes."""
    samples = {f"data/{path.name}": path.read_bytes() for path in (ROOT / "tests/data").glob("*.jpg")}
    page = ROOT / "docs/trying-on-windows.md"
    others = {f"{folder}/{name}": data for folder in ARCHITECTURES for name, data in samples.items()}
    others |= {path.name: as_text(path.read_text("utf-8")) for path in (ROOT / "packaging/check/check.cmd", page)}
    for picture in re.findall(r"\]\((pictures/[^)]+)\)", page.read_text("utf-8")):
        others[picture] = (page.parent / picture).read_bytes()
    return with_notices(in_folders(build, (*PROGRAMS, "wia_scan_dialog_tests.exe")), others)


def write(files, target, check=check_package.check):
    """Writes the zip; ValueError, and no zip, when the check finds something wrong with it."""
    unchecked = target.with_suffix(".unchecked")
    with zipfile.ZipFile(unchecked, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in sorted(files):
            # A fixed time, and the attributes of an ordinary file: nothing of the machine that packed it.
            entry = zipfile.ZipInfo(f"{target.stem}/{name}", (1980, 1, 1, 0, 0, 0))
            entry.compress_type, entry.external_attr, entry.create_system = zipfile.ZIP_DEFLATED, 0o644 << 16, 3
            archive.writestr(entry, files[name])
    if mistakes := check(unchecked):
        unchecked.unlink()
        raise ValueError("\n".join(mistakes))
    unchecked.replace(target)


def main():
    build = pathlib.Path(sys.argv[1])
    for kind, collecting, check in (
        ("", collect, check_package.check),
        ("-check", collect_check, check_package.check_notices),
    ):
        target = build / "package" / f"WiaScanDialog-{version()}{kind}.zip"
        target.parent.mkdir(exist_ok=True)
        target.unlink(missing_ok=True)
        try:
            files = collecting(build)
            write(files, target, check)
        except (OSError, ValueError) as failure:
            sys.exit(f"error: {target.name} was not packed: {failure}")
        for name in sorted(files):
            print(f"{len(files[name]):9} {name}")
        print(f"{target.stat().st_size} bytes, sha256 {hashlib.sha256(target.read_bytes()).hexdigest()}")
        print(target)


if __name__ == "__main__":
    main()
