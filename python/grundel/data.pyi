from typing import Any, Iterable, List, Tuple, Union
import os

_Name = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

class Value:
    """A value kept as its chunk's bytes, with its tag and text form."""

    tag: str
    data: bytes
    text: str
    def __init__(self, tag: str, data: bytes, text: str = ...) -> None: ...

class Group(List[Tuple[str, Any]]):
    """A group's (tag, value) pairs, with its id and type."""

    id: str
    type: str
    def __init__(self, id: str, type: str, items: Iterable[Tuple[str, Any]] = ...) -> None: ...

def load(name: _Name) -> List[Tuple[str, Any]]:
    """The file's values as (tag, value) pairs; a group as (type, Group). "-" reads the standard input."""
    ...

def save(name: _Name, pairs: Iterable[Tuple[str, Any]]) -> None:
    """Writes (tag, value) pairs; save(load(f)) reproduces f. "-" writes the standard output.

    Integer classes take integers only: TypeError for a float, OverflowError out of range."""
    ...
