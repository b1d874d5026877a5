#include <kwxml/metadata/XmlSchema.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/metadata/SchemaWords.h>
#include <kwxml/metadata/XmlSchemaTypes.h>
#include <kwxml/traverse/FieldWords.h>
#include <kwxml/xml/RootName.h>
#include <kwxml/xml/XmlText.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace kwxml {

namespace {

template <class Tag>
concept NoXmlForm = NoStorage<Tag> || Tag::type == FIELD_WSTRING || Tag::type == FIELD_LIST_WSTRING;

/// Whether the field is written as a CDATA section, and so as an element in every form.
bool isCdata(const FieldDef& def)
{
  return AnnotationRecord(def.annotations).isCdata() && def.type != FIELD_BSTRING &&
         def.type != FIELD_LIST_BSTRING && def.type != FIELD_PSTRING;
}

/// A list and a map are written as any number of elements.
bool isRepeated(const FieldDef& def)
{
  return visitFieldType(def.type,
                        []<class Tag>(Tag) { return !NoXmlForm<Tag> && (ListValue<Tag> || MapValue<Tag>); });
}

/// What a complex type holds, as its lines.
struct Content
{
  PackedReference place;  ///< of its class
  const _ClassDef& cls;
  std::string remarks;
  std::string elements;
  std::string attributes;

  std::string documentation(const FieldDef& def) const
  {
    return xmlDocumentation(describeField(def) + (isCdata(def) ? ", in a CDATA section" : ""),
                            docOf(place, cls, def));
  }
  void remark(const std::string& text) { remarks += "    <!-- " + text + " -->\n"; }
};

class XmlSchemaWriter
{
public:
  explicit XmlSchemaWriter(XmlSchemaForm form) : form_(form), types_(form) {}

  void addRoot(const PackedReference& place, const std::string& name);
  /// The schema of all roots; call once.
  std::string write();

private:
  std::string typeOf(const PackedReference& place);
  std::string complexType(const PackedReference& place);
  void addField(Content& content, const FieldDef& def, bool isOldWay, const char* occurrence);
  /// The type of a nested message; empty, with a remark, when its class is missing.
  std::string nestedType(Content& content, const FieldDef& def, int which);
  std::string mapEntry(Content& content, const FieldDef& def);
  static std::string element(const Content& content, const FieldDef& def, const std::string& type,
                             const char* occurrence, const std::string& typeContent = {});

  const XmlSchemaForm form_;
  XmlSchemaTypes types_;
  std::string roots_;
  std::vector<PackedReference> classes_;  // that have a type, in the order in which they were met
  std::set<std::pair<int, int>> met_;
};

void XmlSchemaWriter::addRoot(const PackedReference& place, const std::string& name)
{
  roots_ += "  <xs:element name=\"" + name + "\" type=\"" + typeOf(place) + "\"/>\n";
}

std::string XmlSchemaWriter::typeOf(const PackedReference& place)
{
  if (met_.insert({place.system, place.classIndex}).second) {
    classes_.push_back(place);
  }
  return xmlSchemaTypeName(place);
}

std::string XmlSchemaWriter::write()
{
  const char* values = form_ == XmlSchemaForm::Attributes ? "in attributes"
                       : form_ == XmlSchemaForm::Elements ? "as the text of elements"
                                                          : "in attributes or as the text of elements";
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"
      "  <xs:annotation><xs:documentation>Messages with values " +
      std::string(values) + "</xs:documentation></xs:annotation>\n" + roots_;
  for (std::size_t i = 0; i < classes_.size(); ++i) {  // more are met on the way
    text += complexType(PackedReference(classes_[i]));
  }
  return text + types_.definitions() + "</xs:schema>\n";
}

/// Elements come in any order. Where none is repeated each may come once, which one content model of XML
/// Schema 1.0 can say, but only then.
std::string XmlSchemaWriter::complexType(const PackedReference& place)
{
  const _ClassDef& cls = *findClass(place);
  const bool isOldWay = isEager(place.system);
  const bool repeats = std::any_of(cls.begin(), cls.end(), isRepeated);
  Content content{.place = place, .cls = cls, .remarks = {}, .elements = {}, .attributes = {}};
  std::set<std::string> names;
  for (const FieldDef& def : cls) {
    if (!isXmlName(def.getName()) || !names.insert(def.getName()).second) {
      content.remark("Field " + std::to_string(&def - cls.fields) +
                     " is left out: its name is no XML name, or that of a field before.");
    } else {
      addField(content, def, isOldWay, repeats ? "" : " minOccurs=\"0\"");
    }
  }
  std::string text = "  <xs:complexType name=\"" + xmlSchemaTypeName(place) + "\">\n";
  if (const std::string documentation = xmlDocumentation({}, docOf(place)); !documentation.empty()) {
    text += "    " + documentation + "\n";
  }
  text += content.remarks;
  if (!content.elements.empty()) {
    const std::string model = repeats ? "choice" : "all";
    text += "    <xs:" + model + (repeats ? " minOccurs=\"0\" maxOccurs=\"unbounded\">\n" : ">\n") +
            content.elements + "    </xs:" + model + ">\n";
  }
  return text + content.attributes + "  </xs:complexType>\n";
}

void XmlSchemaWriter::addField(Content& content, const FieldDef& def, bool isOldWay, const char* occurrence)
{
  const std::string name = def.getName();
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (NoXmlForm<Tag>) {
      content.remark(name + " is left out: its type has no XML form.");
    } else if constexpr (MessageValue<Tag> || Tag::type == FIELD_LIST_OBJECT) {
      if (const std::string type = nestedType(content, def, 0); !type.empty()) {
        content.elements += element(content, def, type, occurrence);
      }
    } else if constexpr (MapValue<Tag>) {
      if (const std::string entry = mapEntry(content, def); !entry.empty()) {
        content.elements += element(content, def, "", occurrence, entry);
      }
    } else if constexpr (ListValue<Tag>) {
      content.elements += element(content, def, types_.ofItem(def, isOldWay, isCdata(def)), occurrence);
    } else {
      const std::string type = types_.ofScalar(def, isOldWay);
      if (form_ != XmlSchemaForm::Attributes || isCdata(def)) {
        content.elements += element(content, def, type, occurrence);
      }
      if (form_ != XmlSchemaForm::Elements && !isCdata(def)) {
        content.attributes += "    <xs:attribute name=\"" + name + "\" type=\"" + type + "\">" +
                              content.documentation(def) + "</xs:attribute>\n";
      }
    }
  });
}

std::string XmlSchemaWriter::nestedType(Content& content, const FieldDef& def, int which)
{
  const PackedReference reference = packedReference(def, which);
  if (referencedMessage(reference) == nullptr) {
    content.remark(std::string(def.getName()) + " is left out: the catalogue has no such class.");
    return {};
  }
  return typeOf(reference);
}

/// The type of an entry's element: a key and a value, in any order; empty when a class is missing.
std::string XmlSchemaWriter::mapEntry(Content& content, const FieldDef& def)
{
  std::string parts;
  for (const bool isKey : {true, false}) {
    const FieldDataType part =
        isKey ? FieldDef::getMapKeyType(def.type) : FieldDef::getMapValueType(def.type);
    const int which = !isKey && FieldDef::packedReferences(def.type) == 2 ? 1 : 0;
    const std::string type = part == FIELD_OBJECT ? nestedType(content, def, which) : types_.ofMapPart(part);
    if (type.empty()) {
      return {};
    }
    parts += "            <xs:element name=\"" + std::string(isKey ? "__mapKey__" : "__mapValue__") +
             "\" type=\"" + type + "\"/>\n";
  }
  return "        <xs:complexType>\n          <xs:all>\n" + parts +
         "          </xs:all>\n        </xs:complexType>\n";
}

/// An element of a named type, or of the type that is its content.
std::string XmlSchemaWriter::element(const Content& content, const FieldDef& def, const std::string& type,
                                     const char* occurrence, const std::string& typeContent)
{
  const std::string tag = "      <xs:element name=\"" + std::string(def.getName()) + "\"" +
                          (type.empty() ? "" : " type=\"" + type + "\"") + occurrence + ">";
  return tag +
         (typeContent.empty() ? content.documentation(def)
                              : "\n        " + content.documentation(def) + "\n" + typeContent + "      ") +
         "</xs:element>\n";
}

}  // namespace

bool xmlSchema(std::string& out, std::span<const PackedReference> classes, XmlSchemaForm form)
{
  constexpr const char* function = "xmlSchema";
  XmlSchemaWriter writer(form);
  std::set<std::pair<int, int>> roots;
  for (const PackedReference& place : classes) {
    const _ClassDef* cls = referencedMessage(place);
    if (cls == nullptr) {
      log().logError(function, "There is no message class at index [%d] of system [%d]", place.classIndex,
                     place.system);
      return false;
    }
    const std::string name = rootElementName(place.system, *cls);
    if (!isXmlName(name.c_str())) {
      log().logError(function, "The name of class [%s] is no XML name", name.c_str());
      return false;
    }
    if (roots.insert({place.system, place.classIndex}).second) {
      writer.addRoot(place, name);
    }
  }
  out = writer.write();
  return true;
}

}  // namespace kwxml
