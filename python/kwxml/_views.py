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


_missing = object()


def pop(self, key, default=_missing):
    """Takes the key out and gives its value, or the default where there is none."""
    try:
        value = self[key]
    except KeyError:
        if default is _missing:
            raise
        return default
    del self[key]
    return value


def sort(self, *, key=None, reverse=False):
    """Sorts the list as list.sort() does. Messages have no order of their own, and stay the same objects."""
    values = list(self)
    keys = values if key is None else [key(value) for value in values]
    order = sorted(range(len(keys)), key=keys.__getitem__, reverse=reverse)
    # Keys and comparisons may run any code. A number that is not even equal to itself may stay so.
    if any(a is not b and a != b and not (a != a and b != b) for a, b in zip(values, self)):
        raise ValueError("the list has changed while it was sorted")
    self._arrange(order)


def _list_copy(self):
    """A list of Python with the same elements."""
    return list(self)


def _add(self, other):
    return [*self, *other] if isinstance(other, (list, List)) else NotImplemented


def _add_to(self, other):
    return [*other, *self] if isinstance(other, list) else NotImplemented


for name in ("pop", "remove", "__iadd__"):
    setattr(List, name, getattr(MutableSequence, name))
for name in ("index", "count", "__reversed__"):
    setattr(List, name, getattr(Sequence, name))
for name in ("popitem", "update"):
    setattr(Map, name, getattr(MutableMapping, name))
for name in ("get", "keys", "items", "values"):
    setattr(Map, name, getattr(Mapping, name))
List.sort = sort
List.copy = _list_copy
List.__add__ = _add
List.__radd__ = _add_to
Map.__eq__ = _equal
Map.pop = pop
Map.setdefault = setdefault
List.__reduce__ = _as_list
Map.__reduce__ = _as_dict
MutableSequence.register(List)
MutableMapping.register(Map)
seal_views()
