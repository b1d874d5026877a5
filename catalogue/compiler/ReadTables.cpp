#include "ReadTables.h"

#include "SchemaTypes.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/SchemaTypeNames.h>

#include <algorithm>
#include <iterator>
#include <map>

namespace kwxml::catalogue {
namespace {

class TableReader
{
public:
  explicit TableReader(const CatalogueTables& tables) : tables_(tables) {}

  Catalogue run()
  {
    for (int i = 0; i < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++i) {
      if (tables_.systems[i].name != nullptr) {
        addSystem(i, tables_.systems[i]);
      }
    }
    for (System& system : catalogue_.systems) {
      for (Class& cls : system.classes) {
        resolve(cls, tables_.systems[system.index].classes[cls.index]);
      }
    }
    addFormerNames();
    for (const XPathDataRow* row = tables_.xpath; row->count >= 0; ++row) {
      addXPaths(*row);
    }
    return std::move(catalogue_);
  }

private:
  void addSystem(int index, const MessageSystemRow& row)
  {
    System& system = catalogue_.systems.emplace_back();
    system.name = row.name;
    system.index = index;
    for (int i = 0; i < row.numberOfClasses; ++i) {
      if (row.classes[i].name != nullptr) {
        addClass(system, i, row.classes[i], row.defaults);
      }
    }
  }

  void addClass(System& system, int index, const _ClassDef& record, const DefaultValue* defaults)
  {
    Class& cls = system.classes.emplace_back();
    cls.system = &system;
    cls.name = record.name;
    cls.isEnum = record.isEnum();
    cls.id = static_cast<long long>(record.classId);
    cls.index = index;
    cls.numberOfSlots = record.numberOfSlots;
    for (const FieldDef& def : record) {
      cls.fields.push_back(readField(def));
    }
    if (record.defaultsIndex >= 0) {
      for (const DefaultValue* entry = defaults + record.defaultsIndex;
           entry->fieldNumber < cls.fields.size(); ++entry) {
        cls.fields[entry->fieldNumber].defaultValue = entry->text;
      }
    }
    classes_.emplace(std::pair(system.index, index), &cls);
  }

  static Field readField(const FieldDef& def)
  {
    Field field;
    field.name = def.getName();
    field.type = def.type;
    field.slot = def.slot;
    nameType(field);
    if (field.isEnumerator()) {
      field.value = static_cast<std::int32_t>(def.hash);
    } else {
      field.hidden = def.hash == 0;
    }
    const AnnotationRecord record(def.annotations);
    if (record.dateForm() != 0) {
      field.dateForm = record.dateForm() == 1 ? "DATE_TIME" : "DATE";
    }
    field.timeOfDay = record.isTimeOfDay();
    field.passwordType = record.passwordType();
    if (field.passwordType != 0) {
      field.passwordName = passwordName(field.passwordType);
    }
    field.xpath = record.isXPath();
    field.cdata = record.isCdata();
    record.forEachAttached([&field](unsigned long tag, std::string_view members) {
      Annotation& annotation = field.annotations.emplace_back();
      const auto* const kind =
          std::find_if(std::begin(annotationKinds), std::end(annotationKinds),
                       [tag](const AnnotationKind& one) { return annotationTag(one.name) == tag; });
      annotation.name = kind != std::end(annotationKinds) ? kind->name : "?";
      AnnotationRecord::forEachMember(members, [&](std::string_view name, std::string_view value) {
        annotation.members.emplace_back(name, value);
      });
    });
    return field;
  }

  /// As a schema writes the type.
  static void nameType(Field& field)
  {
    const FieldTypeInfo& info = fieldTypeInfo(field.type);
    if (info.element != FIELD_UNSET) {
      field.typeName = "list";
      field.of = schemaScalarName(info.element);
    } else if (info.mapKey != FIELD_UNSET) {
      field.typeName = "map";
      field.key = schemaMapPartName(info.mapKey);
      field.of = schemaMapPartName(info.mapValue);
    } else if (const char* name = schemaScalarName(field.type)) {
      field.typeName = name;
    }
  }

  void resolve(Class& cls, const _ClassDef& record)
  {
    for (Field& field : cls.fields) {
      const FieldDef& def = record.fields[&field - cls.fields.data()];
      const int references = FieldDef::packedReferences(def.type);
      if (references == 2) {
        field.keyReference = find(def, 0);
        field.keyClassName = tagName(*field.keyReference);
      }
      if (references > 0) {
        field.reference = find(def, references - 1);
        field.className = tagName(*field.reference);
      }
    }
  }

  const Class* find(const FieldDef& def, int which) const
  {
    const PackedReference reference = PackedReference::read(def.name + which * 4);
    return classes_.at({reference.system, reference.classIndex});
  }

  void addFormerNames()
  {
    for (std::uint32_t i = 0; i < tables_.numberOfFormerNames; ++i) {
      const FormerName& former = tables_.formerNames[i];
      Class& cls = *classes_.at({former.system, former.classIndex});
      (former.field >= 0 ? cls.fields[static_cast<std::size_t>(former.field)].formerly : cls.formerly) =
          former.name;
    }
  }

  void addXPaths(const XPathDataRow& row)
  {
    System& system = *std::find_if(catalogue_.systems.begin(), catalogue_.systems.end(),
                                   [&row](const System& one) { return one.index == row.system; });
    std::multimap<std::uint32_t, const char*> texts;
    for (int i = 0; i < row.count; ++i) {
      texts.emplace(row.idToXPath[i].id, row.idToXPath[i].xpath);
    }
    system.xpaths.resize(static_cast<std::size_t>(row.count));
    for (int i = 0; i < row.count; ++i) {
      const XPathIDHelper& entry = row.idToFieldsInfo[i];
      const XPathFieldsInfo& info = row.fieldsInfo[entry.fieldsInfoIndex];
      XPath& xpath = system.xpaths[static_cast<std::size_t>(entry.fieldsInfoIndex)];
      const auto text = texts.find(static_cast<std::uint32_t>(entry.id));
      xpath.id = entry.id;
      xpath.path = text->second;
      texts.erase(text);
      xpath.fieldIndices.assign(info.fieldIndices, info.fieldIndices + info.depth);
      nameMessage(system, xpath);
    }
  }

  /// The tables do not say of which message a path is: it is the only one that has the path's fields, or
  /// nobody knows.
  static void nameMessage(const System& system, XPath& xpath)
  {
    const auto leads = [&xpath](const Class& cls) { return !cls.isEnum && leadsFrom(cls, xpath); };
    const auto first = std::find_if(system.classes.begin(), system.classes.end(), leads);
    if (first != system.classes.end() &&
        std::find_if(std::next(first), system.classes.end(), leads) == system.classes.end()) {
      xpath.message = first->name;
    } else if (first != system.classes.end()) {
      xpath.of = &*first;
    }
  }

  static bool leadsFrom(const Class& start, const XPath& xpath)
  {
    const Class* cls = &start;
    std::size_t at = 0;
    for (const int index : xpath.fieldIndices) {
      if (cls == nullptr || static_cast<std::size_t>(index) >= cls->fields.size()) {
        return false;
      }
      const Field& field = cls->fields[static_cast<std::size_t>(index)];
      const std::size_t end = std::min(xpath.path.find('/', at), xpath.path.size());
      std::string_view step = std::string_view(xpath.path).substr(at, end - at);
      step.remove_prefix(step.starts_with('@') ? 1 : 0);
      if (step.substr(0, step.find('[')) != field.name) {
        return false;
      }
      cls = field.reference;
      at = std::min(end + 1, xpath.path.size());
    }
    return true;
  }

  const CatalogueTables& tables_;
  Catalogue catalogue_;
  std::map<std::pair<long long, int>, Class*> classes_;
};

}  // namespace

Catalogue readTables(const CatalogueTables& tables)
{
  return TableReader(tables).run();
}

}  // namespace kwxml::catalogue
