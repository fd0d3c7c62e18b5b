"""A program or shared object: its code, its functions, and the source of each instruction."""

import bisect
import re
import struct

# Sources of the library, wherever the folder of the build was when they were compiled.
OWN_SOURCE = re.compile(r"(?:^|/)((?:src|include)/infra/.+)")

# How values stand in the tables of names of DWARF 5: LEB128, or an offset into a section of texts.
UDATA, LINE_STRP, STRP, DATA16 = 0x0F, 0x1F, 0x0E, 0x1E
PATH, DIRECTORY = 1, 2


class Elf:
    """The sections of a file, and where its code stands."""

    def __init__(self, path):
        self.path = path
        self.data = path.read_bytes()
        offset, = struct.unpack_from("<Q", self.data, 40)
        size, count, names = struct.unpack_from("<3H", self.data, 58)
        headers = [struct.unpack_from("<2I4Q", self.data, offset + i * size) for i in range(count)]
        view = memoryview(self.data)
        self.sections = {}
        for name, _, _, address, start, length in headers:
            title = text_at(self.data, headers[names][4] + name)
            self.sections[title] = view[start:start + length]
            if title == ".text":
                self.text_address, self.text_offset = address, start

    def offset(self, address):
        """Where in the file an instruction stands."""
        return address - self.text_address + self.text_offset


class Image(Elf):
    def __init__(self, path):
        super().__init__(path)
        self.text = bytes(self.sections[".text"])
        self.functions, self.guards = self.read_symbols()
        self.starts, self.places = self.read_lines()

    def read_symbols(self):
        """The functions, (address, size, name) in order of address, and the guards of static variables."""
        names = bytes(self.sections[".strtab"])
        functions, guards = {}, set()
        for name, info, _, _, address, size in struct.iter_unpack("<I2BH2Q", self.sections[".symtab"]):
            if info & 15 == 2 and size > 0:
                functions[address] = (address, size, text_at(names, name))
            elif info & 15 == 1 and names.startswith(b"_ZGV", name):
                guards.add(address)
        return sorted(functions.values()), guards

    def code(self, address, size):
        start = address - self.text_address
        return self.text[start:start + size]

    def place(self, address):
        """(source, line, column) of an instruction of the library, None for any other."""
        index = bisect.bisect_right(self.starts, address) - 1
        return self.places[index] if index >= 0 else None

    def has_own_code(self, address, size):
        first = bisect.bisect_right(self.starts, address) - 1
        last = bisect.bisect_left(self.starts, address + size)
        return any(self.places[max(first, 0):last])

    def read_lines(self):
        rows = []
        table = bytes(self.sections[".debug_line"])
        texts = {form: bytes(self.sections[name]) for form, name in
                 ((LINE_STRP, ".debug_line_str"), (STRP, ".debug_str")) if name in self.sections}
        at = 0
        while at < len(table):
            length, version = struct.unpack_from("<IH", table, at)
            if version == 5:
                rows += LineProgram(table, at, texts, self.text_address).rows
            at += 4 + length
        # Where one function ends and the next one starts, the start counts.
        rows.sort(key=lambda row: (row[0], row[1] is not None))
        return [row[0] for row in rows], [row[1] for row in rows]


class LineProgram:
    """The line numbers of one compiled source, as (address, place) from which on they hold."""

    def __init__(self, table, start, texts, text_address):
        self.table = table
        self.texts = texts
        self.text_address = text_address
        self.rows = []
        length, = struct.unpack_from("<I", table, start)
        header_length, = struct.unpack_from("<I", table, start + 8)
        self.line_base, self.line_range, self.opcode_base = struct.unpack_from("<b2B", table, start + 15)
        self.at = start + 18
        self.operands = table[self.at:self.at + self.opcode_base - 1]
        self.at += self.opcode_base - 1
        directories = [entry[PATH] for entry in self.entries()]
        files = [directories[entry[DIRECTORY]] + "/" + entry[PATH] for entry in self.entries()]
        self.files = [match and match[1] for match in map(OWN_SOURCE.search, files)]
        self.at = start + 12 + header_length
        while self.at < start + 4 + length:
            self.run_sequence()

    def entries(self):
        """The table of directories or of files that starts here."""
        forms = []
        self.at += 1
        for _ in range(self.table[self.at - 1]):
            forms.append((self.uleb(), self.uleb()))
        return [{what: self.value(form) for what, form in forms} for _ in range(self.uleb())]

    def value(self, form):
        if form == UDATA:
            return self.uleb()
        if form == DATA16:
            self.at += 16
            return None
        self.at += 4
        return text_at(self.texts[form], struct.unpack_from("<I", self.table, self.at - 4)[0])

    def uleb(self):
        value = shift = 0
        while True:
            byte = self.table[self.at]
            self.at += 1
            value |= (byte & 0x7F) << shift
            shift += 7
            if byte < 0x80:
                return value

    def sleb(self):
        start = self.at
        value = self.uleb()
        bits = 7 * (self.at - start)
        return value - (1 << bits) if value >> (bits - 1) else value

    def run_sequence(self):
        """Up to the end of a sequence. One that the linker dropped stands at address 0."""
        table, files = self.table, self.files
        address, file, line, column = 0, 1, 1, 0
        rows = []
        while True:
            opcode = table[self.at]
            self.at += 1
            if opcode >= self.opcode_base:
                advance, delta = divmod(opcode - self.opcode_base, self.line_range)
                address += advance
                line += self.line_base + delta
                rows.append((address, files[file] and (files[file], line, column)))
            elif opcode == 0:
                length = self.uleb()
                extended = table[self.at]
                if extended == 2:
                    address, = struct.unpack_from("<Q", table, self.at + 1)
                self.at += length
                if extended == 1:
                    rows.append((address, None))
                    break
            elif opcode == 1:
                rows.append((address, files[file] and (files[file], line, column)))
            elif opcode == 2:
                address += self.uleb()
            elif opcode == 3:
                line += self.sleb()
            elif opcode == 4:
                file = self.uleb()
            elif opcode == 5:
                column = self.uleb()
            elif opcode == 8:
                address += (255 - self.opcode_base) // self.line_range
            elif opcode == 9:
                address += struct.unpack_from("<H", table, self.at)[0]
                self.at += 2
            else:
                for _ in range(self.operands[opcode - 1]):
                    self.uleb()
        if rows[0][0] >= self.text_address:
            self.rows += rows


def text_at(data, offset):
    return data[offset:data.index(b"\0", offset)].decode()
