"""Catalogues, systems and files of messages."""

from __future__ import annotations

import os
import weakref

from kwxml._kwxml import CatalogueBase, open_reader, open_writer
from kwxml._support import unknown

_living: weakref.WeakValueDictionary = weakref.WeakValueDictionary()


class System:
    """A system of messages. Its classes are its attributes; classes of any name are its items."""

    def __init__(self, catalogue, name, index, doc):
        self._catalogue = catalogue
        self._name = name
        self._index = index
        self._places = {cls: place for cls, place, _ in catalogue._classes(index)}
        self.__doc__ = doc or f"The system {name}."

    def __getitem__(self, name):
        if name not in self._places:
            raise KeyError(unknown(f"system {self._name} has no class", name, self._places))
        return self._catalogue._class(self._index, self._places[name])

    def __getattr__(self, name):
        if name.startswith("__") or name not in self.__dict__.get("_places", ()):
            who = f"system {self.__dict__.get('_name')} has no"
            raise AttributeError(unknown(who, name, self.__dict__.get("_places", ())))
        cls = self[name]
        self.__dict__[name] = cls  # found at once the next time
        return cls

    def __iter__(self):
        return iter(self._places)

    def __len__(self):
        return len(self._places)

    def __contains__(self, name):
        return name in self._places

    def __dir__(self):
        return [*super().__dir__(), *self._places]

    def __repr__(self):
        return f"<system {self._name}: {len(self)} classes>"


class Catalogue(CatalogueBase):
    """The classes of schema files, of folders of them, or of a compiled library (a single path that ends in .so).

    Its systems are its attributes; where there is one alone, the classes of that are, too. catalogue["Pets_Cat"] is
    the class of a tag name. CatalogueError has all errors of the schemas; `warnings` has what else was found.
    """

    def __new__(cls, *sources):
        paths = tuple(os.fsdecode(source) for source in sources)
        if not paths:
            raise TypeError("Catalogue() takes schema files, folders of them, or a library; kwxml.builtin() takes none")
        name = os.path.basename(paths[0])
        is_library = len(paths) == 1 and (name.endswith(".so") or ".so." in name)
        return cls._made(("library" if is_library else "schemas", *map(os.path.abspath, paths)))

    @classmethod
    def _made(cls, sources):
        self = super().__new__(cls, sources[0], sources[1:])
        self.sources = sources
        self.systems = {name: System(self, name, index, doc) for name, index, doc in self._systems()}
        _living[sources] = self
        return self

    @property
    def name(self):
        """The catalogue's name."""
        return self._name()

    def __getattr__(self, name):
        systems = self.__dict__.get("systems", {})
        if name in systems:
            return systems[name]
        only = next(iter(systems.values())) if len(systems) == 1 else ()
        if name in only:
            return getattr(only, name)
        raise AttributeError(unknown("the catalogue has no", name, [*systems, *only]))

    def __getitem__(self, tag_name):
        found = self._find(tag_name)
        if found is None:
            raise KeyError(unknown("the catalogue has no class", tag_name, self))
        return found

    def __contains__(self, tag_name):
        return isinstance(tag_name, str) and self._find(tag_name) is not None

    def __iter__(self):
        return (f"{system}_{cls}" for system, classes in self.systems.items() for cls in classes)

    def __dir__(self):
        only = next(iter(self.systems.values())) if len(self.systems) == 1 else ()
        return [*super().__dir__(), *self.systems, *only]

    def __repr__(self):
        return f"<catalogue of {', '.join(self.systems) or 'no system'}>"

    def __reduce__(self):
        return living, (self.sources,)

    def records(self, path, **options):
        """The messages of a file of records or of a batch, one after the other."""
        return records(path, self, **options)

    def batch(self, source, **options):
        """The same of bytes, or of a file that is open in binary mode, which is read from its beginning."""
        if isinstance(source, (str, os.PathLike)):
            return records(source, self, **options)
        descriptor = _descriptor_of(source)
        try:
            return open_reader(self, f"/proc/self/fd/{descriptor}", **options)  # which opens it anew
        finally:
            os.close(descriptor)


def _descriptor_of(source):
    if hasattr(source, "fileno"):
        try:
            return os.dup(source.fileno())
        except OSError:  # such as of io.BytesIO
            pass
    data = source.read() if hasattr(source, "read") else source
    descriptor = os.memfd_create("kwxml")
    try:
        view = memoryview(data)
        view = view.cast("B") if view.c_contiguous else memoryview(view.tobytes())
        while view:
            view = view[os.write(descriptor, view):]
    except BaseException:
        os.close(descriptor)
        raise
    return descriptor


def living(sources):
    """The catalogue that was made last of these sources, or a new one."""
    return _living.get(sources) or Catalogue._made(sources)


def builtin():
    """The catalogue inside the library."""
    return living(("builtin",))


def records(path, catalogue, *, layout=None, lenient=False, strict=False, problems=None, memory_limit=0):
    """The messages of a file of records or of a batch (`layout` "records", "batch", or None to find out)."""
    return open_reader(catalogue, os.fsencode(path), layout=layout, lenient=lenient, strict=strict, problems=problems,
                       memory_limit=memory_limit)


def record_writer(path, *, layout="records", append=False, durable=False):
    """A file of messages to write to: a new one, or with `append` behind what there is."""
    return open_writer(os.fsencode(path), layout=layout, append=append, durable=durable)
