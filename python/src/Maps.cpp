#include "Collections.h"
#include "Values.h"

#include <optional>
#include <utility>

namespace kwxml::python {

namespace {

/// Takes the object of a map's message from its parent, and makes it that of a whole message. Throws
/// std::bad_alloc, with nothing changed.
void freeValue(MessageObject& parent, YMMessageBase& value)
{
  auto grave = std::make_unique<YMMessageBase>();
  if (Children::node_type child = takeChild(parent, &value); !child.empty()) {
    *grave = std::move(value);
    setFree(std::move(child), std::move(grave));
  }
}

template <FieldDataType T>
class MapOf final : public MapAccess
{
  using Map = FieldValue<T>;
  using Key = typename Map::key_type;
  using Value = typename Map::mapped_type;
  static constexpr FieldDataType keyType = fieldTypeInfo(T).mapKey;
  static constexpr FieldDataType valueType = fieldTypeInfo(T).mapValue;
  static constexpr bool keysAreMessages = std::is_same_v<Key, YMMessageBase>;
  static constexpr bool valuesAreMessages = std::is_same_v<Value, YMMessageBase>;

  static Key keyFrom(const FieldInfo& field, PyObject* key)
  {
    if constexpr (keysAreMessages) {
      return messageFrom(field, field.keyTarget, key);
    } else {
      return fromPython<keyType, Key>(field, key);
    }
  }
  /// The key that is looked for. A key that is of another type than the map's, or beyond what the map can
  /// hold, is in no map: nothing then.
  static std::optional<Key> lookedFor(const FieldInfo& field, PyObject* key)
  {
    const bool possible = keysAreMessages          ? isMessage(key)
                          : keyType == FIELD_INT64 ? PyLong_Check(key)
                                                   : PyUnicode_Check(key);
    if (!possible) {
      return std::nullopt;
    }
    try {
      return keyFrom(field, key);
    } catch (const PythonError&) {
      for (PyObject* const refused : {PyExc_TypeError, PyExc_OverflowError, PyExc_UnicodeEncodeError}) {
        if (PyErr_ExceptionMatches(refused) != 0) {
          PyErr_Clear();
          return std::nullopt;
        }
      }
      throw;
    }
  }
  /// Messages have no order: a map of them has one entry at most.
  static typename Map::iterator lookUp(Map& map, const Key& key)
  {
    if constexpr (keysAreMessages) {
      return !map.empty() && map.begin()->first == key ? map.begin() : map.end();
    } else {
      return map.find(key);
    }
  }
  static Map* stored(const MessageObject& message, const FieldInfo& field)
  {
    return const_cast<Map*>(storedIn<Map>(*message.message, field));
  }
  /// For an object of the wrong type; what an object of the right one has raised goes on.
  [[noreturn]] static void refuse(const FieldInfo& field, const char* wanted, PyObject* object)
  {
    if (PyErr_Occurred() != nullptr && PyErr_ExceptionMatches(PyExc_TypeError) == 0) {
      throw PythonError();
    }
    PyErr_Clear();
    failType(field, wanted, object);
  }

  static void put(Map& map, const FieldInfo& field, Key&& key, Value&& value)
  {
    const auto found = lookUp(map, key);
    if (found != map.end()) {
      found->second = std::move(value);
    } else if (keysAreMessages && !map.empty()) {
      fail(PyExc_ValueError, field.path() + ": a map whose keys are messages holds one entry");
    } else {
      map.emplace(std::move(key), std::move(value));
    }
  }

public:
  std::size_t size(const MessageObject& message, const FieldInfo& field) const override
  {
    const Map* const map = stored(message, field);
    return map != nullptr ? map->size() : 0;
  }

  Ref keys(const MessageObject& message, const FieldInfo& field) const override
  {
    Ref out = own(PyList_New(0));
    if constexpr (keysAreMessages) {
      message.cls->catalogue->type(*field.keyTarget);  // may run Python code, which changes the map
    }
    if (const Map* const map = stored(message, field)) {
      for (const auto& [key, value] : *map) {
        Ref shownKey;
        if constexpr (keysAreMessages) {
          shownKey = wrap(*message.cls->catalogue, std::make_unique<YMMessageBase>(key));
        } else {
          shownKey = toPython<keyType>(field, key);
        }
        checked(PyList_Append(out.get(), shownKey.get()));
      }
    }
    return out;
  }

  Ref find(MessageObject& message, const FieldInfo& field, PyObject* key) const override
  {
    const std::optional<Key> converted = lookedFor(field, key);
    Map* const map = stored(message, field);
    if (!converted || map == nullptr) {
      return nullptr;
    }
    if constexpr (valuesAreMessages) {
      return nestedAt(message, [&]() -> YMMessageBase* {
        Map* const now = stored(message, field);
        const auto found = now != nullptr ? lookUp(*now, *converted) : typename Map::iterator();
        return now != nullptr && found != now->end() ? &found->second : nullptr;
      });
    } else {
      const auto found = lookUp(*map, *converted);
      return found != map->end() ? toPython<valueType>(field, found->second) : nullptr;
    }
  }

  void put(MessageObject& message, const FieldInfo& field, PyObject* key, PyObject* value) const override
  {
    Key convertedKey = keyFrom(field, key);
    Value convertedValue = fromPython<valueType, Value>(field, value);
    Map& map = madeIn<Map>(mutate(message), field);
    if constexpr (valuesAreMessages) {
      if (const auto found = lookUp(map, convertedKey); found != map.end()) {
        freeValue(message, found->second);
      }
    }
    put(map, field, std::move(convertedKey), std::move(convertedValue));
  }

  bool erase(MessageObject& message, const FieldInfo& field, PyObject* key) const override
  {
    const std::optional<Key> converted = lookedFor(field, key);
    mutate(message);
    Map* const map = stored(message, field);
    if (!converted || map == nullptr) {
      return false;
    }
    const auto found = lookUp(*map, *converted);
    if (found == map->end()) {
      return false;
    }
    if constexpr (valuesAreMessages) {
      freeValue(message, found->second);
    }
    map->erase(found);
    return true;
  }

  void replace(MessageObject& message, const FieldInfo& field, PyObject* entries) const override
  {
    Ref items;
    if (PyDict_Check(entries) || PyObject_TypeCheck(entries, support.mapType) ||
        PyObject_HasAttrString(entries, "items") != 0) {
      items = own(PyMapping_Items(entries));
    } else if (PyUnicode_Check(entries) || (items = Ref(PySequence_List(entries))) == nullptr) {
      refuse(field, "dict", entries);
    }
    Map replaced;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
      const Ref pair(PySequence_Tuple(PyList_GET_ITEM(items.get(), i)));
      if (pair == nullptr || PyTuple_GET_SIZE(pair.get()) != 2) {
        refuse(field, "pairs of key and value", PyList_GET_ITEM(items.get(), i));
      }
      put(replaced, field, keyFrom(field, PyTuple_GET_ITEM(pair.get(), 0)),
          fromPython<valueType, Value>(field, PyTuple_GET_ITEM(pair.get(), 1)));
    }
    freeElements(message, field);
    madeIn<Map>(mutate(message), field).swap(replaced);
  }

  /// Objects of the values' messages become those of whole ones.
  static void freeAll(MessageObject& message, const FieldInfo& field)
  {
    if constexpr (valuesAreMessages) {
      Map* const map = stored(message, field);
      if (map != nullptr && message.children != nullptr && !message.children->empty()) {
        for (auto& [key, value] : *map) {
          freeValue(message, value);
        }
      }
    }
  }
};

}  // namespace

const MapAccess* mapAccess(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) -> const MapAccess* {
    if constexpr (MapValue<Tag>) {
      static const auto* const access = new MapOf<Tag::type>();  // as long as the process
      return access;
    } else {
      return nullptr;
    }
  });
}

void freeElements(MessageObject& message, const FieldInfo& field)
{
  mutate(message);
  if (field.list != nullptr) {
    if (field.type == FIELD_LIST_OBJECT && field.list->size(message, field) > 0) {
      field.list->erase(message, field, 0, 1, field.list->size(message, field));
    }
    return;
  }
  visitFieldType(field.type, [&]<class Tag>(Tag) {
    if constexpr (MapValue<Tag>) {
      MapOf<Tag::type>::freeAll(message, field);
    }
  });
}

}  // namespace kwxml::python
