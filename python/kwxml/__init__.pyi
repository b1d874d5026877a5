import os
from collections.abc import Callable, Iterable, Iterator, Mapping, MutableMapping, MutableSequence
from enum import IntEnum
from typing import Any, BinaryIO, Generic, Literal, NamedTuple, SupportsIndex, TypeVar, final, overload

from _typeshed import SupportsRichComparison, SupportsRichComparisonT
from typing_extensions import Self

_T = TypeVar("_T")
_K = TypeVar("_K")
_V = TypeVar("_V")
_Path = str | bytes | os.PathLike[str] | os.PathLike[bytes]
_Bytes = bytes | bytearray | memoryview
_Layout = Literal["records", "batch"]

class Error(Exception): ...

class CatalogueError(Error, ValueError):
    lines: list[str]
    def __init__(self, text: str) -> None: ...

class EncodeError(Error, ValueError): ...
class BusyError(Error, RuntimeError): ...

class Problem(NamedTuple):
    kind: str
    severity: str
    line: int
    column: int
    offset: int
    path: str
    text: str

class Difference(NamedTuple):
    path: str
    before: str | None
    after: str | None

class DecodeError(Error, ValueError):
    problems: list[Problem]
    line: int
    column: int
    offset: int
    path: str
    def __init__(self, text: str, problems: Iterable[Problem] = ..., first: Problem | None = ...) -> None: ...

class PasswordType(IntEnum):
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
    type: int
    def __new__(cls, text: str = ..., type: int = ...) -> Self: ...

class Message:
    def __new__(cls, **fields: Any) -> Self: ...
    def __getitem__(self, name: str) -> Any: ...
    def __setitem__(self, name: str, value: Any) -> None: ...
    def __delitem__(self, name: str) -> None: ...
    def is_set(self, name: str) -> bool: ...
    def copy(self) -> Self: ...
    def __copy__(self) -> Self: ...
    def __deepcopy__(self, memo: Any) -> Self: ...
    def clear(self) -> None: ...
    def diff(self, other: Message) -> list[Difference]: ...
    def to_dict(self) -> dict[str, Any]: ...
    @classmethod
    def from_dict(cls, mapping: Mapping[str, Any]) -> Self: ...
    def to_xml(
        self,
        *,
        declaration: bool = ...,
        elements: bool = ...,
        readable: bool = ...,
        enum_names: bool = ...,
        exact: bool = ...,
        mask_passwords: bool = ...,
        check: bool = ...,
        lenient: bool = ...,
    ) -> str: ...
    def to_json(self, *, readable: bool = ..., mask_passwords: bool = ..., lenient: bool = ...) -> str: ...
    def to_bytes(self, *, check: bool = ..., lenient: bool = ...) -> bytes: ...
    @classmethod
    def from_xml(
        cls,
        data: str | _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Self: ...
    @classmethod
    def from_json(
        cls,
        data: str | _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Self: ...
    @classmethod
    def from_bytes(
        cls,
        data: _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Self: ...

@final
class List(MutableSequence[_T], Generic[_T]):
    @overload
    def __getitem__(self, index: SupportsIndex) -> _T: ...
    @overload
    def __getitem__(self, index: slice) -> list[_T]: ...  # type: ignore[override]
    @overload
    def __setitem__(self, index: SupportsIndex, value: Any) -> None: ...
    @overload
    def __setitem__(self, index: slice, value: Iterable[Any]) -> None: ...
    def __delitem__(self, index: SupportsIndex | slice) -> None: ...
    def __len__(self) -> int: ...
    def insert(self, index: int, value: _T) -> None: ...
    @overload
    def sort(self: List[SupportsRichComparisonT], *, key: None = ..., reverse: bool = ...) -> None: ...
    @overload
    def sort(self, *, key: Callable[[_T], SupportsRichComparison], reverse: bool = ...) -> None: ...
    def copy(self) -> list[_T]: ...
    def __add__(self, other: list[_T] | List[_T]) -> list[_T]: ...
    def __radd__(self, other: list[_T]) -> list[_T]: ...

@final
class Map(MutableMapping[_K, _V], Generic[_K, _V]):
    def __getitem__(self, key: _K) -> _V: ...
    def __setitem__(self, key: _K, value: Any) -> None: ...
    def __delitem__(self, key: _K) -> None: ...
    def __iter__(self) -> Iterator[_K]: ...
    def __len__(self) -> int: ...

class Field(NamedTuple):
    name: str
    kind: str
    holds: str
    cls: type | None
    key_cls: type | None
    doc: str

def fields(cls: type[Message] | Message) -> list[Field]: ...

class System:
    def __getitem__(self, name: str) -> Any: ...
    def __getattr__(self, name: str) -> Any: ...
    def __iter__(self) -> Iterator[str]: ...
    def __len__(self) -> int: ...
    def __contains__(self, name: object) -> bool: ...

@final
class RecordReader:
    def __iter__(self) -> Self: ...
    def __next__(self) -> Any: ...
    @property
    def offset(self) -> int: ...
    def close(self) -> None: ...
    def __enter__(self) -> Self: ...
    def __exit__(self, *args: object) -> None: ...

@final
class RecordWriter:
    def write(self, message: Message) -> None: ...
    @property
    def cut(self) -> int: ...
    def close(self) -> None: ...
    def __enter__(self) -> Self: ...
    def __exit__(self, *args: object) -> None: ...

class Catalogue:
    sources: tuple[str, ...]
    systems: dict[str, System]
    warnings: str
    def __new__(cls, *sources: _Path) -> Self: ...
    @property
    def name(self) -> str: ...
    def __getattr__(self, name: str) -> Any: ...
    def __getitem__(self, tag_name: str) -> Any: ...
    def __contains__(self, tag_name: object) -> bool: ...
    def __iter__(self) -> Iterator[str]: ...
    def from_xml(
        self,
        data: str | _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Any: ...
    def from_json(
        self,
        data: str | _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Any: ...
    def from_bytes(
        self,
        data: _Bytes,
        *,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> Any: ...
    def records(
        self,
        path: _Path,
        *,
        layout: _Layout | None = ...,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> RecordReader: ...
    def batch(
        self,
        source: str | os.PathLike[Any] | _Bytes | BinaryIO,
        *,
        layout: _Layout | None = ...,
        lenient: bool = ...,
        strict: bool = ...,
        problems: list[Problem] | None = ...,
        memory_limit: int = ...,
    ) -> RecordReader: ...

def builtin() -> Catalogue: ...
def records(
    path: _Path,
    catalogue: Catalogue,
    *,
    layout: _Layout | None = ...,
    lenient: bool = ...,
    strict: bool = ...,
    problems: list[Problem] | None = ...,
    memory_limit: int = ...,
) -> RecordReader: ...
def record_writer(
    path: _Path, *, layout: _Layout = ..., append: bool = ..., durable: bool = ...
) -> RecordWriter: ...
def log_to_standard_error(level: int = ...) -> None: ...
def register_password_algorithms() -> bool: ...
