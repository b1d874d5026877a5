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

_READ = {
    "int": "int",
    "bool": "bool",
    "str": "str",
    "float": "float",
    "bytes": "bytes",
    "password": "kwxml.Password",
    "datetime": "datetime.datetime | int",
}
_WRITE = {**_READ, "password": "str", "bytes": "bytes | bytearray | memoryview"}


def _read(kind, cls):
    if kind == "enum":
        return "int" if cls is None else f"{cls.__module__}.{cls.__qualname__}"
    if kind == "message":
        return "kwxml.Message" if cls is None else f"{cls.__module__}.{cls.__qualname__}"
    return _READ[kind]


def _write(kind, cls):
    if kind == "enum":
        return f"{_read(kind, cls)} | int | str"
    if kind == "message":
        return f"{_read(kind, cls)} | dict[str, typing.Any]"
    return _WRITE[kind]


def _field(field):
    """The types that a field reads as, and that it can be set to."""
    read, write = _read(field.kind, field.cls), _write(field.kind, field.cls)
    if field.holds == "list":
        return f"kwxml.List[{read}]", f"typing.Iterable[{write}]"
    if field.holds:
        key = _read(field.holds, field.key_cls)
        return f"kwxml.Map[{key}, {read}]", f"typing.Mapping[{key}, {write}] | typing.Iterable[tuple[{key}, {write}]]"
    return f"{read} | None", write


def _message(name, cls, out):
    fields = [(field.name, *_field(field)) for field in kwxml.fields(cls) if is_identifier(field.name)]
    out.append(f"    class {name}(kwxml.Message):")
    keywords = "".join(f", {field}: {write} | None = ..." for field, _, write in fields)
    out.append(f"        def __new__(cls{', *' if fields else ''}{keywords}) -> {cls.__module__}.{name}: ...")
    for field, read, write in fields:
        out.append("        @property  # type: ignore[override]" if hasattr(kwxml.Message, field) else "        @property")
        out.append(f"        def {field}(self) -> {read}: ...")
        out.append(f"        @{field}.setter")
        out.append(f"        def {field}(self, value: {read} | {write} | None) -> None: ...")


def _enumeration(name, cls, out):
    out.append(f"    class {name}(enum.IntEnum):")
    members = [member for member in cls.__members__ if is_identifier(member)]
    out.extend(f"        {member} = {int(cls[member])}" for member in members)
    if not members:
        out.append("        pass")


def stubs(catalogue):
    """The text of a stub file. Names that are no identifiers are left out."""
    out = ["import datetime", "import enum", "import typing", "", "import kwxml", ""]
    for system, classes in catalogue.systems.items():
        out.append(f"class {system}:")
        for name in classes:
            if is_identifier(name):
                cls = classes[name]
                (_message if issubclass(cls, kwxml.Message) else _enumeration)(name, cls, out)
        out.append("")
    out.append("class Catalogue(kwxml.Catalogue):")
    for system in catalogue.systems:
        out.append(f"    {system}: type[{system}]")
    if not catalogue.systems:
        out.append("    pass")
    if len(catalogue.systems) == 1:
        system, classes = next(iter(catalogue.systems.items()))
        out.extend(f"    {name}: type[{system}.{name}]" for name in classes if is_identifier(name))
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
