"""What can be changed: conditional jumps, conditions that are kept as values, and the constants compared."""

import collections
import functools
import pathlib
import re
import struct

import capstone

ROOT = pathlib.Path(__file__).resolve().parents[2]

# One place of the source with all its copies: a template has one for each of its instances, and what is
# always inlined one for each of its calls.
Site = collections.namedtuple("Site", "file line column number what")

# Copies of a site, as (address, bytes, {kind of change: changed bytes}).
Copy = collections.namedtuple("Copy", "address old changes")

JUMP, VALUE, CONSTANT = "jump", "value", "constant"

# Written by the compiler for what has no condition in the source.
COMPILER_MADE = ("_Z41__static_initialization_and_destruction_0", "_GLOBAL__sub_")

# After "test x, x", the next condition on the same side: x > 0 becomes x > -1, x < 0 becomes x < 1.
NEXT_TO_ZERO = {0x8: ("more", 0xE), 0x9: ("more", 0xF), 0xC: ("more", 0xE), 0xD: ("more", 0xF),
                0xE: ("less", 0xC), 0xF: ("less", 0xD)}
KEEPS_FLAGS = ("mov", "lea", "set", "nop", "cdq", "cqo")
EQUAL = (4, 5)
RELATIVE = re.compile(r"\[rip ([+-]) (\w+)\]")

disassembler = capstone.Cs(capstone.CS_ARCH_X86, capstone.CS_MODE_64)


class Finder:
    """The sites of images. A function that one image has shown is known in the others."""

    def __init__(self):
        self.known = {}

    def sites(self, image):
        """Site -> its copies in the image"""
        found = collections.defaultdict(list)
        for address, size, name in image.functions:
            if name.startswith(COMPILER_MADE) or not image.has_own_code(address, size):
                continue
            for site, copy in self.of_function(image, address, size, name):
                found[site].append(copy._replace(address=address + copy.address))
        return found

    def of_function(self, image, address, size, name):
        code = image.code(address, size)
        for known in self.known.get((name, size), ()):
            if all(code.startswith(copy.old, copy.address) for _, copy in known):
                return known
        found = list(Function(image, address, code).sites())
        self.known.setdefault((name, size), []).append(found)
        return found


class Function:
    def __init__(self, image, address, code):
        self.image = image
        self.address = address
        self.code = code
        self.instructions = list(disassembler.disasm_lite(code, address))
        self.numbers = collections.Counter()

    def sites(self):
        """Pairs of a site and its copy, whose address counts from the start of the function."""
        guard = 0  # so many instructions may belong to the guard of a static variable
        for index, (address, _, mnemonic, _) in enumerate(self.instructions):
            if mnemonic == "call" and not self.tests_result(index + 1):
                guard = 0
            if self.names_guard(index):
                guard = 8
            guard -= 1
            place = self.image.place(address)
            if place and guard < 0:
                yield from self.at(index, place, place[1] in inlined_lines(place[0]))

    def names_guard(self, index):
        address, size, _, operands = self.instructions[index]
        match = RELATIVE.search(operands)
        return match is not None and address + size + int(match[1] + match[2], 0) in self.image.guards

    def tests_result(self, index):
        return index < len(self.instructions) and self.instructions[index][2:] == ("test", "eax, eax")

    def bytes_of(self, index):
        address, size = self.instructions[index][:2]
        return self.code[address - self.address:address - self.address + size]

    def at(self, index, place, is_inlined):
        old = self.bytes_of(index)
        code = condition_of(old)
        if code is None:
            return
        what = JUMP if is_jump(old) else VALUE
        changes = jump_changes(old) if what == JUMP else {"flipped": with_condition(old, code ^ 1)}
        number = code if is_inlined else None
        yield self.site(place, what, index, changes, number)
        compared = self.compared(index)
        if compared is None:
            return
        if self.instructions[compared][2] == "test":
            if code in NEXT_TO_ZERO:
                kind, other = NEXT_TO_ZERO[code]
                yield self.site(place, CONSTANT, index, {kind: with_condition(old, other)}, number)
        else:
            changes = constant_changes(self.bytes_of(compared), self.instructions[compared][3], code)
            if changes:
                yield self.site(place, CONSTANT, compared, changes, number)

    def site(self, place, what, index, changes, number):
        """Without a number: the next one at this place of the function."""
        if number is None:
            number = self.numbers[place, what]
            self.numbers[place, what] += 1
        return (Site(*place, number, what),
                Copy(self.instructions[index][0] - self.address, self.bytes_of(index), changes))

    def compared(self, index):
        """The instruction that compares with a constant for this one."""
        for before in range(index - 1, max(index - 4, -1), -1):
            mnemonic, operands = self.instructions[before][2:]
            if mnemonic == "test":
                first, second = operands.split(", ")
                # A bool, of one byte, is never more or less.
                return before if first == second and self.bytes_of(before)[-2] != 0x84 else None
            if mnemonic == "cmp":
                return before if operands.split(", ")[-1].lstrip("-")[:1].isdigit() else None
            if not mnemonic.startswith(KEEPS_FLAGS):
                return None
        return None


@functools.lru_cache(None)
def inlined_lines(file):
    """The lines of a source in functions that are always inlined."""
    found, depth, begin = set(), 0, None
    for number, line in enumerate((ROOT / file).read_text().splitlines(), 1):
        if "always_inline" in line and begin is None:
            begin, depth = number, 0
        if begin is not None:
            depth += line.count("{") - line.count("}")
            if depth <= 0 and line.rstrip().endswith(("}", "};", "});", ";")):
                found.update(range(begin, number + 1))
                begin = None
    return found


def is_jump(code):
    return code[0] & 0xF0 == 0x70 or (code[0] == 0x0F and code[1] & 0xF0 == 0x80)


def condition_of(code):
    """The number of the condition that a jump or a "set" asks for."""
    if code[0] & 0xF0 == 0x70:
        return code[0] & 15
    if code[0] == 0x0F and code[1] & 0xF0 in (0x80, 0x90):
        return code[1] & 15
    return None


def with_condition(code, condition):
    if code[0] == 0x0F:
        return bytes((code[0], code[1] & 0xF0 | condition)) + code[2:]
    return bytes((code[0] & 0xF0 | condition,)) + code[1:]


def jump_changes(code):
    if code[0] == 0x0F:
        distance, = struct.unpack("<i", code[2:])
        always = b"\xE9" + struct.pack("<i", distance + 1) + b"\x90"
    else:
        always = b"\xEB" + code[1:]
    return {"flipped": with_condition(code, condition_of(code) ^ 1),
            "never": b"\x90" * len(code),
            "always": always}


def constant_changes(code, operands, condition):
    """The constant, one more and one less, where that is another question than jumping always or never."""
    wide = code[0] == 0x66
    opcode = code[1 + (code[1] & 0xF0 == 0x40)] if wide else code[code[0] & 0xF0 == 0x40]
    size = 1 if opcode in (0x80, 0x83, 0x3C) else 2 if wide else 4
    value = int.from_bytes(code[-size:], "little", signed=True)
    steps = {"more": value + 1, "less": value - 1}
    if condition in EQUAL and value == 0:
        if operands.startswith("byte") or opcode in (0x80, 0x3C):
            return {}  # a bool
        if operands.startswith("qword") or code[0] & 0xF8 == 0x48:
            del steps["less"]  # a pointer or a size
    smallest, largest = -(1 << (8 * size - 1)), (1 << (8 * size - 1)) - 1
    return {kind: code[:-size] + step.to_bytes(size, "little", signed=True)
            for kind, step in steps.items() if smallest <= step <= largest}
