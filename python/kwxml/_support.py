"""What the part in C++ asks of Python: exceptions, small records, passwords and enumerations."""

from __future__ import annotations

import datetime
import difflib
import enum
import keyword
import re
import weakref
from typing import NamedTuple


class Error(Exception):
    """What all errors of the module are."""


class CatalogueError(Error, ValueError):
    """Schemas with errors, or a library without a catalogue. `lines` has all that was found."""

    def __init__(self, text):
        super().__init__(text.rstrip("\n"))
        self.lines = text.splitlines()


class EncodeError(Error, ValueError):
    """A message that cannot be written as it is."""


class BusyError(Error, RuntimeError):
    """A message is changed while another thread writes it, or a file is used by two threads."""


class Problem(NamedTuple):
    """What reading met: `line` and `column` of a text, or `offset` of bytes; 0 where nothing is known."""

    kind: str
    severity: str
    line: int
    column: int
    offset: int
    path: str
    text: str


class Difference(NamedTuple):
    """A value in which two messages differ, as texts; None where a message has no such value."""

    path: str
    before: str | None
    after: str | None


class DecodeError(Error, ValueError):
    """A text or bytes that are no message, or not just the one that they say.

    `problems` has what was met; the other attributes are those of the first error.
    """

    def __init__(self, text, problems=(), first=None):
        super().__init__(text)
        self.problems = list(problems)
        self.line = first.line if first else 0
        self.column = first.column if first else 0
        self.offset = first.offset if first else 0
        self.path = first.path if first else ""

    def __reduce__(self):
        first = Problem("", "", self.line, self.column, self.offset, self.path, "")
        return DecodeError, (str(self), self.problems, first)


def decode_error(problems, more, strict):
    errors = [p for p in problems if strict or p.severity == "error"] or problems
    if not errors:
        return DecodeError("there is no message")
    first = errors[0]
    place = f"line {first.line}, column {first.column}: " if first.line else f"offset {first.offset}: "
    others = len(errors) - 1 + more
    rest = f" (and {others} more)" if others else ""
    return DecodeError(place + first.text + rest, problems, first)


def record_error(path, why, offset):
    problem = Problem("damaged record", "error", 0, 0, offset, "", why)
    return DecodeError(f"{path}: offset {offset}: {why}", [problem], problem)


def refused_text(before, why):
    """The error about a text that is read up to a place: behind `before`, which does not count a byte order mark."""
    before = before.removeprefix("\ufeff")
    line, column = before.count("\n") + 1, len(before) - before.rfind("\n")
    problem = Problem("not well-formed", "error", line, column, 0, "", why)
    return decode_error([problem], 0, False)


def other_encoding(before, name):
    return refused_text(before, f"a str that declares the encoding '{name}': give the text as bytes")


def lone_surrogate(text):
    found = re.search("[\ud800-\udfff]", text)
    return refused_text(text[: found.start()], f"'{shown(found[0])}' is a lone surrogate, which is no character")


def other_class(expected, found):
    text = f"expected a {expected}, found a {found}"
    problem = Problem("of another class", "error", 0, 0, 0, "", text)
    return DecodeError(text, [problem], problem)


def not_kept(name, differences):
    paths = ", ".join(d.path for d in differences[:5]) + (", ..." if len(differences) > 5 else "")
    return EncodeError(f"{name}: what was written does not keep {paths}")


def shown(name):
    """The name such that it can be printed: without lone surrogates."""
    return name.encode("utf-8", "backslashreplace").decode()


def suggestion(name, names):
    close = difflib.get_close_matches(name, names, n=1)
    return f"; did you mean '{close[0]}'?" if close else ""


def unknown(what, name, names):
    """The text about a name that is none of those that there are."""
    return f"{what} '{shown(str(name))}'" + suggestion(str(name), list(names))


def other_catalogue(path, name, wanted, given):
    sources = [", ".join(map(shown, each.sources[1:])) or "the library" for each in (wanted, given)]
    if sources[0] == sources[1]:
        return f"{path}: expected {name}, got {name} of another catalogue, which was made of the same sources"
    return f"{path}: expected {name} of the catalogue of {sources[0]}, got {name} of that of {sources[1]}"


class PasswordType(enum.IntEnum):
    """By what the text of a password is protected."""

    UNKNOWN = 0
    PLAIN_TEXT = 1
    SESSION_ENCRYPTION = 2
    KWPASSWORD_ENCRYPTION_VER1 = 3
    KWPASSWORD_ENCRYPTION_VER2 = 4
    KWPASSWORD_ENCRYPTION_VER3 = 5
    PASS_THROUGH = 6
    SESSION_PLUS_KWPASSWORD_VER2 = 7
    SESSION_PLUS_KWPASSWORD_VER3 = 8
    BASE64 = 9
    KWPASSWORD_ENCRYPTION_VER5 = 10
    KWPASSWORD_ENCRYPTION_VER8 = 11


class Password(str):
    """The text of a password field, with the `type` that protects it. repr() does not show the text."""

    type: int

    def __new__(cls, text="", type=PasswordType.PLAIN_TEXT):
        self = super().__new__(cls, text)
        try:
            self.type = PasswordType(type)
        except ValueError:
            self.type = int(type)  # a scheme that is not known here
        return self

    def __repr__(self):
        return "Password('****')"

    def __reduce__(self):
        return Password, (str(self), int(self.type))


def password_type(value):
    return int(getattr(value, "type", PasswordType.PLAIN_TEXT))


# Of each enumeration the enumerators that are not named as in the schema.
RENAMED: weakref.WeakKeyDictionary[type, dict[str, str]] = weakref.WeakKeyDictionary()


def enumeration(system, name, members, doc):
    """An IntEnum of (name, number) pairs. Names that such a class cannot have get "_" behind them,
    or "E" before them."""
    names = {}
    kept = set(dir(enum.IntEnum)) | {"mro"}
    schema = {text for text, _ in members}
    for text, _ in members:
        usable = text
        while (
            usable in kept
            or usable in names.values()
            or (usable != text and usable in schema)
            or usable.startswith(f"_{name}__")
            or (usable.startswith("_") and usable.endswith("_"))
        ):
            usable = "E" + usable if usable.startswith("_") else usable + "_"
        names[text] = usable
    made = enum.IntEnum(name, [(names[text], number) for text, number in members], module=system, qualname=name)
    made.__doc__ = doc or f"{system}.{name}"
    RENAMED[made] = {text: usable for text, usable in names.items() if text != usable}
    return made


def is_enumerator(value):
    return isinstance(value, enum.Enum)


def enumerator_named(path, cls, name):
    if cls is not None:
        usable = RENAMED.get(cls, {}).get(name, name)
        if usable in cls.__members__:
            return cls.__members__[usable]
    names = list(cls.__members__) if cls is not None else []
    if isinstance(name, Password):
        raise ValueError(f"{path}: a password is no enumerator")
    raise ValueError(f"{path}: '{shown(name)}' is no enumerator{suggestion(name, names)}")


EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)


def seconds_of(value):
    """The seconds of a date with a time zone; None for anything that is none."""
    if not isinstance(value, datetime.datetime) or value.utcoffset() is None:
        return None
    since = value - EPOCH
    return since.days * 86400 + since.seconds if since.microseconds == 0 else None


def is_identifier(name):
    return name.isidentifier() and not keyword.iskeyword(name)


def reduced(message, catalogue):
    """For pickle: JSON keeps all values. The other side makes the catalogue of the same schemas."""
    cls = type(message)
    return restored, (catalogue.sources, f"{cls.__module__}_{cls.__qualname__}", message_json(message))


def message_json(message):
    from kwxml._kwxml import Message

    return Message.to_json(message)


def restored(sources, tag_name, json):
    from kwxml import _catalogue
    from kwxml._kwxml import CatalogueBase

    return CatalogueBase.from_json(_catalogue.living(sources), json)
