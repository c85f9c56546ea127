#!/usr/bin/env python3
"""Enters the section .loadcfg of a DLL into its headers as its load configuration, which GNU ld 2.40 does not.

  set_load_config.py DLL
"""

import pathlib
import struct
import sys

LOAD_CONFIG_DIRECTORY = 10

path = pathlib.Path(sys.argv[1])
data = bytearray(path.read_bytes())
header = struct.unpack_from("<I", data, 0x3C)[0]
section_count, optional_size = struct.unpack_from("<2xH12xH", data, header + 4)
optional = header + 24
wide = struct.unpack_from("<H", data, optional)[0] == 0x20B
entry = optional + (112 if wide else 96) + 8 * LOAD_CONFIG_DIRECTORY
for index in range(section_count):
    name, _, address, _, raw = struct.unpack_from("<8sIIII", data, optional + optional_size + 40 * index)
    if name.rstrip(b"\0") == b".loadcfg":
        struct.pack_into("<II", data, entry, address, struct.unpack_from("<I", data, raw)[0])
        path.write_bytes(data)
        break
else:
    sys.exit(f"{path.name} has no section .loadcfg")
