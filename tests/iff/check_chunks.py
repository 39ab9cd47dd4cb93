#!/usr/bin/env python3
"""An independent reader of chunk files, for the tests.

Walks a file with the standard chunk module (align=False: the padding of each
family is done here) and prints one line per chunk: depth, identifier, and
the type code of a group or the data of a chunk in hexadecimal. Exits 77 when
the chunk module is not available.
"""
import sys
import warnings

warnings.simplefilter("ignore")
try:
    import chunk
except ImportError:
    sys.exit(77)

ALIGN = {b"FORM": 2, b"CAT ": 2, b"LIST": 2, b"PROP": 2,
         b"FOR4": 4, b"CAT4": 4, b"LIS4": 4, b"PRO4": 4,
         b"FOR8": 8, b"CAT8": 8, b"LIS8": 8, b"PRO8": 8}


def walk(f, end, align, depth, out):
    while f.tell() + 8 <= end:
        c = chunk.Chunk(f, align=False, bigendian=True)
        name, size = c.getname(), c.getsize()
        data_start = f.tell()
        own = max(align, ALIGN.get(name, 1))
        if name in ALIGN:
            out.append("%d %s %s" % (depth, name.decode("latin-1"), f.read(4).decode("latin-1")))
            walk(f, data_start + size, own, depth + 1, out)
        else:
            out.append("%d %s %s" % (depth, name.decode("latin-1"), f.read(size).hex()))
        f.seek(data_start + size + (-size % own))


def main():
    out = []
    with open(sys.argv[1], "rb") as f:
        f.seek(0, 2)
        end = f.tell()
        f.seek(0)
        walk(f, end, 2, 0, out)
    print("\n".join(out))


if __name__ == "__main__":
    main()
