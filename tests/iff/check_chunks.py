#!/usr/bin/env python3
"""An independent reader of chunk files, for the tests.

Walks a file with nothing but struct (big-endian identifier and size, the
padding of each family done here) and prints one line per chunk: depth,
identifier, and the type code of a group or the data of a chunk in
hexadecimal. Exits 1 with a message for a file it cannot walk.
"""
import struct
import sys

ALIGN = {b"FORM": 2, b"CAT ": 2, b"LIST": 2, b"PROP": 2,
         b"FOR4": 4, b"CAT4": 4, b"LIS4": 4, b"PRO4": 4,
         b"FOR8": 8, b"CAT8": 8, b"LIS8": 8, b"PRO8": 8}


def walk(data, at, end, align, depth, out):
    while at + 8 <= end:
        name, size = struct.unpack_from(">4sI", data, at)
        start = at + 8
        if size & 0x80000000 or start + size > end:
            sys.exit("chunk %r at %d: bad size %#x" % (name, at, size))
        own = max(align, ALIGN.get(name, 1))
        if name in ALIGN:
            (kind,) = struct.unpack_from(">4s", data, start)
            out.append("%d %s %s" % (depth, name.decode("latin-1"), kind.decode("latin-1")))
            walk(data, start + 4, start + size, own, depth + 1, out)
        else:
            out.append("%d %s %s" % (depth, name.decode("latin-1"), data[start:start + size].hex()))
        at = start + size + (-size % own)


def main():
    with open(sys.argv[1], "rb") as f:
        data = f.read()
    out = []
    walk(data, 0, len(data), 2, 0, out)
    print("\n".join(out))


if __name__ == "__main__":
    main()
