"""The notices that must accompany the programs: what is linked into them statically, and what its licences ask for.

Which component a program contains, its own bytes tell, so that a change of the compiler needs no change here; the notices
come from the copyright files of the Debian packages that the component is from.
"""

import pathlib
import re
from dataclasses import dataclass
from typing import Callable


def machine_readable(*folders, without=()):
    """Of a copyright file in Debian's machine-readable format, what concerns files in the folders ("*": all others)."""

    def concerns(pattern):
        return pattern.startswith(folders) and not pattern.startswith(tuple(without))

    def extract(text):
        paragraphs = [part.strip("\n") for part in re.split(r"\n[ \t]*\n", text)]
        licences = {part.split("\n")[0].partition(": ")[2]: part for part in paragraphs if part.startswith("License:")}
        kept, referred = [], set()
        for part in paragraphs:
            parsed = re.fullmatch(r"Files:(.*?)\n(Copyright:.*?\nLicense: *(.*?)(?:\n.*)?)", part, re.DOTALL)
            names = [name for name in parsed[1].split() if concerns(name)] if parsed else []
            if names and parsed[3] != "public-domain":
                kept.append("Files: " + "\n       ".join(names) + "\n" + parsed[2])
                referred.update(re.split(" and | or ", parsed[3]))
        return kept + [licences[name] for name in sorted(referred & set(licences))]

    return extract


def between(*ranges):
    """What stands between the first text and the second, for every pair."""

    def extract(text):
        parts = [re.search(f"{re.escape(first)}.*?(?={re.escape(end)})", text, re.DOTALL) for first, end in ranges]
        return [part[0].rstrip() for part in parts if part]

    return extract


def leading_comments(text):
    """The comments of a C++ header that grant something."""
    return [
        re.sub(r"(?m)^ \* ?", "", comment).strip()
        for comment in re.findall(r"/\*\n(.*?)\*/", text, re.DOTALL)
        if "Permission to use" in comment
    ]


@dataclass(frozen=True)
class Source:
    path: str  # below the root of the file system; the first file that fits
    extract: Callable
    holds: tuple  # what the notices must hold: another edition of the file may be arranged differently


@dataclass(frozen=True)
class Component:
    name: str
    marker: bytes  # in every program that contains it
    sources: tuple


MINGW, GCC, LLVM, TESTS = "mingw-w64-common", "gcc-mingw-w64-base", "clang-19", "googletest"
COMPONENTS = (
    Component("mingw-w64: start-up code and C runtime (includes gdtoa)", b"Mingw-w64 runtime failure", (Source(
        f"usr/share/doc/{MINGW}/copyright",
        machine_readable("*", "mingw-w64-crt/", without=("mingw-w64-crt/profile/", "mingw-w64-crt/testcases/")),
        ("ZPL-2.1", "Lucent Technologies", "David M. Gay", "Keith Marshall", "Sun Microsystems")),)),
    Component("mingw-w64: winpthreads", b"winpthreads/src/", (Source(
        f"usr/share/doc/{MINGW}/copyright",
        machine_readable("mingw-w64-libraries/winpthreads/", without=("mingw-w64-libraries/winpthreads/tests",)),
        ("Permission is hereby granted", "Lockless")),)),
    Component("GCC: libgcc, libstdc++ and its other run-time libraries", b"terminate called after throwing", (
        Source(f"usr/share/doc/{GCC}/copyright",
               between(("GCC is Copyright", "The libbacktrace library"), ("GCC RUNTIME LIBRARY EXCEPTION", "libquadmath/")),
               ("either version 3", "Grant of Additional Permission")),
        Source("usr/lib/gcc/*-w64-mingw32/*-posix/include/c++/bits/stl_algobase.h", leading_comments,
               ("Hewlett-Packard", "Silicon Graphics")))),
    Component("LLVM: compiler-rt, libunwind, libc++abi and libc++", b"libc++abi", (Source(
        f"usr/share/doc/{LLVM}/copyright", machine_readable("*"), ("LLVM Exceptions",)),)),
    Component("Google Test", b"tests written using Google Test", (Source(
        f"usr/share/doc/{TESTS}/copyright", machine_readable("*"), ("Google Inc.", "Redistributions in binary form")),)),
)
CXX_RUNTIMES = COMPONENTS[2:4]


def contained(name, data):
    """The components in a program. ValueError when one must be missing here: every program has a C++ runtime."""
    found = [component for component in COMPONENTS if component.marker in data]
    if COMPONENTS[0] not in found or not set(CXX_RUNTIMES) & set(found):
        raise ValueError(f"{name}: contains {[component.name for component in found]}, which can't be all")
    return found


def notices(programs):
    """The text for programs, {name: bytes}. ValueError when a file is missing, or not as it was."""
    users = {}
    for name, data in sorted(programs.items()):
        for component in contained(name, data):
            users.setdefault(component, []).append(name.replace("/", "\\"))
    pages = []
    for component in (component for component in COMPONENTS if component in users):
        parts = []
        for source in component.sources:
            file = min(pathlib.Path("/").glob(source.path), default=None)
            if file is None:
                raise ValueError(f"{component.name}: there is no /{source.path}")
            part = "\n\n".join(source.extract(file.read_text("utf-8")))
            if lacking := [phrase for phrase in source.holds if phrase not in part]:
                raise ValueError(f"{component.name}: {file} says nothing of {lacking}")
            parts.append(part)
        title = f"{component.name}\n\nIn " + "\n   ".join(users[component])
        pages.append("\n\n\n".join([title, *parts]))
    intro = ("The programs in this package contain parts of the libraries below. These are their authors' notices, from the\n"
             "copyright files of the Debian packages that they were linked from. All else that the programs use is part of\n"
             "Windows.")
    return ("\n\n\n" + "=" * 100 + "\n").join([intro, *pages]) + "\n"
