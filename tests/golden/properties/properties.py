#!/usr/bin/env python3
"""Writes the records of this folder byte by byte, without the library. Run it here after a change of this script.

NAME.KIND.stream and NAME.KIND.file hold the same object, KIND being that of the container."""

import struct


def word(number):
    return struct.pack("<I", number & 0xFFFFFFFF)


def real(number):
    return struct.pack("<f", number)


def text(bytes_):
    return word(len(bytes_)) + bytes_


# --- streams: type, value, format; a version of 256 before it inside a container


def prop(type_, value, format_=b""):
    return word(ord(type_)) + value + text(format_)


def versioned(record):
    return word(256) + record


def entries(pairs):
    return word(len(pairs)) + b"".join(text(name) + versioned(record) for name, record in pairs)


def struct_body(pairs, name):
    return b"m" + entries(pairs) + text(name)


def list_body(elements, attributes):
    return b"L" + word(len(elements)) + b"".join(map(versioned, elements)) + b"M" + entries(attributes)


def struct_prop(pairs, name, format_=b""):
    return prop("c", versioned(struct_body(pairs, name)), format_)


def list_prop(elements, attributes, format_=b""):
    return prop("a", versioned(list_body(elements, attributes)), format_)


def point(x, y):
    return struct_prop([(b"x", prop("i", word(x))), (b"y", prop("i", word(y)))], b"Point")


def point_type():
    return [(b"ElementType", struct_prop([], b"Point"))]


scalars = [
    (b"bool", prop("b", b"\x01", b"%d")),
    (b"empty text", prop("s", text(b""))),
    (b"float", prop("f", real(-1.5), b"%.3f m")),
    (b"id", prop("S", word(4711))),
    (b"int", prop("i", word(-2))),
    (b"long", prop("l", word(0x7FFFFFFF), b"%ld")),
    (b"text", prop("s", text(b"a\x00b\xff"))),
    (b"ulong", prop("L", word(0xFFFFFFFE))),
]

open("scalars.manager.stream", "wb").write(b"m" + entries(scalars))
open("scalars.params.stream", "wb").write(
    b"v" + word(len(scalars)) + b"".join(versioned(record) for _, record in scalars)
)
open("points.list.stream", "wb").write(list_body([point(1, 2), point(-3, 0)], point_type()))
open("shape.struct.stream", "wb").write(
    struct_body(
        [
            (b"Name", prop("s", text(b"box"))),
            (b"bounds", point(640, 480)),
            (b"corners", list_prop([point(0, 0), point(1, 1)], point_type(), b"unused")),
        ],
        b"Shape",
    )
)
open("number.property.stream", "wb").write(bytes.fromhex("69000000 07000000 00000000"))

# --- files: type, value; no versions, no formats


def file_entries(pairs):
    return word(len(pairs)) + b"".join(text(name) + record for name, record in pairs)


def file_struct(pairs, name):
    return file_entries(pairs) + text(name)


def file_list(elements, attributes):
    return file_entries(attributes) + word(len(elements)) + b"".join(elements)


def value(type_, bytes_):
    return word(ord(type_)) + bytes_


def file_point(x, y):
    return value("c", file_struct([(b"x", value("i", word(x))), (b"y", value("i", word(y)))], b"Point"))


def file_point_type():
    return [(b"ElementType", value("c", file_struct([], b"Point")))]


file_scalars = [
    (b"bool", value("b", b"\x01")),
    (b"empty text", value("s", text(b""))),
    (b"float", value("f", real(-1.5))),
    (b"id", value("S", word(4711))),
    (b"int", value("i", word(-2))),
    (b"long", value("l", word(0x7FFFFFFF))),
    (b"text", value("s", text(b"a\x00b\xff"))),
    (b"ulong", value("L", word(0xFFFFFFFE))),
    (b"undefined", value("-", b"")),
]

open("scalars.manager.file", "wb").write(file_entries(file_scalars))
open("scalars.params.file", "wb").write(word(len(file_scalars)) + b"".join(record for _, record in file_scalars))
open("points.list.file", "wb").write(file_list([file_point(1, 2), file_point(-3, 0)], file_point_type()))
open("shape.struct.file", "wb").write(
    file_struct(
        [
            (b"Name", value("s", text(b"box"))),
            (b"bounds", file_point(640, 480)),
            (b"corners", value("a", file_list([file_point(0, 0), file_point(1, 1)], file_point_type()))),
        ],
        b"Shape",
    )
)
open("number.property.file", "wb").write(bytes.fromhex("69000000 07000000"))

# the codes of older files: 1 (bool in 4 bytes), 2, 3, 4, 5, 255
open("old.params.file", "wb").write(
    word(7)
    + word(1) + word(7)
    + word(1) + word(0)
    + word(2) + word(-2)
    + word(3) + word(3)
    + word(4) + real(2.5)
    + word(5) + text(b"old")
    + word(255)
)

# a data format "Unit" of version 3 with three numbers
open("unit.format.stream", "wb").write(b"F" + text(b"Unit") + word(3) + word(10) + word(11) + word(12))
