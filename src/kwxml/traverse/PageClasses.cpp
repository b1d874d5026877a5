#include <kwxml/traverse/PageClasses.h>

#include <kwxml/traverse/FieldWords.h>
#include <kwxml/traverse/PageText.h>

namespace kwxml {

namespace {

std::string anchor(int system, int classIndex)
{
  return "c" + std::to_string(system) + "-" + std::to_string(classIndex);
}

void appendCell(std::string& out, std::string_view text)
{
  out += "<td>";
  appendLine(out, text);
  out += "</td>";
}

void appendEnumerators(std::string& out, const PackedReference& place, const _ClassDef& cls)
{
  out +=
      "<tr><th scope=\"col\">Enumerator</th><th scope=\"col\">Number</th><th "
      "scope=\"col\">Notes</th></tr></thead>\n<tbody>\n";
  for (const FieldDef& enumerator : cls) {
    out += "<tr><th scope=\"row\"";
    appendTitle(out, docOf(place, cls, enumerator));
    out += '>';
    appendLine(out, enumerator.getName());
    out += "</th>";
    appendCell(out, std::to_string(static_cast<std::int32_t>(enumerator.hash)));
    appendCell(out, annotationWords(enumerator));
    out += "</tr>\n";
  }
}

}  // namespace

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
  forEachField(place, cls, [&](const FieldDef& field, const char* text) {
    if (field.hash == 0) {
      return;
    }
    out += "<tr><th scope=\"row\"";
    appendTitle(out, docOf(place, cls, field));
    out += '>';
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
    appendCell(out, text != nullptr ? text : "");
    appendCell(out, annotationWords(field));
    out += "</tr>\n";
  });
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
      out += "</summary>\n<div class=\"w\" id=\"" + anchor(place.system, place.classIndex) + "\">\n";
      if (const char* const doc = docOf(place); *doc != '\0') {
        out += "<p>";
        appendLine(out, doc);
        out += "</p>\n";
      }
      out += "<table>\n<thead>";
      if (isEnums) {
        appendEnumerators(out, place, cls);
      } else {
        appendFields(out, place, cls);
      }
      out += "</tbody>\n</table>\n</div>\n</details>\n";
    }
  }
  return out.empty() ? out : "<section class=\"doc\">\n<h2>Classes</h2>\n" + out + "</section>\n";
}

}  // namespace kwxml
