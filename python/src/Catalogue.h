// The classes of a catalogue as Python has them: one type for each class of messages, one IntEnum for each
// enumeration, made when they are first needed.
//
// Lifetime. A message refers to its type, a type to its catalogue's object, and that object owns the
// registry: the registry ends after the last message. The object and its types refer to each other, which
// Python's collector sees; messages are hidden from the collector, so that it takes a type with messages for
// one that is in use.
#pragma once

#include "Interpreter.h"

#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kwxml::python {

class Catalogue;
struct ClassInfo;
struct ListAccess;
struct MapAccess;

/// A field of a class.
struct FieldInfo
{
  const FieldDef* def;               ///< its record
  ClassInfo* owner;                  ///< the class that has it
  short number;                      ///< its position
  short slot;                        ///< where its value is
  FieldDataType type;                ///< the type of its value
  ClassInfo* target = nullptr;       ///< of messages and enumerators: their class; null where there is none
  ClassInfo* keyTarget = nullptr;    ///< of maps whose keys are messages: the class of the keys
  const ListAccess* list = nullptr;  ///< of a list
  const MapAccess* map = nullptr;    ///< of a map
  bool isDate = false;               ///< the schema says that the number is a date
  bool isSecret = false;             ///< the value is not shown
  std::string name{};                ///< as the schema has it
  std::string doc{};                 ///< what help() says

  /// "Pets.Cat.name", for messages to people.
  std::string path() const;
  /// Whether the field is set in a message of its class.
  bool isSet(const YMMessageBase& message) const
  {
    return message.isSet(number, message.getTagID(), def->hash);
  }
};

/// A class of messages or an enumeration.
struct ClassInfo
{
  Catalogue* catalogue;          ///< to which it belongs
  const _ClassDef* def;          ///< its record
  short system;                  ///< index of its system
  int index;                     ///< position in its system
  std::string name{};            ///< "Pets.Cat"
  PyTypeObject* type = nullptr;  ///< the Python type or the IntEnum; null until it is needed

  std::vector<FieldInfo> fields{};  ///< all but those that are hidden or have no value
  std::unordered_map<std::string_view, const FieldInfo*> byName{};  ///< the same
  std::vector<PyGetSetDef> attributes{};                            ///< what the type is made of
  std::unordered_map<std::int32_t, Ref> enumerators{};              ///< members of the IntEnum

  /// "Pets_Cat".
  std::string tagName() const { return tagNameOf(system, *def); }
  /// The field that a str names; null when there is none.
  const FieldInfo* find(PyObject* field) const
  {
    const std::optional<std::string_view> known = utf8IfAny(field);
    const auto found = known ? byName.find(*known) : byName.end();
    return found == byName.end() ? nullptr : found->second;
  }
};

/// A registry and the Python types of its classes.
class Catalogue
{
public:
  /// `self` is the Python object that owns this one.
  Catalogue(PyObject* self, Registry::Owner owned, const Registry& registry);
  /// Forgets the types, then ends the registry.
  ~Catalogue();
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  const Registry& registry() const { return registry_; }
  PyObject* self() const { return self_; }

  /// The class at a position; null when there is none. Throws std::bad_alloc.
  ClassInfo* at(int system, int index);
  /// The class that a record refers to; null when there is none.
  ClassInfo* at(const PackedReference& reference);
  /// The class of a message. Throws PythonError for one without a class.
  ClassInfo& of(const YMMessageBase& message);
  /// The Python type of a class. Throws PythonError.
  PyTypeObject* type(ClassInfo& cls);
  /// The class of a Python type; null for a type that is no class of a catalogue.
  static ClassInfo* ofType(PyTypeObject* type);

  /// For Python's collector.
  int traverse(visitproc visit, void* arg) const;
  /// Drops the types. They are made again when somebody still asks.
  void clear();

private:
  void fill(ClassInfo& cls);
  PyTypeObject* makeMessageType(ClassInfo& cls);
  PyTypeObject* makeEnumeration(ClassInfo& cls);

  PyObject* self_;
  Registry::Owner owned_;
  const Registry& registry_;
  std::map<std::pair<int, int>, ClassInfo> classes_;
};

/// The object behind kwxml.Catalogue.
struct CatalogueObject
{
  PyObject_HEAD Catalogue* catalogue;  ///< null in one whose making has failed
};

/// Adds the type to the module. Throws PythonError.
void addCatalogueType(PyObject* module);
/// The catalogue of an object. Throws PythonError (TypeError) for any other object.
Catalogue& catalogueOf(PyObject* object);

/// What the module has of Python's side, read once when it is imported and kept as long as the process.
struct Support
{
  PyTypeObject* messageType = nullptr;    ///< kwxml.Message
  PyTypeObject* catalogueType = nullptr;  ///< the base of kwxml.Catalogue
  PyTypeObject* listType = nullptr;       ///< kwxml.List
  PyTypeObject* mapType = nullptr;        ///< kwxml.Map
  PyObject* module = nullptr;             ///< kwxml._support
};
extern Support support;
/// A member of kwxml._support. Throws PythonError.
Ref supported(const char* name);
/// Calls a member of kwxml._support. The format is that of PyObject_CallFunction(). Throws PythonError.
Ref callSupport(const char* name, const char* format, ...);
/// "Pets.Cat has no field 'nmae'; did you mean 'name'?" as an exception of that type. Throws PythonError.
[[noreturn]] void failUnknown(PyObject* type, const ClassInfo& cls, PyObject* name);

}  // namespace kwxml::python
