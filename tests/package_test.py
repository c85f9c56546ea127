"""Packs stand-ins for the programs as scripts/package packs the real ones, and breaks each rule of the package once."""

import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True  # nothing is left among the sources
sys.path.append(str(ROOT / "cmake"))
import make_package  # noqa: E402
from make_package import check_package  # noqa: E402
import third_party  # noqa: E402

MINGW, THREADS, GCC, LLVM, TESTS = third_party.COMPONENTS
CONTAINED = {"x64": (0x8664, [MINGW, THREADS, GCC]), "x86": (0x14C, [MINGW, THREADS, GCC]), "arm64": (0xAA64, [MINGW, LLVM])}
# What is replaced in the INF, by what, and what is said then.
BROKEN_INF = (
    ("DeviceData=Scanner.DeviceData\r\n", "", "[scanner.devicedata] is referred to nowhere"),
    ("ntx86]\r\nCopyFiles=WiaScanDialog.Files\r\n", "ntx86]\r\n", "[scanner.install.ntx86] lacks copyfiles"),
    ("AddReg=WiaScanDialog.Registry,", "AddReg=Registry,", "refers to [Registry], which is missing"),
    ("AddReg=", "AddRegs=", "has addregs, which is not known"),
    (".ntarm64]", ".ntarm]", "no install section for .ntarm64"),
    ("10,SysWOW64", "16425", "has no folder in [DestinationDirs] that is known here: '16425'"),
    ("WiaScanDialog.Files=11", "Files=11", "[DestinationDirs] names [files]"),
    (r"%10%\SysWOW64", "%16425%", "%16425% is a folder of the shell"),
    (r"SysWOW64\WiaScanDialog.dll", r"SysWOW64\WiaScanDialog32.dll", "which [scanner.install.ntamd64] does not install"),
    ("WiaScanDialog32.dll=1,\\x86\r\n", "", "copies wiascandialog32.dll, which [SourceDisksFiles.amd64] lacks"),
    ("[WiaScanDialog.Files]\r\nWiaScanDialog.dll\r\n", "[WiaScanDialog.Files]\r\n", "names wiascandialog.dll, which"),
    ("=1,\\arm64", "=1,\\arm", "names arm/wiascandialog.dll, which the zip lacks"),
    ("=1,\\arm64", "=1,\\x64", "x64/wiascandialog.dll is for machine 0x8664, and so for no program of ntarm64"),
    ("1=%DiskName%", "2=%DiskName%", "comes from disk 1, which [SourceDisksNames] lacks"),
    ("ServerClass=", "Server=", "the string %serverclass% is not defined"),
    ("ServerClass=", "Server=\"\"\r\nServerClass=", "the string server is used nowhere"),
    ("Driver files", "Gerätedateien", "'ascii' codec can't decode"),
)


def program(machine, components):
    return struct.pack("<60sI4sH", b"MZ", 64, b"PE\0\0", machine) + b"\0".join(part.marker for part in components)


class Package(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.target = self.folder / "WiaScanDialog-1.zip"
        for architecture, contained in CONTAINED.items():
            for name in (*make_package.PROGRAMS, "WiaScanDialog.pdb"):
                self.put(f"build/{architecture}/{name}", program(*contained))
            machine, components = contained
            self.put(f"build/{architecture}/wia_scan_dialog_tests.exe", program(machine, [*components, TESTS]))
        self.files = make_package.collect(self.folder / "build")

    def put(self, path, data):
        path = self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def assert_refused(self, files, message):
        with self.subTest(message), self.assertRaises(ValueError) as raised:
            make_package.write(files, self.target)
        self.assertIn(message, str(raised.exception))
        self.assertEqual(list(self.folder.glob("WiaScanDialog-1*")), [])

    def test_sound(self):
        make_package.write(self.files, self.target)
        first = self.target.read_bytes()
        make_package.write(dict(reversed(self.files.items())), self.target)
        self.assertEqual(first, self.target.read_bytes())
        with zipfile.ZipFile(self.target) as archive:
            notices = archive.read("WiaScanDialog-1/THIRD-PARTY.txt").decode()
        pages = {page.split("\r\n")[1]: page for page in notices.split("=" * 100)[1:]}
        self.assertIn("x86\\WiaScanDialog32.dll", pages[GCC.name])
        self.assertNotIn("arm64", pages[GCC.name])
        self.assertEqual(pages[LLVM.name].count("\\"), 2)
        self.assertIn("David M. Gay", pages[MINGW.name])

    def test_check_kit(self):
        files = make_package.collect_check(self.folder / "build")
        make_package.write(files, self.target, check_package.check_notices)
        self.assertEqual(
            {name for name in files if name.startswith("x86/")},
            {f"x86/{name}" for name in (*make_package.PROGRAMS, "wia_scan_dialog_tests.exe")}
            | {f"x86/data/{path.name}" for path in (ROOT / "tests/data").glob("*.jpg")},
        )
        self.assertRegex(files["check.cmd"], rb"^@echo off\r\n")
        self.assertIn("pictures/dialog.png", files)
        self.assertRegex(files["THIRD-PARTY.txt"], rb"Google Test\r\n\r\nIn arm64\\wia_scan_dialog_tests.exe\r\n")
        self.assertNotRegex(files["check.cmd"], rb"(?i)z:|wine|wsd_")
        with self.assertRaisesRegex(ValueError, "says nothing of x64/more.exe"):
            make_package.write(files | {"x64/more.exe": b""}, self.target, check_package.check_notices)

    def test_inf(self):
        for old, new, message in BROKEN_INF:
            inf = self.files["WiaScanDialog.inf"].replace(old.encode(), new.encode())
            self.assert_refused(self.files | {"WiaScanDialog.inf": inf}, message)

    def test_missing_files(self):
        for name, message in (
            ("x86/WiaScanDialog32.dll", "names x86/wiascandialog32.dll, which the zip lacks"),
            ("WiaScanDialog.inf", "the zip lacks WiaScanDialog.inf"),
            ("THIRD-PARTY.txt", "the zip lacks THIRD-PARTY.txt"),
        ):
            self.assert_refused({key: data for key, data in self.files.items() if key != name}, message)
        self.assert_refused(self.files | {"x64/WiaScanDialog.dll": b"MZ"}, "x64/wiascandialog.dll is for machine 0x0")
        self.assert_refused(self.files | {"x64/more.exe": b""}, "THIRD-PARTY.txt says nothing of x64/more.exe")
        (self.folder / "build/package").mkdir()
        command = [sys.executable, ROOT / "cmake/make_package.py", self.folder / "build"]
        (self.folder / "build/arm64/scan_demo.exe").unlink()
        done = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual((done.returncode, list((self.folder / "build/package").iterdir())), (1, []))
        self.assertIn("arm64/scan_demo.exe", done.stderr)


if __name__ == "__main__":
    unittest.main()
