#include "Catalogue.h"

#include "Collections.h"
#include "Message.h"

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>

#include <cstdarg>
#include <utility>

namespace kwxml::python {

Support support;

namespace {

/// The classes of the types that are alive.
std::unordered_map<PyTypeObject*, ClassInfo*>& classesOfTypes()
{
  static auto* const classes =
      new std::unordered_map<PyTypeObject*, ClassInfo*>();  // as long as the interpreter
  return *classes;
}

/// Under this key a type holds its catalogue's object. No field is an attribute under such a name.
constexpr const char* catalogueKey = "__kwxml_catalogue__";

/// Whether a field can be an attribute. Others are reached as items.
bool isAttribute(const std::string& name)
{
  return !name.starts_with("__");
}

std::string typeText(const FieldInfo& field)
{
  const FieldTypeInfo& info = fieldTypeInfo(field.type);
  std::string what = info.text != nullptr               ? info.text
                     : field.type == FIELD_LIST_BSTRING ? "list<bstring>"
                                                        : "list<ulonglong>";
  if (field.target != nullptr) {
    what += " " + field.target->name;
  }
  return what;
}

PyObject* getField(PyObject* self, void* field) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr),
                 [&] { return readField(asMessage(self), *static_cast<const FieldInfo*>(field)).release(); });
}

int setField(PyObject* self, PyObject* value, void* field) noexcept
{
  return guarded(-1, [&] {
    writeField(asMessage(self), *static_cast<const FieldInfo*>(field), value);
    return 0;
  });
}

}  // namespace

std::string FieldInfo::path() const
{
  return owner->name + "." + name;
}

Ref supported(const char* name)
{
  return own(PyObject_GetAttrString(support.module, name));
}

Ref callSupport(const char* name, const char* format, ...)
{
  const Ref function = supported(name);
  va_list values;
  va_start(values, format);
  const Ref arguments(Py_VaBuildValue(format, values));
  va_end(values);
  if (arguments == nullptr) {
    throw PythonError();
  }
  return own(PyObject_CallObject(function.get(), arguments.get()));
}

void failUnknown(PyObject* type, const ClassInfo& cls, PyObject* name)
{
  const Ref names = own(PyList_New(0));
  for (const FieldInfo& field : cls.fields) {
    checked(PyList_Append(names.get(), text(field.name).get()));
  }
  const std::string what = cls.name + " has no field";
  fail(type, utf8(callSupport("unknown", "(sOO)", what.c_str(), name, names.get()).get()));
}

Catalogue::Catalogue(PyObject* self, Registry::Owner owned, const Registry& registry)
    : self_(self), owned_(std::move(owned)), registry_(registry)
{
}

Catalogue::~Catalogue()
{
  clear();
}

void Catalogue::clear()
{
  // What ends with the last reference may ask for classes again.
  std::vector<Ref> dropped;
  for (auto& [place, cls] : classes_) {
    for (auto& [number, member] : cls.enumerators) {
      dropped.push_back(std::move(member));
    }
    cls.enumerators.clear();
    if (PyTypeObject* const type = std::exchange(cls.type, nullptr)) {
      classesOfTypes().erase(type);
      dropped.emplace_back(reinterpret_cast<PyObject*>(type));
    }
  }
}

int Catalogue::traverse(visitproc visit, void* arg) const
{
  for (const auto& [place, cls] : classes_) {
    Py_VISIT(cls.type);
    for (const auto& [number, member] : cls.enumerators) {
      Py_VISIT(member.get());
    }
  }
  return 0;
}

ClassInfo* Catalogue::at(int system, int index)
{
  const auto found = classes_.find({system, index});
  if (found != classes_.end()) {
    return &found->second;
  }
  const _ClassDef* const def = registry_.findClass(system, index);
  if (def == nullptr || def->name == nullptr) {
    return nullptr;  // a place that no class has is without a name
  }
  const char* const systemName = registry_.row(static_cast<unsigned>(system)).name;
  ClassInfo cls{.catalogue = this,
                .def = def,
                .system = static_cast<short>(system),
                .index = index,
                .name = std::string(systemName != nullptr ? systemName : "") + "." + def->name};
  return &classes_.emplace(std::pair(system, index), std::move(cls)).first->second;
}

ClassInfo* Catalogue::at(const PackedReference& reference)
{
  return at(reference.system, reference.classIndex);
}

ClassInfo& Catalogue::of(const YMMessageBase& message)
{
  ClassInfo* const cls =
      message.getClass() != nullptr ? at(message.getSubsysID(), message.getClassIndex()) : nullptr;
  if (cls == nullptr || cls->def != message.getClass() || cls->def->isEnum()) {
    fail(PyExc_TypeError, "the message is of no class of messages of this catalogue");
  }
  return *cls;
}

ClassInfo* Catalogue::ofType(PyTypeObject* type)
{
  const auto found = classesOfTypes().find(type);
  return found == classesOfTypes().end() ? nullptr : found->second;
}

PyTypeObject* Catalogue::type(ClassInfo& cls)
{
  if (cls.type == nullptr) {
    PyTypeObject* const made = cls.def->isEnum() ? makeEnumeration(cls) : makeMessageType(cls);
    if (cls.type != nullptr) {  // Python code that ran meanwhile has made it, too
      Py_DECREF(reinterpret_cast<PyObject*>(made));
      return cls.type;
    }
    classesOfTypes().emplace(made, &cls);
    cls.type = made;
  }
  return cls.type;
}

void Catalogue::fill(ClassInfo& cls)
{
  if (!cls.attributes.empty()) {
    return;
  }
  cls.fields.clear();
  cls.byName.clear();
  cls.fields.reserve(static_cast<std::size_t>(cls.def->numberOfFields));
  for (const FieldDef& def : *cls.def) {
    if (def.hash == 0 || fieldTypeInfo(def.type).storage == Storage::None) {
      continue;  // hidden, or without a value
    }
    FieldInfo field{
        .def = &def, .owner = &cls, .number = def.fieldNumber, .slot = def.slot, .type = def.type};
    field.name = def.getName();
    const int references = FieldDef::packedReferences(def.type);
    if (references > 0) {
      field.target = at(packedReference(def, references - 1));
    }
    if (references > 1) {
      field.keyTarget = at(packedReference(def, 0));
    }
    field.list = listAccess(def.type);
    field.map = mapAccess(def.type);
    const AnnotationRecord annotations(def.annotations);
    // An unsigned number is a number whatever the schema says of it.
    const FieldDataType element = fieldTypeInfo(def.type).element;
    const FieldDataType number = element != FIELD_UNSET ? element : def.type;
    const bool isUnsigned = number == FIELD_UINT || number == FIELD_ULONG || number == FIELD_ULONGLONG;
    field.isDate = (annotations.dateForm() == 1 || annotations.dateForm() == 2) && !isUnsigned;
    field.isSecret = def.type == FIELD_PSTRING || annotations.has(annotationTag("Password"));
    const char* const doc = registry_.doc(cls.system, cls.index, def.fieldNumber);
    field.doc = typeText(field) + (*doc != '\0' ? ": " + std::string(doc) : "");
    cls.fields.push_back(std::move(field));
  }
  for (FieldInfo& field : cls.fields) {
    cls.byName.emplace(field.name, &field);
    if (isAttribute(field.name)) {
      cls.attributes.push_back({field.name.c_str(), getField, setField, field.doc.c_str(), &field});
    }
  }
  cls.attributes.push_back({nullptr, nullptr, nullptr, nullptr, nullptr});
}

PyTypeObject* Catalogue::makeMessageType(ClassInfo& cls)
{
  fill(cls);
  const std::string doc = registry_.doc(cls.system, cls.index, -1);
  PyType_Slot slots[] = {{Py_tp_getset, cls.attributes.data()},
                         {doc.empty() ? 0 : Py_tp_doc, const_cast<char*>(doc.c_str())},
                         {0, nullptr}};
  PyType_Spec spec{cls.name.c_str(), sizeof(MessageObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_IMMUTABLETYPE,
                   slots};
  Ref made = own(PyType_FromSpecWithBases(&spec, reinterpret_cast<PyObject*>(support.messageType)));
  auto* const type = reinterpret_cast<PyTypeObject*>(made.get());
  type->tp_vectorcall = support.messageType->tp_vectorcall;
  checked(PyDict_SetItemString(type->tp_dict, catalogueKey, self_));
  PyType_Modified(type);
  return reinterpret_cast<PyTypeObject*>(made.release());
}

PyTypeObject* Catalogue::makeEnumeration(ClassInfo& cls)
{
  const Ref members = own(PyList_New(0));
  for (const FieldDef& def : *cls.def) {
    const auto number = static_cast<std::int32_t>(def.hash);
    const Ref member = own(
        Py_BuildValue("(s#i)", def.name, static_cast<Py_ssize_t>(std::string_view(def.name).size()), number));
    checked(PyList_Append(members.get(), member.get()));
  }
  const char* const systemName = registry_.row(static_cast<unsigned>(cls.system)).name;
  Ref made = callSupport("enumeration", "(ssOs)", systemName, cls.def->name, members.get(),
                         registry_.doc(cls.system, cls.index, -1));
  decltype(cls.enumerators) enumerators;
  for (const FieldDef& def : *cls.def) {
    const auto number = static_cast<std::int32_t>(def.hash);
    enumerators.emplace(number, own(PyObject_CallFunction(made.get(), "i", number)));
  }
  if (cls.type == nullptr) {
    cls.enumerators.swap(enumerators);
  }
  return reinterpret_cast<PyTypeObject*>(made.release());
}

}  // namespace kwxml::python
