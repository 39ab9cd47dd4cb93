"""Chunk files: walking and writing them.

walk(name) gives every chunk of a file in file order; Writer(name) writes one,
with groups as context managers. Names are str, bytes or os.PathLike, encoded
as os.fsencode does, and may be anything the library opens: a path, "stdin",
"stdout", "mmap:path"; "-" is the standard input for reading and the standard
output for writing (a file named "-" is "./-"). The name forms that run commands or touch memory
("|command", "pipe:", "fd:", "mem:", drivers, "host:path") are refused unless
set_special_names(True) turns them on; that setting is process-wide (every
thread of the interpreter), unlike the library's own, which is per thread.
"""

from ._grundel import Chunk, Group, Walk, Writer, set_special_names, special_names, strerror, walk

__all__ = ["Chunk", "Group", "Walk", "Writer", "set_special_names", "special_names", "strerror", "walk"]
