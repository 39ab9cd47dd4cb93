"""Grundel from Python: the library's chunk files for pipeline scripts.

    import grundel
    for chunk in grundel.iff.walk("scene.iff"):
        print(chunk.depth * "  ", chunk.id, chunk.group_type or chunk.size)

grundel.iff walks and writes chunk files; grundel.data reads and writes their
typed values (numbers, tuples, NumPy arrays). Every failure of the library
raises IffError with the library's code and message.
"""


class IffError(OSError):
    """A failure of the chunk library.

    code is the library's result code and message its message (also the
    strerror attribute); filename is the name as given. errno is set only for
    the library's code 40 "IO error", which stands for a system error; it is
    None otherwise.
    """

    def __init__(self, code, message, filename=None, errno=None):
        super().__init__(errno, message, filename)
        self.code = code
        self.message = message

    def __str__(self):
        where = "" if self.filename is None else ": %r" % (self.filename,)
        return "(%d) %s%s" % (self.code, self.message, where)

    def __repr__(self):
        return "IffError(%d, %r, %r)" % (self.code, self.message, self.filename)

    def __reduce__(self):
        return (type(self), (self.code, self.message, self.filename, self.errno))


from . import iff  # noqa: E402  (iff's extension looks IffError up here)
from . import data  # noqa: E402

__all__ = ["IffError", "data", "iff"]
