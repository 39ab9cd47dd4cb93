"""grundel.data.save: exact bytes for other writers' files, standard streams,
and integers that must not be rounded or wrapped."""
import pathlib
import struct
import subprocess
import sys

import pytest

np = pytest.importorskip("numpy")

import grundel
from conftest import chunk, group, struct_walk
from grundel.data import Group, Value, load, save


def mesh(*extra):
    return group(b"FORM", b"MESH", chunk(b"VERT", b"\1\2\3\4\5\6"), chunk(b"SRT3", struct.pack(">3h", 1, 2, 3)),
                 chunk(b"UVS ", b"\7\7"), *extra)


def scene(*mesh_extra, aligned_extra=()):
    return group(
        b"FORM", b"SCEN",
        chunk(b"NAME", b"abcde"),
        chunk(b"DBLE", struct.pack(">d", 2.5)),
        group(b"LIST", b"OBJS", group(b"PROP", b"OBJ ", chunk(b"COLR", b"rgb"))),
        mesh(*mesh_extra),
        group(b"FOR8", b"ALGN", chunk(b"DATA", b"12345", align=8), *aligned_extra, align=8),
        group(b"CAT ", b"TAKE", group(b"FORM", b"EMPT"), chunk(b"ODD ", b"x")),
    )


def meshes(pairs):
    """The MESH group of a loaded scene."""
    [(_, top)] = pairs
    [found] = [value for tag, value in top if tag == "MESH"]
    return found


class TestOtherWritersPadding:
    def test_groups_padded_to_two_come_back_byte_for_byte(self, tmp_path):
        data = scene()
        records = struct_walk(data)
        # The case that matters: groups whose size the library would round on.
        assert [r[2] for r in records if r[2] and r[3] % 4 == 2] == ["SCEN", "MESH", "TAKE"]
        path = tmp_path / "scene.iff"
        path.write_bytes(data)
        save(tmp_path / "again.iff", load(path))
        assert (tmp_path / "again.iff").read_bytes() == data
        save(tmp_path / "mapped.iff", load("mmap:%s" % path))
        assert (tmp_path / "mapped.iff").read_bytes() == data

    def test_edited_groups_keep_their_padding_with_sizes_recomputed(self, tmp_path):
        path = tmp_path / "scene.iff"
        path.write_bytes(scene())
        pairs = load(path)
        meshes(pairs).append(("NOTE", Value("NOTE", b"xyz")))
        # A value the library writes with its size learnt on closing: padded to 4.
        meshes(pairs).append(("SRT3", (7, 8, 9)))
        [aligned] = [value for tag, value in pairs[0][1] if tag == "ALGN"]
        aligned.append(("SRT2", (1, 2)))
        save(tmp_path / "edited.iff", pairs)
        # MESH grew by 28 bytes, the scene by 44: both still end on a 2-byte
        # boundary only.
        letters = chunk(b"SRT3", struct.pack(">3h", 7, 8, 9), align=4)
        expected = scene(chunk(b"NOTE", b"xyz"), letters,
                         aligned_extra=[chunk(b"SRT2", struct.pack(">2h", 1, 2), align=8)])
        assert (tmp_path / "edited.iff").read_bytes() == expected

    def test_a_group_inside_itself_is_refused(self, tmp_path):
        path = tmp_path / "small.iff"
        path.write_bytes(group(b"FORM", b"TEST", chunk(b"NAME", b"ab")))
        [(_, top)] = load(path)
        top.append(("TEST", top))
        with pytest.raises(grundel.IffError) as caught:
            save(tmp_path / "loop.iff", [("TEST", top)])
        assert caught.value.code == 6

    def test_groups_made_by_scripts_are_written_as_the_library_writes_them(self, tmp_path):
        out = tmp_path / "new.iff"
        save(out, [("TEST", Group("FORM", "TEST", [("NAME", Value("NAME", b"abcdef"))]))])
        assert out.read_bytes() == group(b"FORM", b"TEST", chunk(b"NAME", b"abcdef"), align=4)


@pytest.mark.parametrize("args", [
    ["-r", "8000", "-c", "1", "-b", "16", "{}.aiff"],
    ["-r", "44100", "-c", "1", "-b", "16", "{}.aiff"],
    ["-r", "8000", "-c", "2", "-b", "24", "{}.aifc"],
    ["-r", "8000", "-c", "1", "-e", "floating-point", "-b", "32", "{}.aifc"],
])
def test_sox_files_come_back_byte_for_byte(tmp_path, sox, args):
    name = tmp_path / "sound"
    out = [a.format(name) for a in args]
    sox(*out)
    path = pathlib.Path(out[-1])
    save(tmp_path / "again.aiff", load(path))
    assert (tmp_path / "again.aiff").read_bytes() == path.read_bytes()


def test_sox_file_whose_last_padding_byte_is_outside_its_group(tmp_path, sox):
    # Odd sound data: the file ends before the padding byte, which the
    # library's writer always writes. The values come back all the same.
    path = tmp_path / "odd.aiff"
    sox("-r", "11025", "-c", "3", "-b", "8", path)
    save(tmp_path / "again.aiff", load(path))
    assert load(tmp_path / "again.aiff") == load(path)
    assert (tmp_path / "again.aiff").read_bytes()[-1:] == b"\0"


class TestStandardStreams:
    @staticmethod
    def run(*args, **kwargs):
        """A script of its own, whose standard streams the test gives."""
        return subprocess.run([sys.executable, "-c", *map(str, args)], timeout=60, **kwargs)

    def test_dash_reads_stdin_and_writes_stdout(self, tmp_path):
        path = tmp_path / "scene.iff"
        path.write_bytes(scene())
        copy = tmp_path / "copy.iff"
        with open(path, "rb") as stdin, open(copy, "wb") as stdout:
            done = self.run("import grundel.data as d; d.save('-', d.load('-'))", stdin=stdin, stdout=stdout)
        assert done.returncode == 0
        assert copy.read_bytes() == scene()  # a file behind stdout can seek: exact

    def test_a_pipe_gets_what_was_printed_first_then_a_stream_of_chunks(self, tmp_path):
        path = tmp_path / "scene.iff"
        path.write_bytes(scene())
        code = "import sys, grundel.data as d; print('note'); d.save('-', d.load(sys.argv[1]))"
        out = self.run(code, path, capture_output=True)
        assert out.returncode == 0, out.stderr
        assert out.stdout.startswith(b"note\n")
        streamed = tmp_path / "streamed.iff"
        streamed.write_bytes(out.stdout[len(b"note\n"):])
        assert load(streamed) == load(path)

    def test_a_file_named_dash_is_reached_as_dot_slash_dash(self, tmp_path, monkeypatch):
        monkeypatch.chdir(tmp_path)
        (tmp_path / "-").write_bytes(scene())
        assert load("./-") == load(tmp_path / "-")


class TestIntegerClasses:
    @pytest.mark.parametrize("tag, value, error", [
        ("LNG2", (1.0, 2), TypeError),
        ("LNG3", (1, 2, np.float64(3)), TypeError),
        ("SRT2", (1, "2"), TypeError),
        ("SRT3", (1, 2, 40000), OverflowError),
        ("SRT2", (-32769, 0), OverflowError),
        ("LNG2", (2**31, 0), OverflowError),
        ("I32#", [1, 2.5], TypeError),
        ("I32#", np.array([1.0, 2.0]), TypeError),
        ("I32#", np.array([0, 2**31], dtype=np.int64), OverflowError),
        ("I32#", np.array([2**32 - 1], dtype=np.uint32), OverflowError),
        ("U64#", [-1], OverflowError),
        ("U64#", [2**64], OverflowError),
        ("U64#", np.array([5, -1], dtype=np.int8), OverflowError),
        ("U64#", np.array([1.5]), TypeError),
        ("U64#", "12", TypeError),
    ])
    def test_floats_and_numbers_out_of_range_are_refused(self, tmp_path, tag, value, error):
        with pytest.raises(error) as caught:
            save(tmp_path / "out.iff", [("TEST", Group("FORM", "TEST", [(tag, value)]))])
        assert tag in str(caught.value)

    def test_integers_in_range_go_in_from_any_integer_kind(self, tmp_path):
        out = tmp_path / "out.iff"
        given = [
            ("LNG2", (np.int64(-2**31), True)),
            ("SRT3", (-32768, np.uint16(32767), 0)),
            ("I32#", np.arange(-3, 3)),                                   # int64, in range
            ("I32#", np.array([-2**31, 2**31 - 1], dtype=np.int64)),
            ("I32#", np.array([1, 2], dtype=object)),
            ("U64#", [2**64 - 1, np.uint64(7), 0]),
            ("U64#", np.array([255], dtype=np.uint8)),
            ("U64#", np.array([], dtype=np.int64)),
            ("DBL#", [1, 2**53]),                                         # a float class takes integers
        ]
        save(out, [("TEST", Group("FORM", "TEST", given))])
        back = [value for _, value in load(out)[0][1]]
        assert back[0] == (-2**31, 1) and back[1] == (-32768, 32767, 0)
        assert list(back[2]) == list(range(-3, 3)) and list(back[3]) == [-2**31, 2**31 - 1]
        assert list(back[4]) == [1, 2]
        assert [int(x) for x in back[5]] == [2**64 - 1, 7, 0] and list(back[6]) == [255] and len(back[7]) == 0
        assert list(back[8]) == [1.0, 2.0**53]
