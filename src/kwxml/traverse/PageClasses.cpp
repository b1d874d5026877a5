#include <kwxml/traverse/PageClasses.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/text/Dates.h>
#include <kwxml/traverse/PageText.h>

namespace kwxml {

namespace {

std::string className(const PackedReference& place)
{
  const _ClassDef* cls = findClass(place);
  return cls != nullptr && cls->name != nullptr ? tagNameOf(place.system, *cls) : "unknown class";
}

std::string anchor(int system, int classIndex)
{
  return "c" + std::to_string(system) + "-" + std::to_string(classIndex);
}

/// A type that refers to no class.
std::string plainTypeWords(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return type == FIELD_PSTRING           ? "password"
         : type == FIELD_INT64           ? "longlong"
         : info.text != nullptr          ? info.text
         : info.slots == 0               ? "enumerator"
         : info.storage == Storage::None ? "no type"
                                         : "bstring";
}

std::string_view kindOfAnnotation(unsigned long tag)
{
  for (const AnnotationKind& kind : annotationKinds) {
    if (annotationTag(kind.name) == tag) {
      return kind.name;
    }
  }
  return "unknown annotation";
}

/// What the annotations of a field or an enumerator say; the kind Text is only its text.
std::string annotationWords(const FieldDef& def)
{
  const AnnotationRecord record(def.annotations);
  std::string words;
  const auto add = [&](std::string_view text) {
    words += words.empty() ? "" : "; ";
    words += text;
  };
  if (record.dateForm() != 0) {
    add(record.dateForm() == Annotation::DATE ? "date, in seconds" : "date and time, in seconds");
  }
  if (record.isTimeOfDay()) {
    add("time of day, in seconds");
  }
  if (def.type == FIELD_PSTRING) {
    add(std::string("protected as ") + passwordEncryptTypeName(record.passwordType()));
  }
  record.forEachAttached([&](unsigned long tag, std::string_view members) {
    const std::string_view kind = kindOfAnnotation(tag);
    std::string text(kind == "Text" ? "" : kind);
    AnnotationRecord::forEachMember(members, [&](std::string_view name, std::string_view value) {
      if (kind == "Text") {
        text += value;
      } else {
        text.append(" ").append(name).append("=").append(value);
      }
    });
    add(text);
  });
  return words;
}

void appendCell(std::string& out, std::string_view text)
{
  out += "<td>";
  appendLine(out, text);
  out += "</td>";
}

void appendEnumerators(std::string& out, const _ClassDef& cls)
{
  out +=
      "<tr><th scope=\"col\">Enumerator</th><th scope=\"col\">Number</th><th "
      "scope=\"col\">Notes</th></tr></thead>\n<tbody>\n";
  for (const FieldDef& enumerator : cls) {
    out += "<tr><th scope=\"row\">";
    appendLine(out, enumerator.getName());
    out += "</th>";
    appendCell(out, std::to_string(static_cast<std::int32_t>(enumerator.hash)));
    appendCell(out, annotationWords(enumerator));
    out += "</tr>\n";
  }
}

}  // namespace

std::string typeWords(const FieldDef& field)
{
  const FieldTypeInfo& info = fieldTypeInfo(field.type);
  const auto part = [&](FieldDataType type, int reference) {
    return type == FIELD_OBJECT || type == FIELD_ENUM ? className(packedReference(field, reference))
                                                      : plainTypeWords(type);
  };
  if (info.element != FIELD_UNSET) {
    return "list of " + part(info.element, 0);
  }
  if (info.mapKey != FIELD_UNSET) {
    const int references = FieldDef::packedReferences(field.type);
    return "map of " + part(info.mapKey, 0) + " to " + part(info.mapValue, references - 1);
  }
  return part(field.type, 0);
}

void PageClasses::appendLink(std::string& out, const PackedReference& place)
{
  const _ClassDef* cls = findClass(place);
  if (cls == nullptr || cls->name == nullptr) {
    appendLine(out, className(place));
    return;
  }
  met_.emplace(std::pair(place.system, place.classIndex), place.registry);
  out += "<a href=\"#" + anchor(place.system, place.classIndex) + "\">";
  appendLine(out, className(place));
  out += "</a>";
}

void PageClasses::appendFields(std::string& out, const PackedReference& place, const _ClassDef& cls)
{
  out +=
      "<tr><th scope=\"col\">Field</th><th scope=\"col\">Type</th><th scope=\"col\">Default</th><th "
      "scope=\"col\">Notes</th></tr></thead>\n<tbody>\n";
  const DefaultValue* next =  // the defaults of a class run in the order of its fields
      cls.defaultsIndex < 0
          ? nullptr
          : registryOf(place).row(static_cast<unsigned>(place.system)).defaults + cls.defaultsIndex;
  for (const FieldDef& field : cls) {
    const bool hasDefault = next != nullptr && next->fieldNumber != DefaultValue::noField &&
                            next->fieldNumber == field.fieldNumber;
    const char* const text = hasDefault ? next++->text : "";
    if (field.hash == 0) {
      continue;
    }
    out += "<tr><th scope=\"row\">";
    appendLine(out, field.getName());
    out += "</th><td>";
    const int references = FieldDef::packedReferences(field.type);
    const PackedReference reference = references > 0 ? packedReference(field, references - 1) : place;
    const _ClassDef* referenced = references > 0 ? findClass(reference) : nullptr;
    const bool isLinked = referenced != nullptr && (referenced->isEnum() || has(reference));
    const std::string words = typeWords(field);
    const std::string name = className(reference);
    appendLine(out, isLinked ? words.substr(0, words.size() - name.size()) : words);
    if (isLinked) {
      appendLink(out, reference);
    }
    out += "</td>";
    appendCell(out, hasDefault && isSecret(field) ? "****" : text);
    appendCell(out, annotationWords(field));
    out += "</tr>\n";
  }
}

std::string PageClasses::text()
{
  std::string out;
  // Enumerations are met while the classes that have them are written.
  for (const bool isEnums : {false, true}) {
    const auto met = met_;
    for (const auto& [key, registry] : met) {
      const PackedReference place{key.first, key.second, registry};
      const _ClassDef& cls = *findClass(place);
      if (cls.isEnum() != isEnums) {
        continue;
      }
      out += "<details><summary><h3>";
      appendLine(out, className(place));
      out += "</h3> ";
      out += isEnums ? "enumeration" : countText(static_cast<unsigned>(cls.numberOfFields), "field");
      out += "</summary>\n<div class=\"w\" id=\"" + anchor(place.system, place.classIndex) +
             "\">\n<table>\n<thead>";
      if (isEnums) {
        appendEnumerators(out, cls);
      } else {
        appendFields(out, place, cls);
      }
      out += "</tbody>\n</table>\n</div>\n</details>\n";
    }
  }
  return out.empty() ? out : "<section class=\"doc\">\n<h2>Classes</h2>\n" + out + "</section>\n";
}

}  // namespace kwxml
