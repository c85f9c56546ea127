#!/usr/bin/env python3
"""Checks a packed zip: what its INF sections name is there, and suits; the third-party notices cover every program.

Windows' SetupAPI says nothing about a section that nobody refers to, and about a missing file only on the user's machine.

  check_package.py ZIP
"""

import re
import struct
import sys
import zipfile

INF = "WiaScanDialog.inf"
NOTICES = "THIRD-PARTY.txt"
# Decoration of an install section -> decoration of [SourceDisksFiles], machine in a PE file's header.
ARCHITECTURES = {"ntamd64": ("amd64", 0x8664), "ntarm64": ("arm64", 0xAA64), "ntx86": ("x86", 0x14C)}
SECTION_LISTS = {"copyfiles", "addreg", "devicedata"}
# Where a section's files may go: the registry's spelling of the folder, whether 32-bit programs load from it.
FOLDERS = {"11": ("%11%", False), "10,syswow64": (r"%10%\syswow64", True)}


class Inf:
    """Sections, names in lower case, each a list of (key, value); a line without "=" is a value without key."""

    def __init__(self, data):
        self.sections = {}
        lines = None
        for line in data.decode("ascii").splitlines():
            line = re.sub(r"""^((?:[^";]|"[^"]*")*);.*""", r"\1", line).strip()
            if header := re.fullmatch(r"\[(.+)\]", line):
                lines = self.sections.setdefault(header[1].lower(), [])
            elif line and lines is None:
                raise ValueError(f"{line!r} stands in no section")
            elif line:
                key, equals, value = line.partition("=")
                lines.append((key.strip().lower(), value.strip()) if equals else (None, line))

    def values(self, section, key=None):
        return [value for name, value in self.sections.get(section, []) if name == key]


def fields(value):
    return [field.strip().strip('"') for field in value.split(",")]


def check_tokens(inf, wrong):
    """%strings% are defined and used; %numbers% are folders. The shell's, from 16384 on, are barred in universal INFs."""
    text = [value for section, lines in inf.sections.items() if section != "strings" for _, value in lines]
    used = {token.lower() for value in text for token in re.findall(r"%([^%]+)%", value)}
    defined = {key for key, _ in inf.sections.get("strings", [])}
    for token in sorted(used - defined):
        if not token.isdigit():
            wrong(f"the string %{token}% is not defined")
        elif int(token) >= 16384:
            wrong(f"%{token}% is a folder of the shell, which a universal INF may not use")
    for token in sorted(defined - used):
        wrong(f"the string {token} is used nowhere")


def check_files(inf, install, files, wrong):
    """What one install section copies. The installed paths as the registry spells them, and the source names."""
    decoration = install.rpartition(".")[2]
    source, machine = ARCHITECTURES[decoration]
    sources = {key: fields(value) for key, value in inf.sections.get(f"sourcedisksfiles.{source}", [])}
    disks = {key for key, _ in inf.sections.get("sourcedisksnames", [])}
    installed, copied = set(), set()
    for section in [name for value in inf.values(install, "copyfiles") for name in fields(value)]:
        folder = ",".join(fields(",".join(inf.values("destinationdirs", section.lower())))).lower()
        if folder not in FOLDERS:
            wrong(f"[{section}] has no folder in [DestinationDirs] that is known here: {folder!r}")
            continue
        spelling, wow64 = FOLDERS[folder]
        for line in inf.values(section.lower()):
            target, name = (fields(line) + [""])[:2]
            name = (name or target).lower()
            installed.add(f"{spelling}\\{target}".lower())
            copied.add(name)
            disk, subfolder = (sources.get(name, []) + ["", ""])[:2]
            path = f"{subfolder}/{name}".replace("\\", "/").lstrip("/").lower()
            if name not in sources:
                wrong(f"[{section}] copies {name}, which [SourceDisksFiles.{source}] lacks")
            elif disk not in disks:
                wrong(f"{name} comes from disk {disk}, which [SourceDisksNames] lacks")
            elif path not in files:
                wrong(f"[SourceDisksFiles.{source}] names {path}, which the zip lacks")
            elif pe_machine(files[path]) != (ARCHITECTURES["ntx86"][1] if wow64 else machine):
                wrong(f"{path} is for machine {pe_machine(files[path]):#x}, and so for no program of {decoration}")
    for name in sorted(set(sources) - copied):
        wrong(f"[SourceDisksFiles.{source}] names {name}, which [{install}] does not copy")
    return installed


def pe_machine(data):
    """0 for what is no PE file."""
    try:
        header = struct.unpack_from("<I", data, 0x3C)[0]
        return struct.unpack_from("<H", data, header + 4)[0] if data[header : header + 4] == b"PE\0\0" else 0
    except struct.error:
        return 0


def check_inf(inf, files, wrong):
    """Every section is there for something, and every reference leads to one."""
    installs = [name for name in inf.sections if name.rpartition(".")[2] in ARCHITECTURES]
    for decoration in sorted(set(ARCHITECTURES) - {name.rpartition(".")[2] for name in installs}):
        wrong(f"no install section for .{decoration}")
    referred = {"destinationdirs", "sourcedisksnames", "strings", *installs}
    for install in installs:
        referred.add(f"sourcedisksfiles.{ARCHITECTURES[install.rpartition('.')[2]][0]}")
        for directive in sorted(SECTION_LISTS - {key for key, _ in inf.sections[install]}):
            wrong(f"[{install}] lacks {directive}")
        for key, value in inf.sections[install]:
            if key not in SECTION_LISTS:
                wrong(f"[{install}] has {key or value}, which is not known here")
                continue
            for name in fields(value):
                referred.add(name.lower())
                if name.lower() not in inf.sections:
                    wrong(f"[{install}] refers to [{name}], which is missing")
        installed = check_files(inf, install, files, wrong)
        for section in [name for value in inf.values(install, "addreg") for name in fields(value)]:
            for line in inf.values(section.lower()):
                path = fields(line)[-1].lower()
                if path.endswith(".dll") and path not in installed:
                    wrong(f"[{section}] registers {path}, which [{install}] does not install")
    for name in sorted(set(inf.sections) - referred):
        wrong(f"[{name}] is referred to nowhere")
    for name, _ in inf.sections.get("destinationdirs", []):
        if name not in referred:
            wrong(f"[DestinationDirs] names [{name}], which is referred to nowhere")


def unpack(package):
    with zipfile.ZipFile(package) as archive:
        names = [name for name in archive.namelist() if not name.endswith("/")]
        return {name.partition("/")[2].lower(): archive.read(name) for name in names}


def check_notices(package):
    """The mistakes of a packed zip of programs, a path or a file."""
    files = unpack(package)
    notices = files[NOTICES.lower()].decode("utf-8").lower()
    return [
        f"{NOTICES} says nothing of {name}"
        for name in sorted(files)
        if name.endswith((".dll", ".exe")) and name.replace("/", "\\") not in notices
    ]


def check(package):
    """The mistakes of what an integrator ships."""
    mistakes = []
    files = unpack(package)
    for required in (INF, NOTICES):
        if required.lower() not in files:
            return [f"the zip lacks {required}"]
    try:
        inf = Inf(files[INF.lower()])
    except (UnicodeDecodeError, ValueError) as failure:
        return [f"{INF}: {failure}"]
    check_tokens(inf, mistakes.append)
    check_inf(inf, files, mistakes.append)
    return mistakes + check_notices(package)


def main():
    mistakes = check(sys.argv[1])
    for mistake in mistakes:
        print(f"error: {mistake}", file=sys.stderr)
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main())
