#!/usr/bin/env python3
"""Writes the archives of this folder byte by byte, without the library. Run it here after a change of this script."""
import struct


def entry(name, offset, size, directory):
    return struct.pack("<256sII B11x", name.encode(), offset, size, directory)


def node(files, directories):
    """A node of (name, bytes) files and (name, bytes of its node) subdirectories, each in the order given."""
    data, table = b"", b""
    for name, content in files:
        table += entry(name, 32 + len(data), len(content), 0)
        data += content
    for name, content in directories:
        table += entry(name, 32 + len(data), len(content), 1)
        data += content
    header = b"ARCX" + struct.pack("<BBIII14x", 1, 0, 32 + len(data) + len(table), 32 + len(data), len(table) // 276)
    return header + data + table


empty = node([], [])
deep = node([("x.bin", bytes(range(256)))], [])
sub = node([("file.txt", b"a file in sub\n")], [("Deep", deep)])
tree = node([("a.txt", b""), ("B.txt", b"Hello, archive.\r\n"), ("c", b"c")], [("Empty", empty), ("sub", sub)])

assert struct.calcsize("<256sII B11x") == 276 and len(empty) == 32
open("empty.arc", "wb").write(empty)
open("tree.arc", "wb").write(tree)
