#!/usr/bin/env python3
"""Checks that includes run down only.

  check_layering.py SOURCE_FOLDER
"""

import pathlib
import re
import sys

# From the ground up. The folders of one line define one class together and may include each other.
LAYERS = "platform | resources | core | dialog | scan_dialog scanning preview | entry"

HEIGHT = {folder: height for height, line in enumerate(LAYERS.split("|")) for folder in line.split()}
# core is compiled where there is no windows.h, which platform and the other headers of resources include.
PLAIN = "resources/resource_ids.h"


def complaint(own, included, source):
    """What is wrong with a file of the folder `own` including that header; None: nothing."""
    if not (source / included).is_file():
        return f"{included} is no file of src, named from there"
    target = included.split("/")[0]
    if HEIGHT[target] > HEIGHT[own]:
        return f"{own} includes {included} from above"
    if own == "core" and target != "core" and included != PLAIN:
        return f"core includes {included}, which needs windows.h"
    return None


def main():
    source = pathlib.Path(sys.argv[1]) / "src"
    files = sorted(path for path in source.rglob("*") if path.suffix in (".h", ".cpp"))
    mistakes, includes = [], 0
    for path in files:
        own = path.relative_to(source).parts[0]
        for number, line in enumerate(path.read_text("utf-8").splitlines(), 1):
            match = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
            if match:
                includes += 1
                wrong = complaint(own, match[1], source)
                mistakes += [f"{path}:{number}: {wrong}"] if wrong else []
    for mistake in mistakes:
        print(mistake, file=sys.stderr)
    print(f"{len(files)} files, {includes} includes, {len(mistakes)} against the layers")
    # A check that sees nothing would pass.
    return 1 if mistakes or includes < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
