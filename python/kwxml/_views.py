"""Gives the lists and maps of messages what Python's own abstract classes make of the few operations they have."""

from collections.abc import Mapping, MutableMapping, MutableSequence, Sequence

from kwxml._kwxml import List, Map, seal_views


def _as_list(self):
    return list, (list(self),)


def _as_dict(self):
    return dict, (dict(self.items()),)


def _equal(self, other):
    if not isinstance(other, Mapping):
        return NotImplemented
    missing = object()
    try:
        return len(self) == len(other) and all(self[key] == other.get(key, missing) for key in self)
    except TypeError:  # a message as key of a dict
        return False


def setdefault(self, key, default=None):
    """The value of the key, which is `default` from now on where there was none. A message is the map's copy."""
    if key not in self:
        self[key] = default
    return self[key]


for name in ("pop", "remove", "reverse", "__iadd__"):
    setattr(List, name, getattr(MutableSequence, name))
for name in ("index", "count", "__reversed__"):
    setattr(List, name, getattr(Sequence, name))
for name in ("pop", "popitem", "update"):
    setattr(Map, name, getattr(MutableMapping, name))
for name in ("get", "keys", "items", "values"):
    setattr(Map, name, getattr(Mapping, name))
Map.__eq__ = _equal
Map.setdefault = setdefault
List.__reduce__ = _as_list
Map.__reduce__ = _as_dict
MutableSequence.register(List)
MutableMapping.register(Map)
seal_views()
