#!/usr/bin/env python3
"""Walking a chunk file of many small chunks: grundel.iff.walk beside a
walker written with struct, the way a script would otherwise do it.

    PYTHONPATH=build/release/python python3 bench/python/walk_bench.py [CHUNKS]

Each case runs five times (timeit, one pass each after a warm-up); the median
is reported, with the ratio struct / grundel (above 1: grundel is faster).
Google Benchmark cannot time Python code, hence a script.
"""
import os
import statistics
import struct
import sys
import tempfile
import timeit

import grundel

GROUPS = {b"FORM": 2, b"CAT ": 2, b"LIST": 2, b"PROP": 2,
          b"FOR4": 4, b"CAT4": 4, b"LIS4": 4, b"PRO4": 4,
          b"FOR8": 8, b"CAT8": 8, b"LIS8": 8, b"PRO8": 8}


def struct_walk(name):
    """(depth, id, group type, size, offset, data) of every chunk."""
    with open(name, "rb") as f:
        data = f.read()
    unpack = struct.Struct(">4sI").unpack_from
    stack = [(0, len(data), 2, 0)]
    while stack:
        at, end, align, depth = stack.pop()
        while at + 8 <= end:
            cid, size = unpack(data, at)
            own = max(align, GROUPS.get(cid, 1))
            following = at + 8 + size + (-size % own)
            if cid in GROUPS:
                yield depth, cid.decode("latin-1"), data[at + 8:at + 12].decode("latin-1"), size, at, None
                stack.append((following, end, align, depth))
                stack.append((at + 12, at + 8 + size, own, depth + 1))
                break
            yield depth, cid.decode("latin-1"), None, size, at, data[at + 8:at + 8 + size]
            at = following


def make_file(name, count):
    ids = ["D%03d" % i for i in range(64)]
    with grundel.iff.Writer(name) as w, w.group("FOR4", "MANY"):
        for i in range(count):
            w.chunk(ids[i % 64], b"x" * (i % 13))


def grundel_sizes(name):
    total = 0
    for chunk in grundel.iff.walk(name):
        total += chunk.size
    return total


def struct_sizes(name):
    total = 0
    for _, _, _, size, _, _ in struct_walk(name):
        total += size
    return total


def grundel_data(name):
    total = 0
    for chunk in grundel.iff.walk(name):
        if not chunk.is_group:
            total += len(chunk.read())
    return total


def struct_data(name):
    total = 0
    for _, _, group_type, _, _, data in struct_walk(name):
        if group_type is None:
            total += len(data)
    return total


def median_seconds(function, name):
    function(name)
    return statistics.median(timeit.repeat(lambda: function(name), number=1, repeat=5))


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100_000
    with tempfile.TemporaryDirectory() as work:
        name = os.path.join(work, "many.iff")
        make_file(name, count)
        assert grundel_sizes(name) == struct_sizes(name) and grundel_data(name) == struct_data(name)
        print("walking %d small chunks (%d bytes); median of 5; the machine may be shared"
              % (count, os.path.getsize(name)))
        for case, ours, theirs in (("ids and sizes", grundel_sizes, struct_sizes),
                                   ("with read()", grundel_data, struct_data)):
            mine, peer = median_seconds(ours, name), median_seconds(theirs, name)
            print("  %-14s grundel %8.2f ms   struct %8.2f ms   ratio %.2fx"
                  % (case, mine * 1e3, peer * 1e3, peer / mine))


if __name__ == "__main__":
    main()
