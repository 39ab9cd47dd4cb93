from typing import Optional, Union
import os

from . import data as data
from . import iff as iff

# Names the module accepts wherever it opens a file.
_Name = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

class IffError(OSError):
    """A failure of the chunk library: its code, message and the file's name."""

    code: int
    message: str
    filename: object
    errno: Optional[int]  # set only for the library's code 40 "IO error"
    def __init__(self, code: int, message: str, filename: object = ..., errno: Optional[int] = ...) -> None: ...

