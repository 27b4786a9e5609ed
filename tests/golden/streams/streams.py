#!/usr/bin/env python3
"""Writes the data streams of this folder byte by byte, without the library. Run it here after a change of this script."""

# int -2, long 1000000, unsigned long 0xFEDCBA98, enumeration 7, float -1.5, true, false
values = bytes.fromhex("FEFFFFFF 40420F00 98BADCFE 07000000 0000C0BF 01 00")

# "", "ab", the localised text 1234, bytes 00 80 FF 0A, "end"
strings = (
    bytes.fromhex("00000000")
    + bytes.fromhex("02000000 61 62")
    + bytes.fromhex("FFFFFFFF D2040000")
    + bytes.fromhex("04000000 00 80 FF 0A")
    + bytes.fromhex("03000000 65 6E 64")
)

# an object of version 256 with the byte A, then one of version 257 with B in it, one of -3 with C in that, then b and a
nested = bytes.fromhex("00010000 41 01010000 42 FDFFFFFF 43 62 61")

# the bits 1 0 1, then 0 eleven times and 1
bits = bytes.fromhex("A0 02")

# a format: F, the name "Unit", version 3, the numbers 1, -2 and 3, and the code "ABCD" of a variable without a value
form = bytes.fromhex("46 04000000 556E6974 03000000 01000000 FEFFFFFF 03000000 41424344")

open("values.stream", "wb").write(values)
open("strings.stream", "wb").write(strings)
open("nested.stream", "wb").write(nested)
open("bits.stream", "wb").write(bits)
open("format.stream", "wb").write(form)
