"""grundel.data: typed values read into Python forms and written back."""
import gc
import math
import random
import struct

import pytest

np = pytest.importorskip("numpy")

import grundel
from grundel.data import Group, Value, load, save


def chunk(tag, payload):
    return tag + struct.pack(">I", len(payload)) + payload + b"\0" * (len(payload) % 2)


def letter(tag, payload):
    """A chunk as the library writes a value whose size it learns on closing:
    padded to a multiple of 4."""
    return tag + struct.pack(">I", len(payload)) + payload + b"\0" * (-len(payload) % 4)


def form(kind, *chunks):
    """A group as the library writes it: padded to a multiple of 4 too."""
    body = kind + b"".join(chunks)
    return b"FORM" + struct.pack(">I", len(body)) + body + b"\0" * (-len(body) % 4)


def child(tag, payload):
    return tag + struct.pack(">I", len(payload)) + payload + b"\0" * (-len(payload) % 4)


def attribute(name, tag, payload):
    raw = name.encode()
    return (struct.pack(">I", len(raw)) + raw + b"\0" * (-len(raw) % 4) + tag + struct.pack(">I", len(payload))
            + payload)


MATRIX = [1.0, 0, 0, 0, 0, 2.0, 0, 0, 0, 0, 3.0, 0, 10.0, 20.0, 30.0, 1.0]

# One chunk of every value class the registry knows (but addresses, which
# are never written), written here with struct alone.
EVERY_CLASS = form(
    b"TEST",
    chunk(b"DBLE", struct.pack(">d", 0.1)),
    chunk(b"DBLE", struct.pack(">i", 480)),                     # a time
    letter(b"DBL2", struct.pack(">2d", 1.5, -2.5)),
    letter(b"DBL3", struct.pack(">3d", 1, 2, 3)),
    letter(b"DBL4", struct.pack(">4d", 1, 2, 3, 4)),
    letter(b"FLT2", struct.pack(">2f", 0.25, 1e-3)),
    letter(b"FLT3", struct.pack(">3f", 1, 2, 3)),
    letter(b"LNG2", struct.pack(">2i", -2**31, 2**31 - 1)),
    letter(b"LNG3", struct.pack(">3i", 1, -2, 3)),
    letter(b"SRT2", struct.pack(">2h", -32768, 32767)),
    letter(b"SRT3", struct.pack(">3h", 1, 2, -3)),
    letter(b"MATR", struct.pack(">16d", *MATRIX)),
    letter(b"MATR", b"\0" * 328),                                # a transformation record
    letter(b"SRGB", struct.pack(">3f", 0.5, 0.25, 1)),
    letter(b"RRGB", struct.pack(">3f", 0.1, 0.2, 0.3)),
    letter(b"I32#", struct.pack(">4i", 7, -1, 0, 2**31 - 1)),
    letter(b"DBL#", struct.pack(">3d", math.pi, -0.0, 1e300)),
    letter(b"U64#", struct.pack(">2Q", 2**64 - 1, 5)),
    letter(b"DBL#", b""),
    letter(b"BINA", b"\x00\xff\x7a"),
    letter(b"CMPD", child(b"DBLE", struct.pack(">d", 2.0)) + child(b"BINA", b"abcde")),
    letter(b"NWP#", struct.pack(">I", 1) + attribute("id", b"I32#", struct.pack(">2i", 7, 9))),
    chunk(b"ZZZZ", b"nobody registered this"),
)


def write(path, data):
    path.write_bytes(data)
    return path


def values(pairs):
    """The pairs of the file's one FORM."""
    [(kind, group)] = pairs
    assert isinstance(group, Group)
    return group


class TestForms:
    def test_every_class_comes_back_in_its_form(self, tmp_path):
        pairs = load(write(tmp_path / "every.iff", EVERY_CLASS))
        assert pairs[0][0] == "TEST" and pairs[0][1].id == "FORM" and pairs[0][1].type == "TEST"
        got = values(pairs)
        assert [tag for tag, _ in got] == ["DBLE", "DBLE", "DBL2", "DBL3", "DBL4", "FLT2", "FLT3", "LNG2", "LNG3",
                                          "SRT2", "SRT3", "MATR", "MATR", "SRGB", "RRGB", "I32#", "DBL#", "U64#",
                                          "DBL#", "BINA", "CMPD", "NWP#", "ZZZZ"]
        v = [value for _, value in got]
        assert v[0] == 0.1 and isinstance(v[0], float)
        assert isinstance(v[1], Value) and v[1].text == "time 480"
        assert v[2] == (1.5, -2.5) and v[4] == (1.0, 2.0, 3.0, 4.0)
        assert v[5] == (0.25, float(np.float32(1e-3)))
        assert v[7] == (-2**31, 2**31 - 1) and all(isinstance(x, int) for x in v[7])
        assert v[9] == (-32768, 32767) and v[10] == (1, 2, -3)
        # Row vectors: the translation is row 3.
        assert v[11].shape == (4, 4) and list(v[11][3]) == [10.0, 20.0, 30.0, 1.0] and v[11][1, 1] == 2.0
        assert not v[11].flags.writeable
        assert v[15].dtype == np.int32 and list(v[15]) == [7, -1, 0, 2**31 - 1]
        assert v[16].dtype == np.float64 and v[16][0] == math.pi and math.copysign(1, v[16][1]) < 0
        assert v[17].dtype == np.uint64 and int(v[17][0]) == 2**64 - 1
        assert v[18].shape == (0,)
        for i in (12, 13, 14, 19, 20, 21, 22):
            assert isinstance(v[i], Value) and v[i].tag == got[i][0]
        assert v[19].data == b"\x00\xff\x7a"
        assert v[22].data == b"nobody registered this" and v[22].text == ""
        assert "Int32Array" in v[21].text and "2 7 9" in v[21].text

    def test_values_whose_form_would_lose_bytes_stay_bytes(self, tmp_path):
        signalling = struct.pack(">I", 0x7F800001)  # comes back quieted
        data = form(b"TEST",
                    letter(b"FLT2", signalling + struct.pack(">f", 1)),
                    chunk(b"DBL#", struct.pack(">d", 1) + b"xyz"),       # a partial element
                    chunk(b"DBL2", struct.pack(">3d", 1, 2, 3)),          # bytes left over
                    chunk(b"DBL2", b"short"),                             # refused
                    chunk(b"MATR", struct.pack(">32d", *range(32))),      # two matrices
                    chunk(b"DBLE", b"\1\2\3"),
                    chunk(b"SRT3", struct.pack(">3h", 1, 2, 3)),          # padded to 2, not 4
                    letter(b"BINA", b"xyzzy"))
        path = write(tmp_path / "odd.iff", data)
        assert [type(value) for _, value in values(load(path))] == [Value] * 8
        save(tmp_path / "again.iff", load(path))
        assert (tmp_path / "again.iff").read_bytes() == data


class TestRoundTrip:
    def test_a_file_of_every_class_is_written_back_byte_for_byte(self, tmp_path):
        path = write(tmp_path / "every.iff", EVERY_CLASS)
        save(tmp_path / "again.iff", load(path))
        assert (tmp_path / "again.iff").read_bytes() == EVERY_CLASS
        save(tmp_path / "mapped.iff", load("mmap:%s" % path))
        assert (tmp_path / "mapped.iff").read_bytes() == EVERY_CLASS

    def test_what_save_wrote_comes_back_the_same(self, tmp_path):
        pairs = [("SCEN", Group("FORM", "SCEN", [
            ("DBLE", 2.5), ("DBLE", 3), ("LNG3", (1, 2, 3)), ("FLT2", [0.1, 0.2]),
            ("DBL#", np.linspace(0, 1, 1001)), ("I32#", [5, 6]), ("U64#", np.arange(3, dtype=np.uint8)),
            ("MATR", np.arange(16.0).reshape(4, 4)),
            ("PROP", Group("LIST", "PROP", [("PROP", Group("PROP", "OBJ ", [("BINA", Value("BINA", b"\1"))]))])),
            ("NEST", Group("CAT ", "NEST", [("NEST", Group("FORM", "NEST", []))])),
            ("ODD ", Value("ODD ", b"abc")),
        ]))]
        first = tmp_path / "first.iff"
        save(first, pairs)
        back = load(first)
        group = values(back)
        assert group[1] == ("DBLE", 3.0) and group[3][1] == (float(np.float32(0.1)), float(np.float32(0.2)))
        assert np.array_equal(group[4][1], np.linspace(0, 1, 1001)) and list(group[6][1]) == [0, 1, 2]
        assert group[8][1][0][1].id == "PROP" and group[9][1].id == "CAT "
        second = tmp_path / "second.iff"
        save(second, back)
        assert second.read_bytes() == first.read_bytes()

    def test_files_the_text_tool_round_trips(self, tmp_path, tool):
        path = write(tmp_path / "every.iff", EVERY_CLASS)
        assert tool("totext", path).returncode == 0
        (tmp_path / "every.txt").write_text(tool("totext", path).stdout)
        made = tmp_path / "made.iff"
        assert tool("fromtext", tmp_path / "every.txt", made).returncode == 0
        save(tmp_path / "again.iff", load(made))
        assert (tmp_path / "again.iff").read_bytes() == made.read_bytes()


class TestArrays:
    def test_arrays_share_the_decoded_elements_and_outlive_the_reader(self, tmp_path):
        elements = np.arange(100000, dtype=">f8")
        path = write(tmp_path / "big.iff", form(b"TEST", chunk(b"DBL#", elements.tobytes())))
        array = values(load(path))[0][1]
        assert not array.flags.owndata and type(array.base).__name__ == "PyCapsule"
        assert not array.flags.writeable and array.dtype.isnative
        with pytest.raises(ValueError):
            array[0] = 1
        gc.collect()
        path.unlink()
        junk = [np.ones(100000) for _ in range(4)]  # reuse freed memory, were it freed
        assert np.array_equal(array, elements) and junk
        view = array[10:20]
        del array
        gc.collect()
        assert list(view) == list(range(10, 20))


class TestBadInput:
    def test_a_file_cut_anywhere_raises_iff_error(self, tmp_path):
        path = tmp_path / "cut.iff"
        codes = set()
        for length in range(1, len(EVERY_CLASS) - 2):  # missing final padding is tolerated
            write(path, EVERY_CLASS[:length])
            with pytest.raises(grundel.IffError) as caught:
                load(path)
            codes.add(caught.value.code)
        assert codes <= {5, 8} and 8 in codes

    def test_hostile_files(self, tmp_path):
        def code(data):
            with pytest.raises(grundel.IffError) as caught:
                load(write(tmp_path / "bad.iff", data))
            return caught.value.code

        huge = b"FORM" + struct.pack(">I", 0x7FFFFF00) + b"TEST" + b"DBL#" + struct.pack(">I", 0x7FFF0000) + b"tiny"
        assert code(huge) == 8
        assert code(form(b"TEST", b"DBL#" + struct.pack(">I", 0x80000004) + b"abcd")) == 16
        assert code(chunk(b"DBLE", b"12345678")) == 12
        deep = b""
        for _ in range(1100):
            deep = form(b"NEST", deep)
        assert code(deep) == 6
        nested = child(b"BINA", b"x")
        for _ in range(40):                       # deeper than compounds may nest
            nested = child(b"CMPD", nested)
        deep_compound = form(b"TEST", chunk(b"CMPD", nested))
        assert isinstance(values(load(write(tmp_path / "c.iff", deep_compound)))[0][1], Value)
        with pytest.raises(grundel.IffError) as caught:
            load(tmp_path / "missing.iff")
        assert caught.value.code == 40 and caught.value.filename == tmp_path / "missing.iff"

    def test_mutated_files_load_or_raise_iff_error(self, tmp_path):
        rng = random.Random(2024)
        path = tmp_path / "mutant.iff"
        loaded = failed = 0
        for _ in range(300):
            data = bytearray(EVERY_CLASS)
            for _ in range(rng.randint(1, 4)):
                data[rng.randrange(len(data))] = rng.choice((0, 0x80, 0xFF, rng.randrange(256)))
            write(path, bytes(data))
            try:
                load(path)
                loaded += 1
            except grundel.IffError:
                failed += 1
        assert loaded and failed

    def test_values_a_tag_cannot_hold_are_refused(self, tmp_path):
        out = tmp_path / "out.iff"
        bad = [("DBL3", (1, 2)), ("ZZZZ", 1.0), ("MATR", np.eye(3)), ("BINA", b"raw"), ("DBL#", np.eye(2)),
               ("XXXX", Value("YYYY", b"")), ("DBLE", "1.0"), ("SRT2", ("a", 1))]
        for tag, value in bad:
            with pytest.raises((ValueError, TypeError)):
                save(out, [("TEST", Group("FORM", "TEST", [(tag, value)]))])
        with pytest.raises(grundel.IffError) as caught:
            save(out, [("DBLE", 1.0)])
        assert caught.value.code == 12
        with pytest.raises(TypeError):
            save(out, [("TEST", Group("FORM", "TEST", ["not a pair"]))])
