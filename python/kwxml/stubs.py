"""Type stubs of a catalogue: python3 -m kwxml.stubs Pets.xml > pets.pyi

A program then checks its use of the catalogue's classes:

    if typing.TYPE_CHECKING:
        import pets
    catalogue: "pets.Catalogue" = kwxml.Catalogue("Pets.xml")
"""

from __future__ import annotations

import argparse
import sys

import kwxml
from kwxml._support import is_identifier

# Under names that no field has.
_HEAD = """import builtins as _builtins
import datetime as _datetime
import enum as _enum
import typing as _typing

import kwxml as _kwxml

_Read = _typing.TypeVar("_Read", covariant=True)
_Write = _typing.TypeVar("_Write", contravariant=True)

class _Field(_typing.Generic[_Read, _Write]):
    def __get__(self, message: _typing.Any, owner: _typing.Any = ...) -> _Read: ...
    def __set__(self, message: _typing.Any, value: _Write | None) -> None: ...
    def __delete__(self, message: _typing.Any) -> None: ...
"""
_READ = {
    "int": "_builtins.int",
    "bool": "_builtins.bool",
    "str": "_builtins.str",
    "float": "_builtins.float",
    "bytes": "_builtins.bytes",
    "password": "_kwxml.Password",
    "datetime": "_datetime.datetime | _builtins.int",
}
_WRITE = {
    **_READ,
    "password": "_builtins.str",
    "bytes": "_builtins.bytes | _builtins.bytearray | _builtins.memoryview",
}


def _class(cls):
    return f"_{cls.__module__}.{cls.__qualname__}"


def _read(kind, cls):
    if kind == "enum":
        return "_builtins.int" if cls is None else _class(cls)
    if kind == "message":
        return "_kwxml.Message" if cls is None else _class(cls)
    return _READ[kind]


def _write(kind, cls):
    if kind == "enum":
        return f"{_read(kind, cls)} | _builtins.int | _builtins.str"
    if kind == "message":
        return f"{_read(kind, cls)} | _builtins.dict[_builtins.str, _typing.Any]"
    return _WRITE[kind]


def _field(field):
    """The types that a field reads as, and that it can be set to."""
    read, write = _read(field.kind, field.cls), _write(field.kind, field.cls)
    if field.holds == "list":
        return f"_kwxml.List[{read}]", f"_typing.Iterable[{write}]"
    if field.holds:
        key = _read(field.holds, field.key_cls)
        pairs = f"_typing.Iterable[_builtins.tuple[{_write(field.holds, field.key_cls)}, {write}]]"
        return f"_kwxml.Map[{key}, {read}]", f"_typing.Mapping[{key}, {write}] | {pairs}"
    return f"{read} | None", write


def _message(name, cls, out):
    fields = [(field.name, *_field(field)) for field in kwxml.fields(cls) if is_identifier(field.name)]
    keywords = "".join(f", {field}: {write} | None = ..." for field, _, write in fields)
    out.append(f"    class {name}(_kwxml.Message):")
    out.append(f"        def __new__(cls{', *' if fields else ''}{keywords}) -> {_class(cls)}: ...")
    for field, read, write in fields:
        hides = "  # type: ignore[assignment]" if hasattr(kwxml.Message, field) else ""
        out.append(f"        {field}: _Field[{read}, {write}]{hides}")


def _enumeration(name, cls, out):
    members = [member for member in cls.__members__ if is_identifier(member)]
    out.append(f"    class {name}(_enum.IntEnum):")
    out.extend(f"        {member} = {int(cls[member])}" for member in members)
    if not members:
        out.append("        pass")


def stubs(catalogue):
    """The text of a stub file. Names that are no identifiers are left out."""
    out = [_HEAD]
    for system, classes in catalogue.systems.items():
        out.append(f"class {system}:")
        names = [name for name in classes if is_identifier(name)]
        for name in names:
            cls = classes[name]
            (_message if issubclass(cls, kwxml.Message) else _enumeration)(name, cls, out)
        out.extend([] if names else ["    pass"])
        out.extend([f"_{system} = {system}", ""])
    out.append("class Catalogue(_kwxml.Catalogue):")
    for system in catalogue.systems:
        out.append(f"    {system}: _builtins.type[_{system}]")
    if not catalogue.systems:
        out.append("    pass")
    if len(catalogue.systems) == 1:
        system, classes = next(iter(catalogue.systems.items()))
        out.extend(f"    {name}: _builtins.type[_{system}.{name}]" for name in classes if is_identifier(name))
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser(prog="python3 -m kwxml.stubs", description="Prints type stubs of a catalogue.")
    parser.add_argument("sources", nargs="+", help="schema files, folders of them, or a compiled library")
    try:
        sys.stdout.write(stubs(kwxml.Catalogue(*parser.parse_args().sources)))
    except kwxml.CatalogueError as error:
        sys.exit("\n".join(error.lines))


if __name__ == "__main__":
    main()
