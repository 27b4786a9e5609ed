"""Shows values of the library in gdb as what they mean.

gdb reads this file by itself together with the library when both are installed where the system looks. By hand:
"source common-gdb.py". The library's own debug information must be there, as its classes are described in it alone.

    (gdb) print oName
    $1 = "Eagle"
    (gdb) print oSettings
    $2 = 2 properties = {title = string "Lander", volume = float 0.800000012}
"""

import gdb
import gdb.printing

NO_STRING_ID = -1
STRING_SLOT, STRUCT_SLOT, LIST_SLOT, FORMAT_SLOT, SHORT_TEXT = 1, 2, 4, 8, 16
SPECIAL_CHARACTERS = {ord("'"): "\\'", ord("\\"): "\\\\"}


def first_pointer(value):
    """The pointer that a smart pointer is, whatever is around it."""
    for field in value.type.strip_typedefs().fields():
        if not hasattr(field, "bitpos"):
            continue  # static
        kind = field.type.strip_typedefs().code
        if kind == gdb.TYPE_CODE_PTR:
            return value[field]
        if kind == gdb.TYPE_CODE_STRUCT:
            found = first_pointer(value[field])
            if found is not None:
                return found
    return None


def vector_items(value):
    """The elements of a std::vector."""
    first, behind = value["_M_impl"]["_M_start"], value["_M_impl"]["_M_finish"]
    for index in range(int(behind - first)):
        yield (first + index).dereference()


def std_string(value):
    """A std::string as a Python string."""
    return value["_M_dataplus"]["_M_p"].string(errors="replace", length=int(value["_M_string_length"]))


def map_items(pointer):
    """Names and properties of a std::unique_ptr<CPropertyMap>, in order."""
    pointer = first_pointer(pointer)
    if not pointer:
        return

    tree = pointer.dereference()["m_oEntries"]
    name_type, property_type = (tree.type.strip_typedefs().template_argument(place) for place in (0, 1))
    align = property_type.alignof
    property_offset = (name_type.sizeof + align - 1) // align * align

    head = tree["_M_t"]["_M_impl"]["_M_header"]
    node = head["_M_left"]
    for _ in range(int(tree["_M_t"]["_M_impl"]["_M_node_count"])):
        entry = (node + 1).cast(gdb.lookup_type("char").pointer())
        name = entry.cast(name_type.pointer()).dereference()
        yield std_string(name["m_sText"]), (entry + property_offset).cast(property_type.pointer()).dereference()

        # the next one: the leftmost of the right side, else the first above that is not left behind
        if node["_M_right"]:
            node = node["_M_right"]
            while node["_M_left"]:
                node = node["_M_left"]
        else:
            while node == node["_M_parent"]["_M_right"]:
                node = node["_M_parent"]
            node = node["_M_parent"]


def map_count(pointer):
    pointer = first_pointer(pointer)
    return int(pointer.dereference()["m_oEntries"]["_M_t"]["_M_impl"]["_M_node_count"]) if pointer else 0


def count_of(number, what, several):
    return "%d %s" % (number, what if number == 1 else several)


def quoted_bytes(pointer, length):
    """Bytes in double quotes, with what the debugger escapes."""
    if length == 0:
        return '""'
    return pointer.cast(gdb.lookup_type("char").array(length - 1).pointer()).dereference().format_string()


def quoted(value):
    """The text of a CVQString in double quotes, with what the debugger escapes; "null" without a buffer."""
    data = value["m_oData"]
    pointer, length = data["m_pData"], int(data["m_nLength"])
    if not pointer:
        return "null"
    if not 0 <= length <= int(data["m_nAllocatedLength"]):
        return "<not a string>"
    return quoted_bytes(pointer, length)


def text_of(value):
    """A CVQString in one line: its text, and the number of the localised text that it is."""
    identity = int(value["m_oData"]["m_nStringId"])
    return quoted(value) + (" <string id %d>" % identity if identity != NO_STRING_ID else "")


class StringPrinter:
    """CVQString: "text", with its string id if it has one."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value)


class PathPrinter:
    """CVQPath: "folder/file"."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value["m_oText"])


class StringIdPrinter:
    """CVQStringId: the number."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "string id %d" % int(self.value["m_nId"])


class FourCCPrinter:
    """CVQFourCC: 'DATA'."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = self.value["m_aText"]
        codes = [int(text[place]) & 0xFF for place in range(4)]
        if not any(codes):
            return "empty"
        return "'%s'" % "".join(
            SPECIAL_CHARACTERS.get(code, chr(code)) if 0x20 <= code < 0x7F else "\\%03o" % code for code in codes)


class ClassTypePrinter:
    """CVQClassType: the names from the root down, as in Thing/Ship/Lander."""

    DEEPEST = 100  # of records that are none

    def __init__(self, value):
        self.value = value

    def to_string(self):
        names, record = [], self.value
        while len(names) < self.DEEPEST:
            name = record["m_oName"]["m_oData"]["m_pData"]
            names.append(name.string(errors="replace") if name else "null")
            parent = record["m_pParent"]
            if not parent:
                break
            record = parent.dereference()
        return "/".join(reversed(names))


class ListPrinter:
    """CVQPropertyList: its elements, then its attributes behind an @."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        implementation = self.value["m_aElements"]["_M_impl"]
        return count_of(int(implementation["_M_finish"] - implementation["_M_start"]), "element", "elements")

    def children(self):
        for index, element in enumerate(vector_items(self.value["m_aElements"])):
            yield "[%d]" % index, element
        for name, attribute in map_items(self.value["m_pAttributes"]):
            yield "@" + name, attribute


class StructPrinter:
    """CVQPropertyStruct: its name and its elements."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        name, count = self.value["m_oStructureName"], count_of(map_count(self.value["m_pElements"]), "element", "elements")
        return "%s, %s" % (quoted(name), count) if int(name["m_oData"]["m_nLength"]) != 0 else count

    def children(self):
        return map_items(self.value["m_pElements"])


class ManagerPrinter:
    """CVQPropertyManager: its properties."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return count_of(map_count(self.value["m_pProperties"]), "property", "properties")

    def children(self):
        return map_items(self.value["m_pProperties"])


class ParamsPrinter:
    """CVQParams: its parameters."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        implementation = self.value["m_aParameters"]["_M_impl"]
        return count_of(int(implementation["_M_finish"] - implementation["_M_start"]), "parameter", "parameters")

    def children(self):
        for index, parameter in enumerate(vector_items(self.value["m_aParameters"])):
            yield "[%d]" % index, parameter


class PropertyPrinter:
    """CVQProperty: its type and value, and its format if it has one; a list or struct shows what is in it."""

    def __init__(self, value):
        self.value = value
        self.code = chr(int(value["m_nType"]))

        # what was never asked for is raw memory
        slots = int(value["m_nSlots"])
        self.text = "null"
        if slots & STRING_SLOT:
            self.text = text_of(value["m_oString"])
        elif slots & SHORT_TEXT:
            self.text = quoted_bytes(value["m_oShortText"]["m_aBytes"].address, int(value["m_oShortText"]["m_nLength"]))
        self.format = value["m_oFormat"] if slots & FORMAT_SLOT else None
        self.inner = None
        if self.code == "a" and slots & LIST_SLOT:
            self.inner = ListPrinter(value["m_oList"])
        if self.code == "c" and slots & STRUCT_SLOT:
            self.inner = StructPrinter(value["m_oStruct"])

    def show(self):
        number = int(self.value["m_nInteger"])
        inner = self.inner.to_string() if self.inner is not None else "0 elements"
        return {
            "-": "undefined",
            "L": "unsigned long %d" % (number & 0xFFFFFFFF),
            "S": "string " + self.text,
            "a": "list, " + inner,
            "b": "bool " + ("true" if number != 0 else "false"),
            "c": "struct, " + inner,
            "f": "float " + self.value["m_fFloat"].format_string(),
            "i": "int %d" % number,
            "l": "long %d" % number,
            "s": "string " + self.text,
        }.get(self.code, "<not a property>")

    def to_string(self):
        has_format = self.format is not None and int(self.format["m_oData"]["m_nLength"]) != 0
        return self.show() + (", format " + quoted(self.format) if has_format else "")

    def children(self):
        return self.inner.children() if self.inner is not None else iter(())


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("Common")
    for name, printer in (
        ("CVQString", StringPrinter),
        ("CVQPath", PathPrinter),
        ("CVQStringId", StringIdPrinter),
        ("CVQFourCC", FourCCPrinter),
        ("CVQClassType", ClassTypePrinter),
        ("CVQProperty", PropertyPrinter),
        ("CVQPropertyList", ListPrinter),
        ("CVQPropertyStruct", StructPrinter),
        ("CVQPropertyManager", ManagerPrinter),
        ("CVQParams", ParamsPrinter),
    ):
        printers.add_printer(name, "^%s$" % name, printer)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
