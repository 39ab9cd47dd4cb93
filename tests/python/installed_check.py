"""Imports the installed grundel package from PREFIX/PYTHON_DIR, writes and
walks a file with it, and checks that the library it loaded is the installed
one (found through the module's run path)."""
import os
import sys
import tempfile

prefix, python_dir = os.path.realpath(sys.argv[1]), sys.argv[2]
sys.path.insert(0, os.path.join(prefix, python_dir))

import grundel  # noqa: E402

assert os.path.realpath(grundel.__file__).startswith(prefix), grundel.__file__
with tempfile.TemporaryDirectory() as work:
    name = os.path.join(work, "installed.iff")
    with grundel.iff.Writer(name) as w, w.group("FOR4", "INST"):
        w.chunk("TEXT", b"installed")
    assert [(c.id, c.depth) for c in grundel.iff.walk(name)] == [("FOR4", 0), ("TEXT", 1)]
with open("/proc/self/maps") as maps:
    libraries = {line.split()[-1] for line in maps if "libgrundel" in line}
assert libraries and all(os.path.realpath(p).startswith(prefix) for p in libraries), libraries
print("installed module and library from", prefix)
