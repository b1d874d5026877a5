#include "Collections.h"
#include "Shown.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace kwxml::python {

namespace {

CollectionObject& asCollection(PyObject* object)
{
  return *reinterpret_cast<CollectionObject*>(object);
}

const ListAccess& list(PyObject* self)
{
  return *asCollection(self).field->list;
}

const MapAccess& map(PyObject* self)
{
  return *asCollection(self).field->map;
}

std::size_t listSize(PyObject* self)
{
  return list(self).size(*asCollection(self).message, *asCollection(self).field);
}

void end(PyObject* self) noexcept
{
  PyTypeObject* const type = Py_TYPE(self);
  MessageObject* const message = asCollection(self).message;
  type->tp_free(self);
  Py_DECREF(type);
  Py_XDECREF(reinterpret_cast<PyObject*>(message));
}

PyObject* represent(PyObject* self) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const CollectionObject& view = asCollection(self);
    return shownField(*view.message, *view.field).release();
  });
}

Py_ssize_t listLength(PyObject* self) noexcept
{
  return guarded(Py_ssize_t{-1}, [&] { return static_cast<Py_ssize_t>(listSize(self)); });
}

/// The index, counted from the end where it is negative. Throws PythonError (IndexError).
std::size_t place(PyObject* self, Py_ssize_t index)
{
  const auto size = static_cast<Py_ssize_t>(listSize(self));
  if (index < 0) {
    index += size;
  }
  if (index < 0 || index >= size) {
    fail(PyExc_IndexError, asCollection(self).field->path() + ": index out of range");
  }
  return static_cast<std::size_t>(index);
}

PyObject* listItem(PyObject* self, Py_ssize_t index) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const CollectionObject& view = asCollection(self);
    return list(self).item(*view.message, *view.field, place(self, index)).release();
  });
}

Py_ssize_t indexOf(PyObject* self, PyObject* key)
{
  if (!PyIndex_Check(key)) {
    fail(PyExc_TypeError,
         asCollection(self).field->path() + ": indices are int or slice, not " + Py_TYPE(key)->tp_name);
  }
  const Py_ssize_t index = PyNumber_AsSsize_t(key, PyExc_IndexError);
  if (index == -1 && PyErr_Occurred() != nullptr) {
    throw PythonError();
  }
  return index;
}

/// A slice over the elements that there are.
struct Slice
{
  Py_ssize_t begin = 0;
  Py_ssize_t end = 0;
  Py_ssize_t step = 1;
  Py_ssize_t count = 0;

  explicit Slice(PyObject* key) { checked(PySlice_Unpack(key, &begin, &end, &step)); }
  /// To be called with no Python code before the list is used.
  void fit(PyObject* self)
  {
    count = PySlice_AdjustIndices(static_cast<Py_ssize_t>(listSize(self)), &begin, &end, step);
    if (count == 0) {
      end = begin;
    }
  }
};

PyObject* listGet(PyObject* self, PyObject* key) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
    const CollectionObject& view = asCollection(self);
    if (!PySlice_Check(key)) {
      const Py_ssize_t index = indexOf(self, key);
      return list(self).item(*view.message, *view.field, place(self, index)).release();
    }
    Slice slice(key);
    slice.fit(self);
    Ref out = own(PyList_New(slice.count));
    for (Py_ssize_t i = 0; i < slice.count; ++i) {
      const Py_ssize_t at = slice.begin + i * slice.step;
      // Making a value may run the collector, and that other code.
      PyList_SET_ITEM(out.get(), i, list(self).item(*view.message, *view.field, place(self, at)).release());
    }
    return out.release();
  });
}

void putSlice(PyObject* self, PyObject* key, PyObject* value)
{
  const CollectionObject& view = asCollection(self);
  Slice slice(key);
  if (value == nullptr) {
    slice.fit(self);
    if (slice.count > 0) {
      list(self).erase(*view.message, *view.field, static_cast<std::size_t>(slice.begin), slice.step,
                       static_cast<std::size_t>(slice.count));
    }
    return;
  }
  const std::unique_ptr<ListAccess::Values> values = list(self).convert(*view.field, value);
  slice.fit(self);
  if (slice.step == 1) {
    list(self).put(*view.message, *view.field, static_cast<std::size_t>(slice.begin),
                   static_cast<std::size_t>(std::max(slice.begin, slice.end)), *values);
    return;
  }
  if (values->size() != static_cast<std::size_t>(slice.count)) {
    fail(PyExc_ValueError, "attempt to assign sequence of size " + std::to_string(values->size()) +
                               " to extended slice of size " + std::to_string(slice.count));
  }
  if (slice.count > 0) {
    list(self).putEach(*view.message, *view.field, static_cast<std::size_t>(slice.begin), slice.step,
                       *values);
  }
}

int listSet(PyObject* self, PyObject* key, PyObject* value) noexcept
{
  return guarded(-1, [&] {
    const CollectionObject& view = asCollection(self);
    if (PySlice_Check(key)) {
      putSlice(self, key, value);
      return 0;
    }
    const Py_ssize_t index = indexOf(self, key);
    if (value == nullptr) {
      list(self).erase(*view.message, *view.field, place(self, index), 1, 1);
      return 0;
    }
    const std::unique_ptr<ListAccess::Values> values = list(self).convertOne(*view.field, value);
    const std::size_t at = place(self, index);
    list(self).put(*view.message, *view.field, at, at + 1, *values);
    return 0;
  });
}

PyObject* appendMethod(PyObject* self, PyObject* value) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const CollectionObject& view = asCollection(self);
    const std::unique_ptr<ListAccess::Values> values = list(self).convertOne(*view.field, value);
    const std::size_t size = listSize(self);
    list(self).put(*view.message, *view.field, size, size, *values);
    return share(Py_None).release();
  });
}

PyObject* extendMethod(PyObject* self, PyObject* iterable) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const CollectionObject& view = asCollection(self);
    const std::unique_ptr<ListAccess::Values> values = list(self).convert(*view.field, iterable);
    const std::size_t size = listSize(self);
    list(self).put(*view.message, *view.field, size, size, *values);
    return share(Py_None).release();
  });
}

PyObject* insertMethod(PyObject* self, PyObject* arguments) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    Py_ssize_t index = 0;
    PyObject* value = nullptr;
    if (PyArg_ParseTuple(arguments, "nO:insert", &index, &value) == 0) {
      throw PythonError();
    }
    const CollectionObject& view = asCollection(self);
    const std::unique_ptr<ListAccess::Values> values = list(self).convertOne(*view.field, value);
    const auto size = static_cast<Py_ssize_t>(listSize(self));
    const auto at =
        static_cast<std::size_t>(std::clamp(index < 0 ? index + size : index, Py_ssize_t{0}, size));
    list(self).put(*view.message, *view.field, at, at, *values);
    return share(Py_None).release();
  });
}

PyObject* listClear(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const CollectionObject& view = asCollection(self);
    if (const std::size_t size = listSize(self); size > 0) {
      list(self).erase(*view.message, *view.field, 0, 1, size);
    }
    return share(Py_None).release();
  });
}

/// Puts the elements into an order that begins as the list is now. An unset list stays unset.
void arrange(PyObject* self, const std::vector<std::size_t>& order)
{
  const CollectionObject& view = asCollection(self);
  if (order.size() > 1) {
    list(self).arrange(*view.message, *view.field, order);
  }
}

PyObject* reverseMethod(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    std::vector<std::size_t> order(listSize(self));
    std::iota(order.rbegin(), order.rend(), std::size_t{0});
    arrange(self, order);
    return share(Py_None).release();
  });
}

/// Takes the indices of the elements, as a list of int, in the order that the elements are to have.
PyObject* arrangeMethod(PyObject* self, PyObject* indices) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const Ref all = own(PySequence_List(indices));
    std::vector<std::size_t> order;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(all.get()); ++i) {
      order.push_back(PyLong_AsSize_t(PyList_GET_ITEM(all.get(), i)));
      if (PyErr_Occurred() != nullptr) {
        throw PythonError();
      }
    }
    std::vector<bool> found(listSize(self));
    bool complete = order.size() == found.size();
    for (const std::size_t index : order) {
      complete = complete && index < found.size() && !found[index];
      if (complete) {
        found[index] = true;
      }
    }
    if (!complete) {
      fail(PyExc_ValueError, asCollection(self).field->path() + ": the list has changed while it was sorted");
    }
    arrange(self, order);
    return share(Py_None).release();
  });
}

/// Equal elements in one order, in this and a list or another view.
PyObject* listCompare(PyObject* self, PyObject* other, int operation) noexcept
{
  const bool comparable = PyList_Check(other) || Py_TYPE(other) == support.listType;
  if ((operation != Py_EQ && operation != Py_NE) || !comparable) {
    Py_RETURN_NOTIMPLEMENTED;
  }
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const Ref left = own(PySequence_List(self));
    const Ref right = own(PySequence_List(other));
    return PyObject_RichCompare(left.get(), right.get(), operation);
  });
}

Py_ssize_t mapLength(PyObject* self) noexcept
{
  return guarded(Py_ssize_t{-1}, [&] {
    return static_cast<Py_ssize_t>(map(self).size(*asCollection(self).message, *asCollection(self).field));
  });
}

PyObject* mapGet(PyObject* self, PyObject* key) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    Ref value = map(self).find(*asCollection(self).message, *asCollection(self).field, key);
    if (value == nullptr) {
      PyErr_SetObject(PyExc_KeyError, key);
      throw PythonError();
    }
    return value.release();
  });
}

int mapSet(PyObject* self, PyObject* key, PyObject* value) noexcept
{
  return guarded(-1, [&] {
    const CollectionObject& view = asCollection(self);
    if (value != nullptr) {
      map(self).put(*view.message, *view.field, key, value);
    } else if (!map(self).erase(*view.message, *view.field, key)) {
      PyErr_SetObject(PyExc_KeyError, key);
      throw PythonError();
    }
    return 0;
  });
}

int mapContains(PyObject* self, PyObject* key) noexcept
{
  return guarded(-1, [&] {
    return map(self).find(*asCollection(self).message, *asCollection(self).field, key) != nullptr ? 1 : 0;
  });
}

/// Over the keys that there are now: what happens to the map afterwards does not matter.
PyObject* mapIterate(PyObject* self) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const Ref keys = map(self).keys(*asCollection(self).message, *asCollection(self).field);
    return PyObject_GetIter(keys.get());
  });
}

PyObject* mapClear(PyObject* self, PyObject*) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    if (map(self).size(*asCollection(self).message, *asCollection(self).field) == 0) {
      return share(Py_None).release();  // an unset map stays so, as an unset list does
    }
    const Ref none = own(PyDict_New());
    map(self).replace(*asCollection(self).message, *asCollection(self).field, none.get());
    return share(Py_None).release();
  });
}

PyMethodDef listMethods[] = {
    {"append", appendMethod, METH_O, "append(value): adds a value at the end. A message is copied."},
    {"extend", extendMethod, METH_O, "extend(values): adds values at the end. Messages are copied."},
    {"insert", insertMethod, METH_VARARGS, "insert(index, value): adds a value before the index."},
    {"clear", listClear, METH_NOARGS, "clear(): removes all values."},
    {"reverse", reverseMethod, METH_NOARGS,
     "reverse(): turns the order around. Messages stay the same objects."},
    {"_arrange", arrangeMethod, METH_O, nullptr},
    {nullptr, nullptr, 0, nullptr}};

PyMethodDef mapMethods[] = {{"clear", mapClear, METH_NOARGS, "clear(): removes all entries."},
                            {nullptr, nullptr, 0, nullptr}};

PyTypeObject* addType(PyObject* module, PyType_Spec spec, const char* name)
{
  Ref made = own(PyType_FromSpec(&spec));
  auto* const type = reinterpret_cast<PyTypeObject*>(made.get());
  checked(PyModule_AddObjectRef(module, name, made.release()));
  return type;
}

}  // namespace

Ref view(MessageObject& message, const FieldInfo& field)
{
  PyTypeObject* const type = field.list != nullptr ? support.listType : support.mapType;
  Ref made = own(type->tp_alloc(type, 0));
  CollectionObject& collection = asCollection(made.get());
  Py_INCREF(asObject(message));
  collection.message = &message;
  collection.field = &field;
  return made;
}

void writeCollection(MessageObject& message, const FieldInfo& field, PyObject* value)
{
  if (Py_TYPE(value) == support.listType || Py_TYPE(value) == support.mapType) {
    const CollectionObject& other = asCollection(value);
    if (other.message == &message && other.field == &field && field.isSet(*message.message)) {
      return;  // as after m.tags += [...]
    }
  }
  if (field.map != nullptr) {
    field.map->replace(message, field, value);
    return;
  }
  const std::unique_ptr<ListAccess::Values> values = field.list->convert(field, value);
  field.list->put(message, field, 0, field.list->size(message, field), *values);
}

void addListType(PyObject* module)
{
  PyType_Slot slots[] = {
      {Py_tp_dealloc, reinterpret_cast<void*>(end)},
      {Py_tp_repr, reinterpret_cast<void*>(represent)},
      {Py_tp_iter, reinterpret_cast<void*>(PySeqIter_New)},
      {Py_tp_richcompare, reinterpret_cast<void*>(listCompare)},
      {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
      {Py_tp_methods, listMethods},
      {Py_sq_length, reinterpret_cast<void*>(listLength)},
      {Py_sq_item, reinterpret_cast<void*>(listItem)},
      {Py_mp_length, reinterpret_cast<void*>(listLength)},
      {Py_mp_subscript, reinterpret_cast<void*>(listGet)},
      {Py_mp_ass_subscript, reinterpret_cast<void*>(listSet)},
      {Py_tp_doc, const_cast<char*>("A list in a message. What is changed in it is changed there.")},
      {0, nullptr}};
  support.listType = addType(module,
                             {"kwxml.List", sizeof(CollectionObject), 0,
                              Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots},
                             "List");
}

void addMapType(PyObject* module)
{
  PyType_Slot slots[] = {
      {Py_tp_dealloc, reinterpret_cast<void*>(end)},
      {Py_tp_repr, reinterpret_cast<void*>(represent)},
      {Py_tp_iter, reinterpret_cast<void*>(mapIterate)},
      {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
      {Py_tp_methods, mapMethods},
      {Py_sq_contains, reinterpret_cast<void*>(mapContains)},
      {Py_mp_length, reinterpret_cast<void*>(mapLength)},
      {Py_mp_subscript, reinterpret_cast<void*>(mapGet)},
      {Py_mp_ass_subscript, reinterpret_cast<void*>(mapSet)},
      {Py_tp_doc, const_cast<char*>("A map in a message. What is changed in it is changed there.")},
      {0, nullptr}};
  support.mapType = addType(module,
                            {"kwxml.Map", sizeof(CollectionObject), 0,
                             Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots},
                            "Map");
}

}  // namespace kwxml::python
