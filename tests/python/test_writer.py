"""grundel.iff.Writer: files checked by grundel-iff and the struct reader;
exceptions inside with blocks; what the library refuses."""
import array
import struct

import pytest

import grundel
from conftest import module_walk, struct_walk


def test_written_files_pass_the_tool_and_read_back(tmp_path, tool):
    path = tmp_path / "out.iff"
    with grundel.iff.Writer(path) as w:
        with w.group("FORM", "TEST"):
            w.chunk("ODD ", b"abc")                       # one padding byte
            w.chunk(b"ARRY", array.array("h", [1, -2, 3]))
            with w.group("FOR8", "WIDE"):                 # raises the alignment inside
                w.chunk("FIVE", bytearray(b"12345"))
                with w.group("FORM", "KEEP"):             # and it stays raised
                    w.chunk("ONE ", memoryview(b"z"))
            with w.group("LIST", "LIST"):
                with w.group("PROP", "PROP"):
                    w.chunk("NAME", b"")
        assert w.depth == 0
    assert w.closed
    result = tool("check", path)
    assert result.returncode == 0, result.stderr
    data = path.read_bytes()
    records = struct_walk(data)
    assert module_walk(path) == records
    # Sizes of data chunks as written; those of groups the struct reader vouches for.
    assert [(r[0], r[1], r[2], r[3] if r[2] is None else None) for r in records] == [
        (0, "FORM", "TEST", None),
        (1, "ODD ", None, 3), (1, "ARRY", None, 6), (1, "FOR8", "WIDE", None),
        (2, "FIVE", None, 5), (2, "FORM", "KEEP", None), (3, "ONE ", None, 1),
        (1, "LIST", "LIST", None), (2, "PROP", "PROP", None), (3, "NAME", None, 0)]
    assert records[5][3] == 4 + 8 + 8                                  # "ONE " padded to 8 in "FOR8"
    assert data[records[4][4] + 13:records[4][4] + 16] == b"\0\0\0"   # "FIVE" padded to 8
    assert records[2][5] == array.array("h", [1, -2, 3]).tobytes()


def test_an_exception_inside_with_blocks_leaves_a_readable_file(tmp_path, tool):
    path = tmp_path / "broken.iff"
    with pytest.raises(KeyError):
        with grundel.iff.Writer(path) as w:
            with w.group("FOR4", "SCNE"):
                w.chunk("HEAD", b"head")
                with w.group("FOR4", "OBJS"):
                    w.chunk("OBJ1", b"1")
                    raise KeyError("a script's own failure")
    assert tool("check", path).returncode == 0
    assert [r[1] for r in module_walk(path)] == ["FOR4", "HEAD", "FOR4", "OBJ1"]

    # Groups begun without a with block, still open when the exception
    # leaves: closing ends them, innermost first.
    path = tmp_path / "open.iff"
    with pytest.raises(ZeroDivisionError):
        with grundel.iff.Writer(path) as w:
            outer = w.group("FORM", "OUTR")
            w.group("FORM", "INNR")
            w.chunk("DATA", b"xy")
            1 / 0
    assert tool("check", path).returncode == 0
    assert [(r[0], r[1]) for r in module_walk(path)] == [(0, "FORM"), (1, "FORM"), (2, "DATA")]
    outer.end()  # the writer is closed: nothing left to end


def test_ending_an_outer_group_ends_the_inner_ones(tmp_path):
    path = tmp_path / "f.iff"
    with grundel.iff.Writer(path) as w:
        outer = w.group("FORM", "OUTR")
        w.group("FORM", "INNR")
        outer.end()
        assert w.depth == 0
        outer.end()
        w.group("FORM", "NEXT").end()
    assert [r[2] for r in module_walk(path) if r[2]] == ["OUTR", "INNR", "NEXT"]


@pytest.mark.parametrize("action, code", [
    (lambda w: w.chunk("DATA", b"x"), 12),                  # a data chunk at the root
    (lambda w: w.group("PROP", "PROP"), 12),                # a property group at the root
    (lambda w: (w.group("FORM", "TEST"), w.group("PROP", "PROP")), 14),
    (lambda w: w.group("FOR5", "TEST"), 34),
    (lambda w: w.group("FORM", b"\x80BAD"), 3),
])
def test_what_the_library_refuses_raises_its_code(tmp_path, action, code):
    with grundel.iff.Writer(tmp_path / "f.iff") as w:
        with pytest.raises(grundel.IffError) as caught:
            action(w)
    assert caught.value.code == code
    assert caught.value.message == grundel.iff.strerror(code)
    assert caught.value.errno is None and caught.value.filename == tmp_path / "f.iff"


def test_argument_errors(tmp_path):
    w = grundel.iff.Writer(tmp_path / "f.iff")
    g = w.group("FORM", "TEST")
    for bad in ("FOR", "FORMS", "F\u0100RM", b"ABC"):
        with pytest.raises(ValueError):
            w.chunk(bad, b"")
    with pytest.raises(TypeError):
        w.chunk(1234, b"")
    with pytest.raises(TypeError):
        w.chunk("TEXT", "a str is not bytes")
    with pytest.raises((BufferError, TypeError)):
        w.chunk("STEP", memoryview(b"abcdef")[::2])   # not contiguous
    g.end()
    w.close()
    w.close()
    with pytest.raises(ValueError):
        w.group("FORM", "MORE")
    assert [r[1] for r in module_walk(tmp_path / "f.iff")] == ["FORM"]


def test_writing_to_a_command_is_a_stream_with_end_markers(tmp_path, tool):
    path = tmp_path / "piped.iff"
    grundel.iff.set_special_names(True)
    with grundel.iff.Writer("|cat > '%s'" % path) as w, w.group("FORM", "PIPE"):
        w.chunk("DATA", b"abc")
    data = path.read_bytes()
    assert struct.unpack_from(">4sI", data) == (b"FORM", 0x80000002)
    assert b"GEND" in data
    walked = module_walk(path)
    assert walked[0][3] == 0x80000002 and walked[1][1:] == ("DATA", None, 3, 12, b"abc")
    assert tool("check", path).returncode == 0
