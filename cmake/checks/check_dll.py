#!/usr/bin/env python3
"""Checks a built WiaScanDialog.dll without running it.

What a wrong build gets wrong and no test on the developer's machine notices: a second DLL that the target lacks, a
decorated export, a missing language, a version that was not raised, debug information left inside, hardening that is
claimed and not there, symbols that a debugger would not find.

  check_dll.py DLL --machine x64|arm64|x86 --version 1.0.0 --ids resource_ids.h --pdbutil llvm-pdbutil
"""

import argparse
import pathlib
import re
import struct
import subprocess
import sys
import uuid

from pe_image import ARM64, DEBUG_TABLE, DELAY_IMPORT_TABLE, LOAD_CONFIG, RELOCATION_TABLE, X64, X86, Image

MACHINES = {"x64": (X64, 0x20B), "arm64": (ARM64, 0x20B), "x86": (X86, 0x10B)}
EXPORTS = {"DllMain", "DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"}
# Part of every Windows from version 7 on; api-ms-win-crt-* is the C runtime of Windows 10.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "gdiplus.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "setupapi.dll", "shell32.dll", "shlwapi.dll", "user32.dll",
}
# Characteristics and DllCharacteristics of the headers.
RELOCATIONS_STRIPPED, IS_DLL = 0x0001, 0x2000
HIGH_ENTROPY, DYNAMIC_BASE, NO_EXECUTE, GUARD_CALLS = 0x0020, 0x0040, 0x0100, 0x4000
SEARCH_SYSTEM_FOLDER = 0x800
# Of the load configuration: offsets of its fields in 64-bit and in 32-bit modules, and flags of control flow guard.
LOAD_FLAGS = {0x20B: 0x4E, 0x10B: 0x36}
SECURITY_COOKIE = {0x20B: 0x58, 0x10B: 0x3C}
GUARD_FIELDS = {0x20B: 0x70, 0x10B: 0x48}
GUARD_INSTRUMENTED, GUARD_TABLE_PRESENT = 0x100, 0x400
# The kind of debug record that names a PDB.
CODEVIEW = 2
CURSOR, MENU, DIALOG, STRING, GROUP_CURSOR, GROUP_ICON, VERSION = 1, 4, 5, 6, 12, 14, 16
NEUTRAL, ENGLISH = 0x0000, 0x0409
LANGUAGES = {
    0x0001, 0x0002, 0x0404, 0x0804, 0x0C04, 0x0005, 0x0406, 0x0407, 0x0408, 0x0409, 0x000A, 0x000B, 0x040C, 0x000D,
    0x000E, 0x0010, 0x0011, 0x0012, 0x0413, 0x0414, 0x0015, 0x0416, 0x0816, 0x0418, 0x0419, 0x001A, 0x241A, 0x001B,
    0x041D, 0x001E, 0x041F, 0x0022, 0x0024, 0x0025, 0x0026, 0x0027,
}


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
    if image.number("I", image.header + 8) != 0:
        wrong("the time of the build is inside: two builds differ")
    debug = [name for name, *_ in image.sections if name.startswith((".debug", ".zdebug", ".stab"))]
    if debug or image.symbol_count:
        wrong(f"debug information left inside: {debug}, {image.symbol_count} symbols")


def check_load_config(image, wrong):
    """How many places use the stack guard, and how many indirect calls are checked."""
    config = image.directory(LOAD_CONFIG)
    if config is None:
        wrong("no load configuration")
        return 0, 0

    def pointers(offset, count):
        return struct.unpack_from(f"<{count}{image.pointer}", image.data, config + offset[image.magic])

    if image.number("H", config + LOAD_FLAGS[image.magic]) != SEARCH_SYSTEM_FOLDER:
        wrong("imported libraries are looked for outside of the system's folder")

    # Code reaches the cookie directly or by way of a pointer to it.
    cookie = pointers(SECURITY_COOKIE, 1)[0]
    packed = struct.pack("<" + image.pointer, cookie)
    start, constants = image.section(".rdata")
    found = {start + match.start() for match in re.finditer(re.escape(packed), constants)}
    guarded = image.references(found | {cookie - image.base})
    if not cookie or not guarded:
        wrong("no function has a stack guard")

    check, dispatch, table, count, flags = pointers(GUARD_FIELDS, 5)
    flags &= 0xFFFFFFFF  # the next field follows in the same 64 bits
    calls = image.references({address - image.base for address in (check, dispatch) if address})
    if not image.dll_characteristics & GUARD_CALLS or not flags & GUARD_INSTRUMENTED or not calls:
        wrong(f"indirect calls are not checked: flags {flags:#x}, {calls} checks")
    if not flags & GUARD_TABLE_PRESENT or not count:
        wrong("no table of the functions that may be called indirectly")
        return guarded, calls
    stride, first = 4 + (flags >> 28), image.offset(table - image.base)
    functions = [image.number("I", first + stride * index) for index in range(count)]
    text, code = image.section(".text")
    if functions != sorted(set(functions)) or not all(text <= function < text + len(code) for function in functions):
        wrong("the table of the functions that may be called indirectly is not in order")
    if missing := [name for name, address in image.function_addresses().items() if address not in functions]:
        wrong(f"a guarded process may not call {missing}")
    return guarded, calls


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


def wanted_symbols(image):
    """The name, the identifier and the age of the PDB that the DLL asks for."""
    table, size = image.directory(DEBUG_TABLE), image.directories[DEBUG_TABLE][1]
    for entry in range(table or 0, (table or 0) + size, 28):
        if image.number("I", entry + 12) == CODEVIEW:
            data = image.number("I", entry + 24)
            identifier = uuid.UUID(bytes_le=image.data[data + 4 : data + 20])
            return image.text(data + 24), str(identifier).upper(), image.number("I", data + 20)
    return None


def check_symbols(image, path, pdbutil, wrong):
    """Wants every exported function in the PDB, with a line of our source. How many names and lines that has."""

    def dump(option):
        command = [pdbutil, "dump", option, str(path)]
        return subprocess.run(command, check=True, capture_output=True, text=True, errors="replace").stdout

    summary = dump("--summary")
    found = path.name, re.search("GUID: {(.*)}", summary)[1], int(re.search(r"Age: (\d+)", summary)[1])
    if wanted_symbols(image) != found:
        wrong(f"asks for the symbols {wanted_symbols(image)}, beside it are {found}")

    # Both tables name the number of a section and an offset in it. A 32-bit __stdcall function is _Name@12 there.
    names = {
        re.sub(r"^_(\w+)@\d+$", r"\1", name): (int(section), int(offset))
        for name, section, offset in re.findall(r"S_PUB32 .*`(.*)`\n.*addr = (\d+):(\d+)", dump("--publics"))
    }
    lines, source, section = {}, "", 0
    for line in dump("-l").splitlines():
        if match := re.match(r"(\S.*) \(MD5: ", line):
            source = match[1].replace("\\", "/")
        elif match := re.match(r"\s+(\d{4}):[0-9A-F]{8}-", line):
            section = int(match[1])
        else:
            for number, offset in re.findall(r"(\d+) ([0-9A-F]{8})", line):
                lines[section, int(offset, 16)] = source, int(number)
    for name, address in image.function_addresses().items():
        place = next(
            (number, address - start)
            for number, (_, start, size, _) in enumerate(image.sections, 1)
            if start <= address < start + size
        )
        if names.get(name) != place:
            wrong(f"{name} is at {place}, in the symbols at {names.get(name)}")
        elif not lines.get(place, ("", 0))[0].endswith("src/entry/exports.cpp"):
            wrong(f"the symbols have no line of {name}, but {lines.get(place)}")

    root = str(pathlib.Path(__file__).resolve().parents[2]).encode()
    if root in image.data or root in path.read_bytes():
        wrong("the DLL or its symbols tell where it was built")
    return len(names), len(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dll", type=pathlib.Path)
    parser.add_argument("--machine", choices=MACHINES, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--ids", type=pathlib.Path, required=True, help="the header with the resource identifiers")
    parser.add_argument("--pdbutil", required=True, help="the program that reads the symbols")
    arguments = parser.parse_args()

    ids = {
        name: int(value)
        for name, value in re.findall(r"^#define (ID\w+) (\d+)$", arguments.ids.read_text("utf-8"), re.MULTILINE)
    }
    mistakes = []
    image = Image(arguments.dll.read_bytes())
    check_headers(image, arguments.machine, mistakes.append)
    guarded, calls = check_load_config(image, mistakes.append)
    check_interface(image, mistakes.append)
    languages, texts = check_resources(image, arguments.version, ids, mistakes.append)
    names, lines = check_symbols(image, arguments.dll.with_suffix(".pdb"), arguments.pdbutil, mistakes.append)
    for mistake in mistakes:
        print(f"{arguments.dll.name}: {mistake}", file=sys.stderr)
    if mistakes:
        return 1
    print(
        f"{arguments.dll.name}: {arguments.machine}, {len(image.data)} bytes, {len(image.exports())} exports, "
        f"{len(image.imports())} system libraries, {languages} languages of {texts} texts, version {arguments.version}, "
        f"{guarded} uses of the stack guard, {calls} checks of indirect calls, symbols of {names} names and {lines} lines"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
