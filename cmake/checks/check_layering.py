#!/usr/bin/env python3
"""Checks that includes run down only, from the entry layer over the dialog to what knows no window.

  check_layering.py SOURCE_FOLDER
"""

import pathlib
import re
import sys

TOP, MIDDLE, BOTTOM = "the entry layer", "the dialog layer", "the bottom layer"

# What knows no dialog and no window. A folder stands for all its files; a name without ending for header and source.
BOTTOM_FILES = {
    "entry/debug_trace", "entry/module_state", "entry/registry_reader",
    "preview/geometry", "preview/readout_format",
    "scan_dialog/settings_catalogue",
    "scanning/cut_rectangle", "scanning/image_file", "scanning/scan_file_names", "scanning/scan_properties",
    "scanning/jpeg_encoder", "scanning/jpeg_file", "scanning/jpeg_header", "scanning/jpeg_strips",
}
BOTTOM_FOLDERS = {"platform", "resources"}
HEIGHT = {BOTTOM: 0, MIDDLE: 1, TOP: 2}


def layer(path):
    """The layer of a file in src/, from its path without the ending."""
    folder = path.split("/")[0]
    if folder in BOTTOM_FOLDERS or path in BOTTOM_FILES:
        return BOTTOM
    return TOP if folder == "entry" else MIDDLE


def main():
    source = pathlib.Path(sys.argv[1]) / "src"
    files = sorted(path for path in source.rglob("*") if path.suffix in (".h", ".cpp"))
    mistakes, includes = [], 0
    for path in files:
        own = path.relative_to(source).with_suffix("").as_posix()
        for number, line in enumerate(path.read_text("utf-8").splitlines(), 1):
            match = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
            if not match:
                continue
            includes += 1
            included = match[1]
            if not (source / included).is_file():
                mistakes.append(f"{path}:{number}: {included} is no file of src, named from there")
                continue
            target = layer(pathlib.PurePosixPath(included).with_suffix("").as_posix())
            if HEIGHT[target] > HEIGHT[layer(own)]:
                mistakes.append(f"{path}:{number}: {layer(own)} includes {included} of {target}")
    stale = [name for name in sorted(BOTTOM_FILES) if not (source / name).with_suffix(".h").exists()]
    mistakes += [f"this check names {name}.h, which does not exist" for name in stale]
    for mistake in mistakes:
        print(mistake, file=sys.stderr)
    print(f"{len(files)} files, {includes} includes, {len(mistakes)} against the layers")
    # A check that sees nothing would pass.
    return 1 if mistakes or includes < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
