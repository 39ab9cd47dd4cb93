"""Typed values: a chunk file's values as Python objects, and back.

    pairs = grundel.data.load("in.iff")     # [(tag, value), ...]
    grundel.data.save("out.iff", pairs)     # the same bytes again

load(name) decodes every data chunk through the library's registry of value
classes. A value comes back as
  - a float for a plain number (DBLE, 8 bytes);
  - a tuple of numbers for the tuple classes (DBL2 ... SRT3);
  - a read-only one-dimensional NumPy array in native byte order for the
    array classes (DBL#, I32#, U64#): it shares the decoded elements (no
    copy) and keeps them alive through its base object;
  - a read-only 4x4 NumPy array for a 128-byte matrix (MATR): row vectors,
    the translation in row 3;
  - a Value (tag, data, text) for everything else: transformations,
    compounds, spectra, binary, tags no class registered, and any chunk whose
    Python form would not write back the same bytes (a partial array
    element, a NaN with a payload in a float tuple, a time).
A group is one pair (type, Group): Group is a list of the group's pairs that
also keeps its id ("FORM", "LIST", "CAT ", "PROP") and type, so that save
writes it back as it was.

save(name, pairs) writes the pairs: a Value's bytes as they are, other
values through the class registered under the pair's tag. Integer classes
(LNG2, LNG3, SRT2, SRT3, I32#, U64#) take integers only: a float raises
TypeError, a number the class cannot hold OverflowError, and NumPy integer
arrays go in whole, without a Python step per element. save(load(f))
reproduces f byte for byte for every file save wrote, every file that
grundel-iff totext and fromtext round-trip, and files of other writers whose
chunks and groups end on their family's boundary: a group that load found
padded by its family alone (not rounded on to 4 bytes, as the library pads a
group whose size it learns on closing) is written with its size computed
first. Failures raise grundel.IffError.

A name is anything grundel.iff.walk and Writer take; "-" is the standard
input for load and the standard output for save.
"""

from ._grundel import data_load as _load, data_save as _save


class Value:
    """A value kept as its chunk: tag (str of four characters), data (the
    chunk's bytes) and text (the value's text form with its type, as
    grundel-iff totext writes it; "" when the value has none)."""

    __slots__ = ("tag", "data", "text", "_wide")

    def __init__(self, tag, data, text=""):
        self.tag = tag
        self.data = bytes(data)
        self.text = text
        self._wide = False  # written with a size known only on closing

    def __eq__(self, other):
        if not isinstance(other, Value):
            return NotImplemented
        return self.tag == other.tag and self.data == other.data

    def __hash__(self):
        return hash((self.tag, self.data))

    def __repr__(self):
        return "Value(%r, <%d bytes>, %r)" % (self.tag, len(self.data), self.text)


class Group(list):
    """The pairs of one group, with the group's id ("FORM", "LIST", "CAT ",
    "PROP") and type (its four-character type code). A Group that load made
    also remembers how the group was padded, for save; a new Group is
    written as the library writes any group."""

    def __init__(self, id, type, items=()):
        super().__init__(items)
        self.id = id
        self.type = type
        self._narrow = False  # read with its size known first: save keeps that

    def __eq__(self, other):
        if isinstance(other, Group) and (self.id, self.type) != (other.id, other.type):
            return False
        return list.__eq__(self, other)

    __hash__ = None

    def __repr__(self):
        return "Group(%r, %r, %s)" % (self.id, self.type, list.__repr__(self))


def load(name):
    """The values of the file name ("-": the standard input) as a list of
    (tag, value) pairs; a group as (type, Group). Raises IffError for a file
    the library cannot read whole."""
    return _load(name)


def save(name, pairs):
    """Writes (tag, value) pairs to name ("-": the standard output, after
    sys.stdout is flushed): a Group as a group, a Value as its bytes,
    numbers, tuples and arrays through the class registered under tag.
    Raises IffError when writing fails; ValueError or TypeError for a value
    its tag cannot hold (a float for an integer class among them);
    OverflowError for an integer out of its class's range."""
    _save(name, pairs)


__all__ = ["Group", "Value", "load", "save"]
