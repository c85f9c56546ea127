"""Reads the parts of a PE file that the checks look at."""

import struct

X64, ARM64, X86 = 0x8664, 0xAA64, 0x14C
# Data directories.
EXPORT_TABLE, IMPORT_TABLE, RESOURCE_TABLE, RELOCATION_TABLE, DEBUG_TABLE = 0, 1, 2, 5, 6
LOAD_CONFIG, DELAY_IMPORT_TABLE = 10, 13


class Image:
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
        self.pointer = "Q" if self.magic == 0x20B else "I"
        self.base = self.number(self.pointer, optional + (24 if self.magic == 0x20B else 28))
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

    def section(self, wanted):
        """The address of a section and its bytes."""
        for name, address, size, raw in self.sections:
            if name == wanted:
                return address, self.data[raw : raw + size]
        raise ValueError(f"there is no section {wanted}")

    def references(self, targets):
        """How many instructions use data at one of these addresses, which are relative to the module."""
        start, code = self.section(".text")
        if self.machine != ARM64:
            # The address is the instruction's last part: on x64 relative to the instruction that follows, on x86 absolute.
            wide = self.machine == X64
            origins = (start + offset + 4 if wide else -self.base for offset in range(len(code) - 3))
            words = (struct.unpack_from("<i" if wide else "<I", code, offset)[0] for offset in range(len(code) - 3))
            return sum(word + origin in targets for word, origin in zip(words, origins))
        # A page of addresses goes to a register, and soon after an instruction adds the rest.
        count, pages = 0, {}
        for offset in range(0, len(code) - 3, 4):
            instruction = struct.unpack_from("<I", code, offset)[0]
            if instruction & 0x9F000000 == 0x90000000:  # ADRP
                distance = (instruction >> 5 & 0x7FFFF) << 2 | instruction >> 29 & 3
                distance -= (distance & 0x100000) << 1
                pages[instruction & 31] = ((start + offset) >> 12) + distance << 12
            elif instruction & 0xFFC00000 in (0xF9400000, 0x91000000):  # LDR of 64 bits, ADD
                scale = 8 if instruction & 0xFFC00000 == 0xF9400000 else 1
                page = pages.get(instruction >> 5 & 31, -(1 << 40))
                count += page + (instruction >> 10 & 0xFFF) * scale in targets
        return count

    def function_addresses(self):
        """Name -> address relative to the module, of what is exported."""
        table = self.directory(EXPORT_TABLE)
        count, functions, names, ordinals = struct.unpack_from("<IIII", self.data, table + 24)
        found = {}
        for index in range(count):
            name = self.text(self.offset(self.number("I", self.offset(names) + 4 * index)))
            ordinal = self.number("H", self.offset(ordinals) + 2 * index)
            found[name] = self.number("I", self.offset(functions) + 4 * ordinal)
        return found

    def exports(self):
        """Names; one that is forwarded to another library stands with its target."""
        start, size = self.directories[EXPORT_TABLE]
        return [
            name + " -> " + self.text(self.offset(address)) if start <= address < start + size else name
            for name, address in self.function_addresses().items()
        ]

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
