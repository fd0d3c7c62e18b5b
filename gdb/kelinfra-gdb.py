"""Shows the objects of libkelinfra in gdb.

gdb loads this file by itself when it loads the library: docs/debugging.md says from where. It runs no
code of the program, so it serves core files as well as processes. An object that was never
constructed, or was overwritten, is shown as <not readable>; nothing here raises an error.
"""

import re

import gdb
import gdb.printing
import gdb.types

NOT_READABLE = "<not readable>"

# What comes out of an object whose memory, pointers or counts make no sense.
UNREADABLE = (gdb.error, gdb.MemoryError, RuntimeError, ValueError, TypeError, KeyError, OverflowError)

# Of a text that stands in a summary.
LONGEST_SUMMARY = 200

ELEMENTS_OF_A_TREE_PATH = 128


def whole(value):
    """A number of the program as one of Python."""
    return int(value)


def unsigned_long():
    return gdb.selected_inferior().architecture().integer_type(64, False)


def word_at(address):
    """The number or pointer that is kept there."""
    return whole(gdb.Value(address).cast(unsigned_long().pointer()).dereference())


def byte_order():
    number = gdb.Value(b"\x01\x00", gdb.selected_inferior().architecture().integer_type(16, False))
    return "little" if whole(number) == 1 else "big"


def check(sane):
    if not sane:
        raise ValueError("no such object")


def check_memory(address, size):
    """Both ends of it can be read."""
    if size > 0:
        inferior = gdb.selected_inferior()
        inferior.read_memory(address, 1)
        inferior.read_memory(address + size - 1, 1)


def address_of(value):
    """None for a value that gdb keeps itself, such as the result of a function."""
    return None if value.address is None else whole(value.address)


def check_constructed(value):
    """An object with virtual functions points to the table of them."""
    address = address_of(value)
    if address is not None:
        word_at(word_at(address))


def displayable(text):
    """Without what the terminal would obey or cannot show."""
    plain = "".join(c if c.isprintable() else c.encode("unicode_escape").decode() for c in text)
    charset = gdb.host_charset()
    try:
        return plain.encode(charset, "backslashreplace").decode(charset)
    except LookupError:
        return plain.encode("ascii", "backslashreplace").decode("ascii")


def counted(number, noun):
    if number == 1:
        return "1 " + noun
    return "%d %s" % (number, noun + "s" if not noun.endswith("y") else noun[:-1] + "ies")


def lazy_text(address, bits, length, encoding):
    """A text for gdb, which takes no more of it than it prints."""
    if length == 0:
        return '""'
    unit = gdb.selected_inferior().architecture().integer_type(bits, False)
    return gdb.Value(address).cast(unit.pointer()).lazy_string(encoding=encoding, length=length)


class UnicodeText:
    """The content of an icu::UnicodeString, wherever it is kept.

    Read from its 64 bytes: debug information rarely knows the members of the class, since the compilers
    leave a class with virtual functions to the library that holds them, here ICU.
    """

    SIZE = 64
    STATE, BUFFER, LENGTH, CAPACITY, ARRAY = 8, 10, 12, 16, 24

    BOGUS = 1
    IN_STACK_BUFFER = 2
    FLAGS = 0x1F

    def __init__(self, address, raw=None):
        self.order = byte_order()
        self.raw = bytes(gdb.selected_inferior().read_memory(address, self.SIZE)) if raw is None else raw
        if address is not None:
            # An object with virtual functions points to the table of them.
            word_at(self.number(0, 8))
        state = self.number(self.STATE, 2, signed=True)
        self.is_bogus = bool(state & self.BOGUS)
        self.is_inside = bool(state & self.IN_STACK_BUFFER)
        self.length = state >> 5 if state >= 0 else self.number(self.LENGTH, 4, signed=True)
        self.address = None
        if self.is_bogus:
            check(state == self.BOGUS)
        elif self.is_inside:
            check(0 <= self.length <= (self.SIZE - self.BUFFER) // 2)
            self.address = None if address is None else address + self.BUFFER
        else:
            check(0 <= self.length <= self.number(self.CAPACITY, 4, signed=True))
            self.address = self.number(self.ARRAY, 8)
            check_memory(self.address, 2 * self.length)

    @classmethod
    def of(cls, value):
        address = address_of(value)
        return cls(address, cls.bytes_of(value) if address is None else None)

    @classmethod
    def bytes_of(cls, value):
        """Of a value without address, whose members must be known then."""
        fields = value["fUnion"]["fStackFields"]
        units = [fields["fLengthAndFlags"]] + [fields["fBuffer"][i] for i in range((cls.SIZE - cls.BUFFER) // 2)]
        return bytes(8) + b"".join((whole(unit) & 0xFFFF).to_bytes(2, byte_order()) for unit in units)

    def number(self, at, size, signed=False):
        return int.from_bytes(self.raw[at:at + size], self.order, signed=signed)

    def encoding(self):
        return "UTF-16LE" if self.order == "little" else "UTF-16BE"

    def shown(self):
        """In quotes, as a child."""
        if self.is_bogus:
            return "<bogus>"
        if self.address is None:
            return '"%s"' % self.summary()
        return lazy_text(self.address, 16, self.length, self.encoding())

    def leading(self, count):
        size = 2 * min(count, self.length)
        if size == 0:
            return ""
        if self.is_inside:
            units = self.raw[self.BUFFER:self.BUFFER + size]
        else:
            units = bytes(gdb.selected_inferior().read_memory(self.address, size))
        return units.decode(self.encoding(), "backslashreplace")

    def summary(self):
        more = "..." if self.length > LONGEST_SUMMARY else ""
        return displayable(self.leading(LONGEST_SUMMARY)) + more

    def present(self):
        return not self.is_bogus and self.length > 0


class Printer:
    """Base of all: describe() and elements() may fail, what gdb calls does not."""

    hint = None

    def __init__(self, value):
        self.value = value
        try:
            self.text = self.describe()
        except UNREADABLE:
            self.text = None

    def to_string(self):
        return NOT_READABLE if self.text is None else self.text

    def display_hint(self):
        return None if self.text is None else self.hint

    def describe(self):
        raise NotImplementedError

    def class_name(self):
        return gdb.types.get_basic_type(self.value.type).name


class ContainerPrinter(Printer):
    def elements(self):
        raise NotImplementedError

    def children(self):
        if self.text is None:
            return
        try:
            yield from self.elements()
        except UNREADABLE:
            yield "[...]", NOT_READABLE
            if self.hint == "map":
                yield "[...]", NOT_READABLE


class UnicodeStringPrinter(Printer):
    def describe(self):
        text = UnicodeText.of(self.value)
        self.hint = "string" if text.present() and text.address is not None else None
        return text.shown()


def list_nodes(header):
    """The addresses of the elements of a std::list."""
    node = header["_M_impl"]["_M_node"]
    count = whole(node["_M_size"])
    at = first = whole(node["_M_next"])
    for _ in range(count):
        yield at + 16
        at = word_at(at)
        check(at != first)


def list_size(header):
    """How many elements a std::list says it has; its first and last are where they should be."""
    node = header["_M_impl"]["_M_node"]
    count = whole(node["_M_size"])
    first, last = whole(node["_M_next"]), whole(node["_M_prev"])
    check_memory(first, 16)
    # Both ends lead back to the list itself.
    check(word_at(first + 8) == word_at(last) if count else first == last)
    return count


class MessagePrinter(ContainerPrinter):
    """IDENTIFIER: text at FILE:LINE (level N), then the arguments."""

    hint = "array"

    def describe(self):
        identifier, text, file_name = (UnicodeText.of(self.value[name]) for name in ("id_", "text_", "fileName_"))
        list_size(self.value["arguments_"])
        shown = identifier.summary() if identifier.present() else "message without identifier"
        if text.present():
            shown += ": " + text.summary()
        if file_name.present():
            shown += " at %s:%d" % (file_name.summary(), whole(self.value["lineNumber_"]))
        level = whole(self.value["level_"])
        return "%s (%s)" % (shown, "severe" if level == 1 else "level %d" % level)

    def elements(self):
        for index, address in enumerate(list_nodes(self.value["arguments_"])):
            yield "[%d]" % index, UnicodeText(address).shown()


def messages_of(value):
    """Checks a MessageList and gives its first record and the number of records."""
    count, head, tail = (whole(value[field]) for field in ("count_", "head_", "tail_"))
    check((count == 0) == (head == 0) and (head == 0) == (tail == 0))
    if count > 0:
        check(whole(value["tail_"]["next_"]) == 0)
    return value["head_"], count


def list_messages(value):
    record, count = messages_of(value)
    for index in range(count):
        check(whole(record) != 0)
        yield "[%d]" % index, record.dereference()
        record = record["next_"]


class MessageListPrinter(ContainerPrinter):
    hint = "array"

    def describe(self):
        return "%s of %d" % (self.class_name(), messages_of(self.value)[1])

    def elements(self):
        return list_messages(self.value)


class ExceptionPrinter(ContainerPrinter):
    """The class that was thrown, also where only its base is known, and its messages."""

    hint = "array"

    def describe(self):
        check_constructed(self.value)
        _, count = messages_of(self.value["messages"])
        name = self.thrown_class()
        return name if count > 0 else name + " without messages"

    def thrown_class(self):
        try:
            name = gdb.types.get_basic_type(self.value.dynamic_type).name
        except UNREADABLE:
            name = None
        return name or self.class_name()

    def elements(self):
        return list_messages(self.value["messages"])


def byte_text(address, length):
    """Bytes of which nobody says how they are encoded."""
    return lazy_text(address, 8, length, gdb.target_charset())


class TextBytes:
    """The fields of a DataBuffer."""

    def __init__(self, value):
        check_constructed(value)
        self.length, self.capacity = whole(value["length_"]), whole(value["capacity_"])
        self.address = whole(value["data_"])
        inside = value["inline_"].address
        self.is_inline = inside is not None and whole(inside) == self.address
        check(0 <= self.length <= self.capacity and self.address != 0)
        check_memory(self.address, self.capacity + 1)


class DataBufferPrinter(ContainerPrinter):
    def describe(self):
        data = self.data = TextBytes(self.value)
        place = "inline" if data.is_inline else "heap"
        return "%s of length %d, capacity %d (%s)" % (self.class_name(), data.length, data.capacity, place)

    def elements(self):
        yield "bytes", byte_text(self.data.address, self.data.length)


class UTF8StringPrinter(Printer):
    hint = "string"

    def describe(self):
        data = TextBytes(self.value)
        return "" if data.length == 0 else lazy_text(data.address, 8, data.length, "UTF-8")


class ByteBufferPrinter(ContainerPrinter):
    """Its storage is an object of its own, which starts with a table of virtual functions, the data, the
    default storage and its size, the maximum, the capacity and the size."""

    def describe(self):
        storage = whole(self.value["buffer_"])
        self.address, self.capacity, self.size = (word_at(storage + at) for at in (8, 40, 48))
        check(self.size <= self.capacity and (self.address != 0 or self.size == 0))
        check_memory(self.address, self.size)
        return "%s of size %d, capacity %d" % (self.class_name(), self.size, self.capacity)

    def elements(self):
        if self.size > 0:
            yield "bytes", byte_text(self.address, self.size)


class MapNodes:
    """The addresses of the pairs of a std::map in their order, one by one."""

    PARENT, LEFT, RIGHT, PAIR = 8, 16, 24, 32

    def __init__(self, value):
        base = value["_M_t"]["_M_impl"]
        self.count = whole(base["_M_node_count"])
        self.root = whole(base["_M_header"]["_M_parent"])
        self.first = whole(base["_M_header"]["_M_left"])
        check((self.count == 0) == (self.root == 0))
        check_memory(self.first, self.PAIR)

    def __iter__(self):
        node = self.first
        for index in range(self.count):
            if index > 0:
                node = self.after(node)
            yield node + self.PAIR

    def after(self, node):
        right = word_at(node + self.RIGHT)
        if right != 0:
            return self.leftmost(right)
        return self.parent_on_the_right(node)

    def leftmost(self, node):
        for _ in range(ELEMENTS_OF_A_TREE_PATH):
            left = word_at(node + self.LEFT)
            if left == 0:
                return node
            node = left
        raise ValueError("a tree without leaves")

    def parent_on_the_right(self, node):
        for _ in range(ELEMENTS_OF_A_TREE_PATH):
            check(node != self.root)
            parent = word_at(node + self.PARENT)
            if word_at(parent + self.LEFT) == node:
                return parent
            node = parent
        raise ValueError("a tree without root")


class ExtendedPropertiesPrinter(ContainerPrinter):
    hint = "map"

    def describe(self):
        self.pairs = MapNodes(self.value["propertyMap_"])
        includes = list_size(self.value["includeList_"])
        shown = "%s of %s" % (self.class_name(), counted(self.pairs.count, "property"))
        return shown + (", " + counted(includes, "include") if includes else "")

    def elements(self):
        for index, address in enumerate(self.pairs):
            yield "[%d].key" % index, UnicodeText(address).shown()
            yield "[%d].value" % index, UnicodeText(address + UnicodeText.SIZE).shown()


def truth(value):
    number = whole(value)
    check(number in (0, 1))
    return number == 1


class EndpointPrinter(ContainerPrinter):
    """state() with a descriptor, and where it leads to."""

    without_descriptor = ""

    def state(self):
        raise NotImplementedError

    def socket(self):
        return self.value

    def describe(self):
        check_constructed(self.value)
        UnicodeText.of(self.value["hostName_"])
        descriptor = whole(self.socket()["descriptor_"])
        check(-1 <= descriptor < 2**31)
        state = self.state() % descriptor
        return "%s, %s" % (self.class_name(), self.without_descriptor if descriptor == -1 else state)

    def elements(self):
        yield "host", UnicodeText.of(self.value["hostName_"]).shown()
        yield "port", self.value["port_"]


class SocketPrinter(EndpointPrinter):
    without_descriptor = "closed"

    def state(self):
        return "open, descriptor %d " + ("(owned)" if truth(self.value["owner_"]) else "(not owned)")


class SocketServerPrinter(EndpointPrinter):
    without_descriptor = "idle"

    def socket(self):
        return self.value["socket_"]

    def state(self):
        listening = truth(self.value["listening_"]["_M_base"]["_M_i"])
        return ("listening" if listening else "stopped") + ", descriptor %d"


class ThreadPrinter(ContainerPrinter):
    """The flags, and the number that the thread has in gdb while it exists."""

    def describe(self):
        self.running = truth(self.value["running_"])
        joinable = truth(self.value["joinable_"])
        truth(self.value["deleteRunnable_"])
        check(self.started() or not self.running)
        states = ["started" if self.running else "not running" if self.started() else "not started"]
        states += ["joinable"] if joinable else ["not joinable"]
        return "%s, %s" % (self.class_name(), ", ".join(states))

    def started(self):
        return whole(self.value["threadId_"]) != 0

    def elements(self):
        if whole(self.value["name_"]) != 0:
            yield "name", self.value["name_"]
        yield "priority", self.value["priority_"]
        number = self.number_in_gdb() if self.running else None
        if number is not None:
            yield "thread", number
        yield "runnable", self.value["runnable_"]

    def number_in_gdb(self):
        try:
            thread = gdb.selected_inferior().thread_from_handle(self.value["threadId_"])
            return thread.num if thread is not None else None
        except UNREADABLE:
            return None


class Lookup(gdb.printing.PrettyPrinter):
    """Chooses by the name of the type, looked up rather than searched for."""

    def __init__(self):
        self.printers = {}
        self.asking = False
        super().__init__("kelinfra", [])

    def add(self, name, printer):
        subprinter = gdb.printing.SubPrettyPrinter(name)
        self.subprinters.append(subprinter)
        self.printers[name] = (subprinter, printer)

    def __call__(self, value):
        name = gdb.types.get_basic_type(value.type).tag
        subprinter, printer = self.printers.get(re.sub(r"^icu_\d+::", "icu::", name or ""), (None, None))
        if printer is None or not subprinter.enabled:
            return None
        if subprinter.name == "icu::UnicodeString" and self.is_shown_by_others(value):
            return None
        return printer(value)

    def is_shown_by_others(self, value):
        """Whoever brings a printer for ICU's strings keeps it."""
        if self.asking:
            return True
        self.asking = True
        try:
            return any(self.answers(printer, value) for printer in self.others())
        finally:
            self.asking = False

    @staticmethod
    def answers(printer, value):
        try:
            return getattr(printer, "enabled", True) and printer(value) is not None
        except Exception:  # of a stranger, who may raise anything
            return False

    def others(self):
        places = [gdb, gdb.current_progspace()] + gdb.objfiles()
        for place in places:
            for printer in place.pretty_printers:
                if getattr(printer, "name", None) != self.name:
                    yield printer


def make_lookup():
    lookup = Lookup()
    lookup.add("icu::UnicodeString", UnicodeStringPrinter)
    lookup.add("nx::oss::Message", MessagePrinter)
    lookup.add("nx::oss::MessageList", MessageListPrinter)
    for name in ("oss::BaseException", "oss::IOException", "oss::NLSException", "oss::SocketException",
                 "util::Base64Exception", "util::PropertiesException"):
        lookup.add("nx::" + name, ExceptionPrinter)
    lookup.add("nx::oss::DataBuffer", DataBufferPrinter)
    lookup.add("nx::oss::UTF8String", UTF8StringPrinter)
    lookup.add("nx::oss::ByteBuffer", ByteBufferPrinter)
    lookup.add("nx::util::ExtendedProperties", ExtendedPropertiesPrinter)
    lookup.add("nx::oss::Socket", SocketPrinter)
    lookup.add("nx::oss::SocketServer", SocketServerPrinter)
    lookup.add("nx::oss::Thread", ThreadPrinter)
    return lookup


gdb.printing.register_pretty_printer(gdb.current_objfile(), make_lookup(), replace=True)
