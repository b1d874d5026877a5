"""What the fields of a class are, for programs that work with any class."""

from __future__ import annotations

from typing import NamedTuple

from kwxml._kwxml import Message, fields_of

_SCALARS = {
    "int": (1, 2, 3, 4, 5, 6, 41, 42),
    "bool": (7,),
    "str": (8, 9),
    "enum": (10,),
    "float": (11, 12),
    "message": (23,),
    "bytes": (25,),
    "password": (31,),
}
_KINDS = {number: (kind, "") for kind, numbers in _SCALARS.items() for number in numbers}
_ELEMENTS = ("int", "int", "int", "int", "int", "int", "enum", "str", "str", "message")
_KINDS.update({13 + i: (element, "list") for i, element in enumerate(_ELEMENTS)})
_KINDS.update({26: ("bool", "list"), 27: ("float", "list"), 28: ("float", "list"), 30: ("bytes", "list")})
_KEYS = ("int", "int", "int", "str", "str", "str", "message")
_VALUES = ("int", "str", "message", "int", "str", "message", "message")
_KINDS.update({33 + i: (value, key) for i, (key, value) in enumerate(zip(_KEYS, _VALUES))})


class Field(NamedTuple):
    """A field of a class.

    `kind` is what a value is: int, bool, str, enum, float, message, bytes, password or datetime. `holds` is ""
    for one value, "list" for a list of them, and the kind of the keys for a map. `cls` is the class of messages or
    enumerators, `key_cls` that of keys.
    """

    name: str
    kind: str
    holds: str
    cls: type | None
    key_cls: type | None
    doc: str


def fields(cls):
    """The fields of a class of messages, or of the class of a message."""
    found = fields_of(type(cls) if isinstance(cls, Message) else cls)
    out = []
    for name, number, target, key_target, is_date, doc in found:
        kind, holds = _KINDS[number]
        kind = "datetime" if is_date and kind == "int" else kind
        out.append(Field(name, kind, holds, target, key_target, doc))
    return out
