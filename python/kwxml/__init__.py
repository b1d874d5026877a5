"""Messages of catalogues, as Python objects. See docs/python.md.

    >>> Pets = kwxml.Catalogue("Pets.xml")
    >>> tom = Pets.Cat(name="Tom", lives=9)
    >>> tom.to_xml(declaration=False)
    '<Pets_Cat lives="9" name="Tom"/>'
"""

from kwxml._kwxml import (
    List,
    Map,
    Message,
    RecordReader,
    RecordWriter,
    log_to_standard_error,
    register_password_algorithms,
)
from kwxml import _views
from kwxml._catalogue import Catalogue, System, builtin, record_writer, records
from kwxml._fields import Field, fields
from kwxml._support import (
    BusyError,
    CatalogueError,
    DecodeError,
    Difference,
    EncodeError,
    Error,
    Password,
    PasswordType,
    Problem,
)

__all__ = [
    "BusyError",
    "Catalogue",
    "CatalogueError",
    "DecodeError",
    "Difference",
    "EncodeError",
    "Error",
    "Field",
    "List",
    "Map",
    "Message",
    "Password",
    "PasswordType",
    "Problem",
    "RecordReader",
    "RecordWriter",
    "System",
    "builtin",
    "fields",
    "log_to_standard_error",
    "record_writer",
    "records",
    "register_password_algorithms",
]
