#include <kwxml/metadata/SchemaDetails.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/binary/BinaryExplain.h>
#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/SchemaTypeNames.h>
#include <kwxml/model/StringTypes.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/JsonText.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/FieldWords.h>
#include <kwxml/xml/RootName.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace kwxml {

namespace {

std::string hexadecimal(unsigned long long number, int digits)
{
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llX", digits, number);
  return text;
}

std::int32_t enumeratorValue(const FieldDef& def)
{
  return static_cast<std::int32_t>(def.hash);
}

/// The enumerator that a field has by default; null when the field is no enumeration.
const FieldDef* defaultEnumerator(const FieldDetails& field)
{
  if (field.def->type != FIELD_ENUM) {
    return nullptr;
  }
  // Tables hold it with or without a sign.
  const auto value = static_cast<std::int32_t>(std::strtoll(field.defaultText, nullptr, 10));
  return findEnumerator(findClass(packedReference(*field.def)), value);
}

// ---- For people

/// Characters, so that columns stand below each other whatever the names.
std::size_t widthOf(std::string_view text)
{
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

using Cells = std::array<std::string, 4>;

void appendRow(std::string& out, const Cells& cells, const std::array<std::size_t, 4>& widths)
{
  std::string line;
  std::size_t missing = 0;  // blanks before the next cell that has something
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (!cells[i].empty()) {
      line += std::string(missing, ' ') + cells[i];
      missing = 0;
    }
    missing += widths[i] == 0 ? 0 : widths[i] - widthOf(cells[i]) + 2;
  }
  out += line + "\n";
}

/// Texts in quotes, since they may be empty; enumerators by their names.
std::string defaultWords(const FieldDetails& field)
{
  if (field.defaultText == nullptr) {
    return {};
  }
  const JsonForm form = fieldTypeInfo(field.def->type).json;
  if (form == JsonForm::Text || form == JsonForm::Bytes) {
    return "'" + shown(field.defaultText) + "'";
  }
  const FieldDef* const enumerator = defaultEnumerator(field);
  return enumerator != nullptr
             ? shown(enumerator->getName()) + " (" + std::to_string(enumeratorValue(*enumerator)) + ")"
             : shown(field.defaultText);
}

Cells cellsOf(const FieldDetails& field)
{
  const FieldDef& def = *field.def;
  std::string notes;
  const auto note = [&](const std::string& text) {
    if (!text.empty()) {
      notes += (notes.empty() ? "" : "; ") + text;
    }
  };
  const AnnotationRecord marks(def.annotations);
  const bool isEnumerator = def.type == FIELD_ENUMERATOR;
  note(!isEnumerator && def.hash == 0 ? "hidden" : "");
  note(shown(annotationWords(def)));
  note(marks.isCdata() ? "CDATA" : "");
  note(marks.isXPath() ? "XPath" : "");
  note(field.formerName != nullptr ? "formerly " + shown(field.formerName) : "");
  return {shown(def.getName()), isEnumerator ? std::to_string(enumeratorValue(def)) : shown(typeWords(def)),
          defaultWords(field), notes};
}

// ---- For programs

/// The members of an object.
class JsonMembers
{
public:
  JsonMembers& text(std::string_view key, std::string_view value)
  {
    name(key);
    appendJsonString(members_, value);
    return *this;
  }
  /// Where there is something to say.
  JsonMembers& optionalText(std::string_view key, const char* value)
  {
    return value != nullptr && *value != '\0' ? text(key, value) : *this;
  }
  JsonMembers& number(std::string_view key, long long value) { return raw(key, std::to_string(value)); }
  /// Where it is true.
  JsonMembers& mark(std::string_view key, bool isSet) { return isSet ? raw(key, "true") : *this; }
  /// What is JSON already.
  JsonMembers& raw(std::string_view key, std::string_view value)
  {
    name(key);
    members_ += value;
    return *this;
  }
  std::string object() const { return "{" + members_ + "}"; }

private:
  void name(std::string_view key)
  {
    members_ += members_.empty() ? "" : ",";
    appendJsonString(members_, key);
    members_ += ':';
  }

  std::string members_;
};

/// The class that a field refers to; nothing where the catalogue does not have it.
void addReference(JsonMembers& json, std::string_view key, const FieldDef& def, int which)
{
  const PackedReference reference = packedReference(def, which);
  const _ClassDef* const cls = findClass(reference);
  if (cls != nullptr && cls->name != nullptr) {
    json.text(key, tagNameOf(reference.system, *cls));
  }
}

void addType(JsonMembers& json, const FieldDef& def)
{
  const FieldTypeInfo& info = fieldTypeInfo(def.type);
  const int references = FieldDef::packedReferences(def.type);
  if (info.element != FIELD_UNSET) {
    json.text("type", "list").optionalText("of", schemaScalarName(info.element));
  } else if (info.mapKey != FIELD_UNSET) {
    json.text("type", "map")
        .optionalText("key", schemaMapPartName(info.mapKey))
        .optionalText("of", schemaMapPartName(info.mapValue));
  } else {
    const char* const name = schemaScalarName(def.type);
    json.text("type", name != nullptr ? name : "none");
  }
  if (references > 0) {
    addReference(json, "class", def, references - 1);
  }
  if (references > 1) {
    addReference(json, "keyClass", def, 0);
  }
}

void addAnnotations(JsonMembers& json, const AnnotationRecord& record)
{
  std::string all;
  // What lies behind a cut is absent, as it is for other readers.
  static_cast<void>(record.forEachAttached([&](unsigned long tag, std::string_view encoded) {
    JsonMembers members;
    static_cast<void>(AnnotationRecord::forEachMember(
        encoded, [&](std::string_view name, std::string_view value) { members.text(name, value); }));
    all += (all.empty() ? "" : ",") +
           JsonMembers().text("name", annotationKindName(tag)).raw("members", members.object()).object();
  }));
  if (!all.empty()) {
    json.raw("annotations", "[" + all + "]");
  }
}

std::string jsonOf(const FieldDetails& field)
{
  const FieldDef& def = *field.def;
  const AnnotationRecord marks(def.annotations);
  JsonMembers json;
  json.text("name", def.getName());
  if (def.type == FIELD_ENUMERATOR) {
    json.number("value", enumeratorValue(def));
  } else {
    addType(json, def);
    json.number("number", def.fieldNumber).number("slot", def.slot);
    json.text("hash", hexadecimal(def.hash, 6)).text("wire", wireCodeName(fieldTypeInfo(def.type).wireCode));
    if (field.defaultText != nullptr) {
      const FieldDef* const enumerator = defaultEnumerator(field);
      json.text("default", enumerator != nullptr ? enumerator->getName() : field.defaultText);
    }
    json.mark("hidden", def.hash == 0);
    if (marks.dateForm() != 0) {
      json.text("date", marks.dateForm() == Annotation::DATE ? "DATE" : "DATE_TIME");
    }
    json.mark("timeOfDay", marks.isTimeOfDay()).mark("cdata", marks.isCdata()).mark("xpath", marks.isXPath());
    if (def.type == FIELD_PSTRING) {
      json.text("password", passwordEncryptTypeName(marks.passwordType()));
    }
  }
  addAnnotations(json, marks);
  return json.optionalText("formerly", field.formerName).optionalText("doc", field.doc).object();
}

std::string jsonOf(const ClassDetails& details)
{
  const PackedReference& place = details.place;
  const _ClassDef& cls = *details.cls;
  const bool isEnum = cls.isEnum();
  JsonMembers json;
  json.text("tag", tagNameOf(place.system, cls)).text("kind", isEnum ? "enum" : "message");
  json.text("tagId", hexadecimal(tagOf(place.system, cls), 0));
  json.text("system", details.systemName).number("systemIndex", place.system);
  json.text("class", cls.name).number("classIndex", place.classIndex);
  if (!isEnum) {
    json.text("root", rootElementName(place.system, cls)).mark("oldWay", isEager(place.system));
    json.number("slots", cls.numberOfSlots).text("fingerprint", hexadecimal(details.fingerprint, 8));
  }
  json.optionalText("formerly", details.formerName).optionalText("doc", details.doc);
  json.optionalText("systemDoc", details.systemDoc);
  std::string fields;
  for (const FieldDetails& field : details.fields) {
    fields += (fields.empty() ? "\n    " : ",\n    ") + jsonOf(field);
  }
  return json.raw(isEnum ? "enumerators" : "fields", "[" + fields + "]").object();
}

}  // namespace

std::optional<ClassDetails> describeClass(const PackedReference& place)
{
  const Registry& registry = registryOf(place);
  const _ClassDef* const cls = registry.findClass(place.system, place.classIndex);
  if (cls == nullptr || cls->name == nullptr || *cls->name == '\0') {
    return std::nullopt;
  }
  const auto system = static_cast<unsigned>(place.system);
  ClassDetails details{
      .place = place,
      .cls = cls,
      .systemName = registry.row(system).name,
      .systemDoc = registry.doc(place.system, -1, -1),
      .formerName = nullptr,
      .doc = docOf(place),
      .fingerprint = registry.plan(system, static_cast<unsigned>(place.classIndex)).fingerprint,
      .fields = {}};
  forEachField(place, *cls, [&](const FieldDef& def, const char* text) {
    details.fields.push_back({&def, text, nullptr, docOf(place, *cls, def)});
  });
  std::size_t count = 0;
  const FormerName* const former = registry.formerNames(place.system, place.classIndex, count);
  for (const FormerName& name : std::span(former, count)) {
    const auto position = static_cast<std::size_t>(name.field);
    (name.field < 0 ? details.formerName : details.fields[position].formerName) = name.name;
  }
  return details;
}

std::string detailsText(const ClassDetails& details)
{
  const _ClassDef& cls = *details.cls;
  const PackedReference& place = details.place;
  std::string out;
  const auto line = [&](std::string_view label, const std::string& text) {
    if (!text.empty()) {
      std::string padded(label);
      padded.resize(14, ' ');
      out += padded + text + "\n";
    }
  };
  line(cls.isEnum() ? "Enumeration" : "Message", shown(tagNameOf(place.system, cls)));
  line("", shown(details.doc));
  line("Tag ID", hexadecimal(tagOf(place.system, cls), 0));
  line("Class index", std::to_string(place.classIndex));
  line("Formerly", details.formerName != nullptr ? shown(details.formerName) : "");
  line("System", shown(details.systemName) + " (" + std::to_string(place.system) + ")");
  line("", shown(details.systemDoc));
  out += '\n';

  std::vector<Cells> rows{cls.isEnum() ? Cells{"ENUMERATOR", "VALUE", "", "NOTES"}
                                       : Cells{"FIELD", "TYPE", "DEFAULT", "NOTES"}};
  for (const FieldDetails& field : details.fields) {
    rows.push_back(cellsOf(field));
  }
  std::array<std::size_t, 4> widths{};
  for (std::size_t i = 0; i < widths.size(); ++i) {
    for (std::size_t row = 1; row < rows.size(); ++row) {
      widths[i] = std::max(widths[i], widthOf(rows[row][i]));
    }
    if (widths[i] == 0) {
      rows[0][i].clear();  // nobody has a default, or notes
    }
    widths[i] = std::max(widths[i], widthOf(rows[0][i]));
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    appendRow(out, rows[i], widths);
    if (i > 0 && *details.fields[i - 1].doc != '\0') {
      out += "    " + shown(details.fields[i - 1].doc) + "\n";
    }
  }
  return out;
}

std::string detailsJson(std::span<const ClassDetails> classes)
{
  std::string out;
  for (const ClassDetails& details : classes) {
    out += (out.empty() ? "\n  " : ",\n  ") + jsonOf(details);
  }
  return "[" + out + "\n]\n";
}

}  // namespace kwxml
