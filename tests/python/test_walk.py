"""grundel.iff.walk against an independent struct reader, on files made by
sox, by the library's tool and by hand."""
import gc
import os
import pathlib

import pytest

import grundel
from conftest import chunk, group, module_walk, struct_walk


@pytest.mark.parametrize("args", [
    ["-r", "8000", "-c", "1", "-b", "16", "{}.aiff"],
    ["-r", "11025", "-c", "3", "-b", "8", "{}.aiff"],   # odd sound data: a padding byte
    ["-r", "8000", "-c", "2", "-b", "24", "{}.aifc"],
    ["-r", "8000", "-c", "1", "-e", "floating-point", "-b", "32", "{}.aifc"],
])
def test_sox_files_walk_as_the_struct_reader_sees_them(tmp_path, sox, args):
    name = tmp_path / "sound"
    out = [a.format(name) for a in args]
    sox(*out)
    path = out[-1]
    expected = struct_walk(pathlib.Path(path).read_bytes())
    assert expected[0][1] == "FORM" and len(expected) >= 3
    assert module_walk(path) == expected
    assert module_walk("mmap:" + path) == expected


def test_demo_file_with_every_alignment_and_group_kind(tmp_path, tool):
    path = tmp_path / "demo.iff"
    assert tool("demo", path).returncode == 0
    records = module_walk(path)
    assert records == struct_walk(path.read_bytes())
    assert {r[1] for r in records} >= {"FOR4", "FORM", "FOR8", "LIS4", "PRO4", "CAT4"}


def test_names_as_os_fsencode_gives_them(tmp_path):
    data = group(b"FORM", b"TEST", chunk(b"ABCD", b"abc"))
    odd = os.fsdecode(b"caf\xe9-\xff.iff")  # not UTF-8: surrogate escapes
    (tmp_path / odd).write_bytes(data)
    expected = struct_walk(data)
    for name in (tmp_path / odd, str(tmp_path / odd), os.fsencode(tmp_path / odd)):
        assert module_walk(name) == expected
    with pytest.raises(TypeError):
        grundel.iff.walk(42)


def test_read_rules(tmp_path):
    path = tmp_path / "f.iff"
    path.write_bytes(group(b"FORM", b"TEST", chunk(b"ONE ", b"1"), chunk(b"TWO ", b"22")))
    walk = grundel.iff.walk(path)
    form, one = next(walk), next(walk)
    with pytest.raises(ValueError):
        form.read()
    first = one.read()
    assert first == b"1" and one.read() is first
    two = next(walk)
    with pytest.raises(RuntimeError):
        # Not read while current: the walk has moved on.
        next(walk, None) or two.read()
    assert one.read() == b"1"  # kept from before
    assert repr(form) == "<Chunk 'FORM' 'TEST' size 24 at 0 depth 0>"


def test_unread_and_partly_walked_files_close(tmp_path):
    path = tmp_path / "f.iff"
    path.write_bytes(group(b"FORM", b"TEST", *[chunk(b"DATA", bytes(i)) for i in range(50)]))
    before = len(os.listdir("/proc/self/fd"))
    for _ in range(20):
        with grundel.iff.walk(path) as walk:
            next(walk)
            next(walk)
        assert next(walk, None) is None
        next(grundel.iff.walk(path))  # dropped half way
    gc.collect()
    assert len(os.listdir("/proc/self/fd")) == before


def test_big_chunks_of_mapped_files_are_views_that_outlive_the_walk(tmp_path):
    payload = bytes(range(256)) * 1024  # 256 KiB
    path = tmp_path / "big.iff"
    path.write_bytes(group(b"FOR4", b"BIG ", chunk(b"SMAL", b"xyz", 4), chunk(b"HUGE", payload, 4)))
    walk = grundel.iff.walk("mmap:%s" % path)
    chunks = [(c, c.read() if not c.is_group else None) for c in walk]
    small, big = chunks[1][1], chunks[2][1]
    assert isinstance(small, bytes) and small == b"xyz"
    assert isinstance(big, memoryview) and big.readonly and big.nbytes == len(payload)
    del chunks, walk
    gc.collect()
    assert big == payload  # the mapping lives while the view does
    with pytest.raises(TypeError):
        big[0] = 1
    big.release()
    # From an ordinary file, the same data as bytes.
    assert [c.read() for c in grundel.iff.walk(path) if not c.is_group][1] == payload


def test_special_names_are_a_process_wide_switch(tmp_path):
    import threading

    path = tmp_path / "f.iff"
    data = group(b"FORM", b"TEST", chunk(b"ABCD", b"abcd"))
    path.write_bytes(data)
    with open(path, "rb") as f:
        name = "fd:%d" % f.fileno()
        with pytest.raises(grundel.IffError):
            module_walk(name)  # a path named "fd:N": there is none
        assert grundel.iff.set_special_names(True) is False
        results = []
        thread = threading.Thread(target=lambda: results.append(module_walk("|cat '%s'" % path)))
        thread.start()
        thread.join()
        assert results == [struct_walk(data)]
        assert module_walk(name) == struct_walk(data)
        assert grundel.iff.special_names() is True
