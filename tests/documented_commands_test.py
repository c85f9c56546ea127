"""Runs the command lines that the documents and the demo's help show, read from there.

  documented_commands_test.py SCAN_DEMO [EMULATOR...]
"""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
# What is not run here, and why. Its words must be known to the script.
ONLY_PARSED = (
    (r"scripts/", "installs packages, and builds or tests for minutes"),
    (r"check\.cmd$", "minutes; scripts/package --check runs it"),
)
COMMAND = re.compile(r"((?:[A-Z_]+=\S+ )*)((?:scan_demo|scripts/[\w-]+|check\.cmd)(?: .*)?)")


def shown(text):
    """The command lines in code blocks, fenced or indented, and in code spans."""
    lines = re.findall(r"(?m)^(?: {4})?((?:[A-Z_]+=\S+ )*(?:scan_demo|scripts/)[^`|\n]*)$", text) + re.findall(r"`([^`\n]+)`", text)
    for line in lines:
        line = re.split(r"\s+#|\s{3,}", line.replace("\\|", "|"))[0].strip()
        if found := COMMAND.fullmatch(line):
            yield found[2]


class DocumentedCommands(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        shutil.copy(ROOT / "docs/pictures/scan.jpg", self.folder / "page.jpg")
        if prefix := os.environ.get("WINEPREFIX"):
            (pathlib.Path(prefix) / "drive_c/Scans").mkdir(exist_ok=True)

    def run_demo(self, *arguments):
        return subprocess.run([*RUNNER, *arguments], cwd=self.folder, capture_output=True, text=True, timeout=200)

    def check_demo(self, arguments):
        done = self.run_demo(*arguments, "--close-after", "1000")
        real = {"--list", "--device"} & set(arguments)
        without_manager = done.returncode == 1 and "no WIA 2.0 device manager" in done.stderr
        self.assertTrue(done.returncode == 0 or (real and without_manager), done)

    def check_script(self, words):
        script = ROOT / words[0]
        self.assertTrue(os.access(script, os.X_OK), "no such script")
        for word in words[1:]:
            if word == "--":
                break
            for name in re.findall(r"^--[a-z-]+|^[a-z0-9|-]+$", word):
                for alternative in name.split("|"):
                    # Such as a table of res/strings, which the script lists.
                    self.assertIn(alternative, script.read_text("utf-8"), "the script does not know it")

    def test_all(self):
        texts = {path.name: path.read_text("utf-8") for path in [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *(ROOT / "docs").glob("*.md")]}
        texts["--help"] = self.run_demo("--help").stdout
        commands = {name: list(shown(text)) for name, text in texts.items()}
        for name in ("README.md", "integrating.md", "trying-on-windows.md", "--help"):
            self.assertTrue(commands[name], f"{name} shows no command: is it read as it should be?")
        for command in sorted({command for found in commands.values() for command in found}):
            with self.subTest(command):
                words = shlex.split(command.replace("\\", "\\\\"))
                if not any(re.match(pattern, command) for pattern, _ in ONLY_PARSED):
                    self.check_demo(words[1:])
                elif words[0].startswith("scripts/"):
                    self.check_script(words)


if __name__ == "__main__":
    RUNNER = [*sys.argv[2:], sys.argv[1]]
    unittest.main(argv=sys.argv[:1])
