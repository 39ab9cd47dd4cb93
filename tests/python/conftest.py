"""Shared helpers of the module's tests: an independent reader of chunk files
written with nothing but struct, and the command-line tool."""
import os
import shutil
import struct
import subprocess

import pytest

ALIGN = {b"FORM": 2, b"CAT ": 2, b"LIST": 2, b"PROP": 2,
         b"FOR4": 4, b"CAT4": 4, b"LIS4": 4, b"PRO4": 4,
         b"FOR8": 8, b"CAT8": 8, b"LIS8": 8, b"PRO8": 8}


# A writer of the 2-byte family as other programs write it: every chunk and
# group padded to 2 (or align) and no further.
def chunk(tag, payload, align=2):
    return tag + struct.pack(">I", len(payload)) + payload + b"\0" * (-len(payload) % align)


def group(gid, gtype, *parts, align=2):
    body = gtype + b"".join(parts)
    return gid + struct.pack(">I", len(body)) + body + b"\0" * (-len(body) % align)


def struct_walk(data):
    """(depth, id, group type or None, size, offset, data or None) of every
    chunk, a group before its contents; only known sizes."""
    out = []
    # An explicit stack, so that deep files do not hit Python's recursion limit.
    stack = [(0, len(data), 2, 0)]
    while stack:
        at, end, align, depth = stack.pop()
        while at + 8 <= end:
            name, size = struct.unpack_from(">4sI", data, at)
            assert size < 0x80000000 and at + 8 + size <= end, "bad chunk at %d" % at
            own = max(align, ALIGN.get(name, 1))
            following = at + 8 + size + (-size % own)
            if name in ALIGN:
                out.append((depth, name.decode("latin-1"), data[at + 8:at + 12].decode("latin-1"), size, at, None))
                stack.append((following, end, align, depth))
                stack.append((at + 12, at + 8 + size, own, depth + 1))
                break
            out.append((depth, name.decode("latin-1"), None, size, at, bytes(data[at + 8:at + 8 + size])))
            at = following
    return out


def module_walk(name):
    """The same records from grundel.iff.walk."""
    import grundel

    return [(c.depth, c.id, c.group_type, c.size, c.offset, None if c.is_group else bytes(c.read()))
            for c in grundel.iff.walk(name)]


@pytest.fixture
def tool():
    """Runs grundel-iff; skips where the tool was not built."""
    path = os.environ.get("GRUNDEL_IFF_TOOL")
    if not path or not os.access(path, os.X_OK):
        pytest.skip("grundel-iff was not built (GRUNDEL_IFF_TOOL)")

    def run(*args):
        return subprocess.run([path, *map(str, args)], capture_output=True, text=True, timeout=60)

    return run


@pytest.fixture
def sox():
    """sox(*options, output) writes 13 ms of a 440 Hz tone with sox; skips
    where sox is not installed."""
    path = shutil.which("sox")
    if not path:
        pytest.skip("sox is not installed")

    def make(*args):
        subprocess.run([path, "-n", *map(str, args), "synth", "0.013", "sine", "440"], check=True, timeout=60)

    return make


@pytest.fixture(autouse=True)
def special_names_off():
    """Every test starts and ends with the process-wide switch off."""
    import grundel

    grundel.iff.set_special_names(False)
    yield
    grundel.iff.set_special_names(False)
