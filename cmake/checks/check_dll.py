#!/usr/bin/env python3
"""Checks a built WiaScanDialog.dll without running it.

What a wrong build gets wrong and no test on the developer's machine notices: a second DLL that the target lacks, a
decorated export, a missing language, a version that was not raised, debug information left inside, hardening that is
claimed and not there, symbols that a debugger would not find.

  check_dll.py DLL --machine x64|arm64|x86 --version 1.0.0 --ids resource_ids.h --readobj llvm-readobj --pdbutil llvm-pdbutil
"""

import argparse
import pathlib
import re
import struct
import subprocess
import sys

MACHINES = {"x64": "AMD64", "arm64": "ARM64", "x86": "I386"}
EXPORTS = {"DllMain", "DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"}
# Part of every Windows from version 7 on; api-ms-win-crt-* is the C runtime of Windows 10.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "gdi32.dll", "gdiplus.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "setupapi.dll", "shell32.dll", "shlwapi.dll", "user32.dll",
}
# What the headers and the load configuration must say, each beginning a line. The library search of LoadLibraryEx's
# LOAD_LIBRARY_SEARCH_SYSTEM32, and control flow guard with its table.
REQUIRED = (
    "IMAGE_FILE_DLL ", "SymbolCount: 0\n", "IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE ",
    "IMAGE_DLL_CHARACTERISTICS_NX_COMPAT ", "IMAGE_DLL_CHARACTERISTICS_GUARD_CF ", "DependentLoadFlags: 0x800\n",
    "CF_INSTRUMENTED ", "CF_FUNCTION_TABLE_PRESENT ", "DelayImportDescriptorSize: 0x0\n",
)
REQUIRED_64_BIT = ("IMAGE_DLL_CHARACTERISTICS_HIGH_ENTROPY_VA ",)
FORBIDDEN = ("IMAGE_FILE_RELOCS_STRIPPED ", "BaseRelocationTableSize: 0x0\n", "SecurityCookie: 0x0\n", "Name: .debug", "Name: .stab")
ENGLISH, NEUTRAL = 0x0409, 0
LANGUAGES = 36


def check_headers(text, machine, wrong):
    if f"IMAGE_FILE_MACHINE_{MACHINES[machine]} " not in text:
        wrong(f"not for {machine}")
    for phrase in REQUIRED + (() if machine == "x86" else REQUIRED_64_BIT):
        if not re.search(r"^\s*" + re.escape(phrase), text, re.MULTILINE):
            wrong(f"the headers do not say {phrase.strip()!r}")
    if re.search(r"TimeDateStamp: .*\((?!0x0\))", text):
        wrong("the time of the build is inside: two builds differ")
    for phrase in FORBIDDEN:
        if re.search(r"^\s*" + re.escape(phrase), text, re.MULTILINE):
            wrong(f"the headers say {phrase.strip()!r}")


def check_interface(text, wrong):
    """Exported name -> address relative to the module."""
    exports = {name: int(address, 16) for name, address in re.findall(r"^Export {\n.*\n  Name: (.*)\n  RVA: (\w+)\n", text, re.MULTILINE)}
    if set(exports) != EXPORTS or text.count("\nExport {") != len(EXPORTS):
        wrong(f"exports {sorted(exports)}")
    imports = [name.lower() for name in re.findall(r"^Import {\n  Name: (.*)", text, re.MULTILINE)]
    if foreign := [name for name in imports if name not in SYSTEM_LIBRARIES and not name.startswith("api-ms-win-crt-")]:
        wrong(f"imports what is no part of Windows: {foreign}")
    base = int(re.search(r"ImageBase: (\w+)", text)[1], 16)
    callable_indirectly = {int(address, 16) - base for address in re.findall(r"^  (0x[0-9A-F]+)$", text, re.MULTILINE)}
    if missing := [name for name, address in exports.items() if address not in callable_indirectly]:
        wrong(f"a process with control flow guard may not call {missing}")
    return exports


def check_resources(text, data, version, ids, wrong):
    found, kind, name = {}, None, None
    for what, value in re.findall(r"^ +(Type|Name|Language): [^(\n]*\(ID (\d+)\)", text, re.MULTILINE):
        if what == "Type":
            kind = int(value)
        elif what == "Name":
            name = int(value)
        else:
            found.setdefault(kind, set()).add((name, int(value)))

    def expect(kind, language, pattern, what):
        wanted = {(value, language) for name, value in ids.items() if re.fullmatch(pattern, name)}
        if found.get(kind) != wanted:
            wrong(f"{what}: {sorted(found.get(kind, set()) ^ wanted)} are missing or not expected")

    expect(4, NEUTRAL, "IDM_.*_MENU", "menus")
    expect(5, NEUTRAL, "IDD_.*", "dialog templates")
    expect(12, ENGLISH, "IDC_CURSOR_.*", "cursors")
    expect(14, ENGLISH, "IDI_.*", "icons")
    # That the blocks hold every text, the string_tables tests know.
    blocks = {value // 16 + 1 for name, value in ids.items() if name.startswith("IDS_")}
    languages = {language for _, language in found.get(6, set())}
    if found.get(6) != {(block, language) for block in blocks for language in languages} or len(languages) != LANGUAGES:
        wrong(f"string tables of {len(languages)} languages, or some lack a block")
    parts = [int(part) for part in version.split(".")] + [0]
    fixed = struct.pack("<II", 0xFEEF04BD, 0x10000) + struct.pack("<II", parts[0] << 16 | parts[1], parts[2] << 16 | parts[3]) * 2
    texts = ("FileVersion", "ProductVersion", version)
    if fixed not in data or any(f"{text}\0".encode("utf-16-le") not in data for text in texts):
        wrong(f"the version information is not that of {version}")
    return len(languages)


def check_symbols(text, exports, path, run, wrong):
    """Wants every exported function in the PDB, with a line of our source. How many names and lines that has."""
    summary = run("pdbutil", "dump", "--summary", path)
    found = path.name, re.search("GUID: ({.*})", summary)[1], re.search(r"Age: (\d+)", summary)[1]
    asked = re.search(r"PDBGUID: (.*)\n\s*PDBAge: (.*)\n\s*PDBFileName: (.*)", text)
    if not asked or (asked[3], asked[1], asked[2]) != found:
        wrong(f"asks for other symbols than {found}, which are beside it")

    # Both tables name the number of a section and an offset in it. A 32-bit __stdcall function is _Name@12 there.
    names = {
        re.sub(r"^_(\w+)@\d+$", r"\1", name): (int(section), int(offset))
        for name, section, offset in re.findall(r"S_PUB32 .*`(.*)`\n.*addr = (\d+):(\d+)", run("pdbutil", "dump", "--publics", path))
    }
    lines, source, section = {}, "", 0
    for line in run("pdbutil", "dump", "-l", path).splitlines():
        if match := re.match(r"(\S.*) \(MD5: ", line):
            source = match[1].replace("\\", "/")
        elif match := re.match(r"\s+(\d{4}):[0-9A-F]{8}-", line):
            section = int(match[1])
        else:
            for number, offset in re.findall(r"(\d+) ([0-9A-F]{8})", line):
                lines[section, int(offset, 16)] = source, int(number)
    code = int(re.search(r"Name: .text .*\n.*\n +VirtualAddress: (\w+)", text)[1], 16)
    for name, address in exports.items():
        if names.get(name) != (1, address - code):
            wrong(f"{name} is at {address:#x}, in the symbols at {names.get(name)}")
        elif not lines.get(names[name], ("", 0))[0].endswith("src/entry/exports.cpp"):
            wrong(f"the symbols have no line of {name}, but {lines.get(names[name])}")
    # Linked only when a function with a stack guard calls it; 32-bit symbols have one underscore more.
    if not {"__stack_chk_fail", "___stack_chk_fail"} & set(names):
        wrong("no function has a stack guard")
    return len(names), len(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dll", type=pathlib.Path)
    parser.add_argument("--machine", choices=MACHINES, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--ids", type=pathlib.Path, required=True, help="the header with the resource identifiers")
    parser.add_argument("--readobj", required=True, help="llvm-readobj")
    parser.add_argument("--pdbutil", required=True, help="llvm-pdbutil, which reads the symbols")
    arguments = parser.parse_args()
    mistakes = []

    def run(program, *options):
        command = [getattr(arguments, program), *map(str, options)]
        return subprocess.run(command, check=True, capture_output=True, text=True, errors="replace").stdout

    identifiers = re.findall(r"^#define (ID\w+) (\d+)$", arguments.ids.read_text("utf-8"), re.MULTILINE)
    data = arguments.dll.read_bytes()
    pdb = arguments.dll.with_suffix(".pdb")
    options = ("file-headers", "sections", "coff-exports", "coff-imports", "coff-load-config", "coff-debug-directory")
    text = run("readobj", *(f"--{option}" for option in options), arguments.dll)
    check_headers(text, arguments.machine, mistakes.append)
    exports = check_interface(text, mistakes.append)
    resources = run("readobj", "--coff-resources", arguments.dll)
    languages = check_resources(resources, data, arguments.version, {name: int(value) for name, value in identifiers}, mistakes.append)
    names, lines = check_symbols(text, exports, pdb, run, mistakes.append)
    # The symbols may name the toolchain's folder, which lies in the user's cache: they have the linker's command line.
    root = str(pathlib.Path(__file__).resolve().parents[2]).encode()
    if root in data or root in pdb.read_bytes() or b"/.cache/" in data:
        mistakes.append("the DLL or its symbols tell where they were built")
    for mistake in mistakes:
        print(f"{arguments.dll.name}: {mistake}", file=sys.stderr)
    print(
        f"{arguments.dll.name}: {arguments.machine}, {len(data)} bytes, {len(exports)} exports, {languages} languages, version "
        f"{arguments.version}, symbols of {names} names and {lines} lines, {len(mistakes)} mistakes"
    )
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main())
