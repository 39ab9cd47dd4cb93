#!/usr/bin/env python3
"""Reading typed arrays: grundel.data.load of a file of doubleArray (DBL#)
chunks into native-order NumPy arrays, beside a walker written with struct
that turns each chunk into an array with numpy.frombuffer(..., '>f8')
.astype('=f8'), the way a script would otherwise do it.

    PYTHONPATH=build/release/python python3 bench/python/data_bench.py [MEGABYTES]

Each case runs five times (one pass each after a warm-up); the median is
reported, with the ratio struct / grundel (above 1: grundel is faster).
Google Benchmark cannot time Python code, hence a script.
"""
import os
import statistics
import struct
import sys
import tempfile
import timeit

import numpy as np

import grundel
import grundel.data

ELEMENTS = 131072  # one megabyte of doubles per chunk


def make_file(name, megabytes):
    values = np.arange(ELEMENTS, dtype=np.float64) * 0.5
    pairs = [("DBL#", values + i) for i in range(megabytes)]
    grundel.data.save(name, [("ARRS", grundel.data.Group("FOR4", "ARRS", pairs))])


def grundel_arrays(name):
    [(_, group)] = grundel.data.load(name)
    return [value for tag, value in group if tag == "DBL#"]


def struct_arrays(name):
    """The DBL# chunks of the file's one FOR4 group (4-byte padding)."""
    with open(name, "rb") as f:
        data = f.read()
    unpack = struct.Struct(">4sI").unpack_from
    _, size = unpack(data, 0)
    at, end = 12, 8 + size
    arrays = []
    while at + 8 <= end:
        cid, size = unpack(data, at)
        if cid == b"DBL#":
            arrays.append(np.frombuffer(data, ">f8", size // 8, at + 8).astype("=f8"))
        at += 8 + size + (-size % 4)
    return arrays


def median_seconds(function, name):
    function(name)
    return statistics.median(timeit.repeat(lambda: function(name), number=1, repeat=5))


def main():
    megabytes = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    with tempfile.TemporaryDirectory() as work:
        name = os.path.join(work, "arrays.iff")
        make_file(name, megabytes)
        ours, theirs = grundel_arrays(name), struct_arrays(name)
        assert len(ours) == len(theirs) == megabytes
        assert all(np.array_equal(a, b) and a.dtype == b.dtype for a, b in zip(ours, theirs))
        del ours, theirs
        print("reading %d DBL# chunks of %d doubles (%d bytes) into native arrays; median of 5; "
              "the machine may be shared" % (megabytes, ELEMENTS, os.path.getsize(name)))
        for case, path in (("file", name), ("mmap: file", "mmap:" + name)):
            mine = median_seconds(grundel_arrays, path)
            peer = median_seconds(struct_arrays, name)
            print("  %-12s grundel %8.2f ms   struct+numpy %8.2f ms   ratio %.2fx"
                  % (case, mine * 1e3, peer * 1e3, peer / mine))


if __name__ == "__main__":
    main()
