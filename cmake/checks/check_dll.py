#!/usr/bin/env python3
"""Checks a built WiaScanDialog.dll without running it.

What a wrong build gets wrong and no test on the developer's machine notices: a second DLL that the target lacks, a
decorated export, a missing language, a version that was not raised, debug information left inside.

  check_dll.py DLL --machine x64|arm64|x86 --version 1.0.0 --ids resource_ids.h
"""

import argparse
import pathlib
import re
import struct
import sys

MACHINES = {"x64": (0x8664, 0x20B), "arm64": (0xAA64, 0x20B), "x86": (0x14C, 0x10B)}
EXPORTS = {"DllMain", "DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"}
# Part of every Windows from version 7 on; api-ms-win-crt-* is the C runtime of Windows 10.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "gdiplus.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "setupapi.dll", "shell32.dll", "shlwapi.dll", "user32.dll",
}
# Characteristics and DllCharacteristics of the headers.
RELOCATIONS_STRIPPED, IS_DLL = 0x0001, 0x2000
HIGH_ENTROPY, DYNAMIC_BASE, NO_EXECUTE = 0x0020, 0x0040, 0x0100
EXPORT_TABLE, IMPORT_TABLE, RESOURCE_TABLE, RELOCATION_TABLE, LOAD_CONFIG, DELAY_IMPORT_TABLE = 0, 1, 2, 5, 10, 13
SEARCH_SYSTEM_FOLDER = 0x800
CURSOR, MENU, DIALOG, STRING, GROUP_CURSOR, GROUP_ICON, VERSION = 1, 4, 5, 6, 12, 14, 16
NEUTRAL, ENGLISH = 0x0000, 0x0409
LANGUAGES = {
    0x0001, 0x0002, 0x0404, 0x0804, 0x0C04, 0x0005, 0x0406, 0x0407, 0x0408, 0x0409, 0x000A, 0x000B, 0x040C, 0x000D,
    0x000E, 0x0010, 0x0011, 0x0012, 0x0413, 0x0414, 0x0015, 0x0416, 0x0816, 0x0418, 0x0419, 0x001A, 0x241A, 0x001B,
    0x041D, 0x001E, 0x041F, 0x0022, 0x0024, 0x0025, 0x0026, 0x0027,
}


class Image:
    """The parts of a PE file that the checks look at."""

    def __init__(self, data):
        self.data = data
        self.header = header = self.number("I", 0x3C)
        if data[:2] != b"MZ" or data[header : header + 4] != b"PE\0\0":
            raise ValueError("not a PE file")
        self.machine, count, _, symbols, symbol_count, optional_size, self.characteristics = struct.unpack_from(
            "<HHIIIHH", data, header + 4
        )
        optional = header + 24
        self.magic = self.number("H", optional)
        self.dll_characteristics = self.number("H", optional + 70)
        directories = optional + (112 if self.magic == 0x20B else 96)
        self.directories = [
            struct.unpack_from("<II", data, directories + 8 * index)
            for index in range(self.number("I", directories - 4))
        ]
        self.sections = []
        for index in range(count):
            name, size, address, raw_size, raw = struct.unpack_from("<8sIIII", data, optional + optional_size + 40 * index)
            name = name.rstrip(b"\0").decode("ascii")
            if name.startswith("/"):  # a long name stands in the string table behind the symbols
                name = self.text(symbols + 18 * symbol_count + int(name[1:]))
            self.sections.append((name, address, max(size, raw_size), raw))
        self.symbol_count = symbol_count

    def number(self, kind, offset):
        return struct.unpack_from("<" + kind, self.data, offset)[0]

    def text(self, offset):
        return self.data[offset : self.data.index(b"\0", offset)].decode("ascii")

    def offset(self, address):
        for _, start, size, raw in self.sections:
            if start <= address < start + size:
                return address - start + raw
        raise ValueError(f"address {address:#x} is in no section")

    def directory(self, index):
        """The file offset of a data directory, or None."""
        address, size = self.directories[index] if index < len(self.directories) else (0, 0)
        return self.offset(address) if size else None

    def exports(self):
        """Names; one that is forwarded to another library stands with its target."""
        table = self.directory(EXPORT_TABLE)
        start, size = self.directories[EXPORT_TABLE]
        count, functions, names, ordinals = struct.unpack_from("<IIII", self.data, table + 24)
        found = []
        for index in range(count):
            name = self.text(self.offset(self.number("I", self.offset(names) + 4 * index)))
            ordinal = self.number("H", self.offset(ordinals) + 2 * index)
            function = self.number("I", self.offset(functions) + 4 * ordinal)
            forwarded = start <= function < start + size
            found.append(name + " -> " + self.text(self.offset(function)) if forwarded else name)
        return found

    def imports(self):
        table = self.directory(IMPORT_TABLE)
        found = []
        while address := self.number("I", table + 12):
            found.append(self.text(self.offset(address)).lower())
            table += 20
        return found

    def resources(self):
        """(type, name, language) -> bytes; all three are numbers, or a text where somebody used one."""
        base = self.directory(RESOURCE_TABLE)

        def walk(offset, path):
            named, numbered = struct.unpack_from("<HH", self.data, base + offset + 12)
            for index in range(named + numbered):
                identifier, target = struct.unpack_from("<II", self.data, base + offset + 16 + 8 * index)
                if identifier & 0x80000000:
                    text = base + (identifier & 0x7FFFFFFF)
                    identifier = self.data[text + 2 : text + 2 + 2 * self.number("H", text)].decode("utf-16-le")
                if target & 0x80000000:
                    yield from walk(target & 0x7FFFFFFF, path + (identifier,))
                else:
                    address, size = struct.unpack_from("<II", self.data, base + target)
                    start = self.offset(address)
                    yield path + (identifier,), self.data[start : start + size]

        return dict(walk(0, ()))


def strings(resources):
    """Language -> {identifier: text}. A block holds 16 counted texts; an empty one is a missing one."""
    found = {}
    for (kind, block, language), data in resources.items():
        if kind != STRING:
            continue
        offset = 0
        for index in range(16):
            length = struct.unpack_from("<H", data, offset)[0]
            text = data[offset + 2 : offset + 2 + 2 * length].decode("utf-16-le")
            offset += 2 + 2 * length
            if text:
                found.setdefault(language, {})[(block - 1) * 16 + index] = text
    return found


def check_headers(image, machine, wrong):
    number, magic = MACHINES[machine]
    if (image.machine, image.magic) != (number, magic):
        wrong(f"machine {image.machine:#x}, format {image.magic:#x}: not {machine}")
    if not image.characteristics & IS_DLL:
        wrong("not a DLL")
    flags = DYNAMIC_BASE | NO_EXECUTE | (HIGH_ENTROPY if magic == 0x20B else 0)
    if image.dll_characteristics & flags != flags:
        wrong(f"flags {image.dll_characteristics:#06x} lack some of {flags:#06x}")
    if image.characteristics & RELOCATIONS_STRIPPED or image.directory(RELOCATION_TABLE) is None:
        wrong("no relocations: can't be loaded at a random address")
    config = image.directory(LOAD_CONFIG)
    flags_offset = 0x4E if magic == 0x20B else 0x36
    if config is None or image.number("H", config + flags_offset) != SEARCH_SYSTEM_FOLDER:
        wrong("imported libraries are looked for outside of the system's folder")
    if image.number("I", image.header + 8) != 0:
        wrong("the time of the build is inside: two builds differ")
    debug = [name for name, *_ in image.sections if name.startswith((".debug", ".zdebug", ".stab"))]
    if debug or image.symbol_count:
        wrong(f"debug information left inside: {debug}, {image.symbol_count} symbols")


def check_interface(image, wrong):
    exports = image.exports()
    if sorted(exports) != sorted(EXPORTS):
        wrong(f"exports {exports}")
    foreign = [
        name for name in image.imports() if name not in SYSTEM_LIBRARIES and not name.startswith("api-ms-win-crt-")
    ]
    if foreign:
        wrong(f"imports what is no part of Windows: {foreign}")
    if image.directory(DELAY_IMPORT_TABLE) is not None:
        wrong("delay-loaded imports, which this check does not look into")


def check_resources(image, version, ids, wrong):
    resources = image.resources()

    def expect(kind, languages, names, what):
        found = {(name, language) for found_kind, name, language in resources if found_kind == kind}
        wanted = {(name, language) for name in names for language in languages}
        if found != wanted:
            wrong(f"{what}: missing {sorted(wanted - found)}, unexpected {sorted(found - wanted, key=str)}")

    expect(DIALOG, {NEUTRAL}, {value for name, value in ids.items() if name.startswith("IDD_")}, "dialog templates")
    expect(MENU, {NEUTRAL}, {value for name, value in ids.items() if re.fullmatch("IDM_.*_MENU", name)}, "menus")
    expect(GROUP_ICON, {ENGLISH}, {value for name, value in ids.items() if name.startswith("IDI_")}, "icons")
    expect(GROUP_CURSOR, {ENGLISH}, {value for name, value in ids.items() if name.startswith("IDC_CURSOR_")}, "cursors")
    expect(VERSION, {ENGLISH}, {1}, "version information")

    tables = strings(resources)
    wanted = {value for name, value in ids.items() if name.startswith("IDS_")}
    if set(tables) != LANGUAGES:
        wrong(f"string tables: missing {sorted(LANGUAGES - set(tables))}, unexpected {sorted(set(tables) - LANGUAGES)}")
    for language, table in sorted(tables.items()):
        # English is complete; which few texts a translation leaves out, the string_tables tests know.
        missing, unexpected = wanted - set(table), set(table) - wanted
        if unexpected or len(missing) > (0 if language == ENGLISH else 6):
            wrong(f"string table {language:#06x}: missing {sorted(missing)}, unexpected {sorted(unexpected)}")
        if any("\N{REPLACEMENT CHARACTER}" in text or "Ã" in text for text in table.values()):
            wrong(f"string table {language:#06x}: compiled with the wrong code page")

    information = resources.get((VERSION, 1, ENGLISH), b"")
    fixed = information.find(struct.pack("<I", 0xFEEF04BD))
    parts = [int(part) for part in version.split(".")] + [0]
    encoded = (parts[0] << 16 | parts[1], parts[2] << 16 | parts[3]) * 2
    if fixed < 0 or struct.unpack_from("<IIII", information, fixed + 8) != encoded:
        wrong(f"the version information is not that of {version}")
    for key in ("FileVersion", "ProductVersion"):
        if f"{key}\0".encode("utf-16-le") not in information or version.encode("utf-16-le") not in information:
            wrong(f"{key} is not {version}")
    return len(tables), len(wanted)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dll", type=pathlib.Path)
    parser.add_argument("--machine", choices=MACHINES, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--ids", type=pathlib.Path, required=True, help="the header with the resource identifiers")
    arguments = parser.parse_args()

    ids = {
        name: int(value)
        for name, value in re.findall(r"^#define (ID\w+) (\d+)$", arguments.ids.read_text("utf-8"), re.MULTILINE)
    }
    mistakes = []
    image = Image(arguments.dll.read_bytes())
    check_headers(image, arguments.machine, mistakes.append)
    check_interface(image, mistakes.append)
    languages, texts = check_resources(image, arguments.version, ids, mistakes.append)
    for mistake in mistakes:
        print(f"{arguments.dll.name}: {mistake}", file=sys.stderr)
    if mistakes:
        return 1
    print(
        f"{arguments.dll.name}: {arguments.machine}, {len(image.data)} bytes, {len(image.exports())} exports, "
        f"{len(image.imports())} system libraries, {languages} languages of {texts} texts, version {arguments.version}"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
