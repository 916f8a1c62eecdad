"""Shows the library's strings, buffers and shared pointers in gdb.

Loaded by gdb on its own where it is installed beside the library, else with "source q9util-gdb.py".
"""
import gdb
import gdb.printing

HEADER_BYTES = 12          # reference count, length, capacity
MOST_UNITS = 1 << 20       # a damaged length must not make gdb read for ever
MOST_BYTES_SHOWN = 32


def read(address, length):
    """Bytes of the program's memory; None where there are none."""
    try:
        return gdb.selected_inferior().read_memory(address, length).tobytes()
    except gdb.MemoryError:
        return None


class StringPrinter:
    """CXString: its text."""

    def __init__(self, value):
        self.text = int(value["m_pchData"])
        header = read(self.text - HEADER_BYTES, HEADER_BYTES) if self.text else None
        self.header = header and [int.from_bytes(header[i:i + 4], "little", signed=True) for i in (0, 4, 8)]

    def to_string(self):
        if not self.header:
            return "<not a string: 0x%x>" % self.text
        references, length, capacity = self.header
        if not 0 <= length <= min(capacity, MOST_UNITS):
            return "<damaged string: length %d, capacity %d>" % (length, capacity)
        units = read(self.text, 2 * length) if length else b""
        if units is None:
            return "<unreadable string: length %d>" % length
        return units.decode("utf-16-le", "backslashreplace")

    def display_hint(self):
        return "string" if self.header else None


class BufferPrinter:
    """ByteBuffer: its length and first bytes."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        vector = self.value["m_vbyData"]["_M_impl"]
        start, finish = int(vector["_M_start"]), int(vector["_M_finish"])
        shown = read(start, min(finish - start, MOST_BYTES_SHOWN)) if finish > start else b""
        if shown is None:
            return "<unreadable buffer>"
        more = " ..." if finish - start > MOST_BYTES_SHOWN else ""
        return "%d bytes%s%s%s" % (finish - start, ": " if shown else "", shown.hex(" ").upper(), more)


class SharedPointerPrinter:
    """VlmSharedPtr: how many share the object, and the object itself."""

    def __init__(self, value):
        self.block = value["m_pBlock"]

    def to_string(self):
        if not int(self.block):
            return "null"
        count = int(self.block["m_lRefs"]["_M_i"])
        return "shared by %d%s" % (count, "" if int(self.block["m_lOwns"]["_M_i"]) else ", not owned")

    def children(self):
        if int(self.block):
            yield "object", self.block["m_pObject"].dereference()


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("q9util")
    printers.add_printer("CXString", "^CXString$", StringPrinter)
    printers.add_printer("ByteBuffer", "^ByteBuffer$", BufferPrinter)
    printers.add_printer("VlmSharedPtr", "^VlmSharedPtr<.*>$", SharedPointerPrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
