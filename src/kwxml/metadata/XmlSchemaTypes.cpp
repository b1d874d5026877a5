#include <kwxml/metadata/XmlSchemaTypes.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/text/Dates.h>
#include <kwxml/traverse/FieldWords.h>
#include <kwxml/traverse/PageText.h>
#include <kwxml/xml/XmlText.h>

#include <set>

namespace kwxml {

namespace {

constexpr std::string_view hours = "([01][0-9]|2[0-4])";
constexpr std::string_view sixty = "([0-5][0-9]|60)";  // what readers of dates take, like the 24 hours

std::string facet(std::string_view kind, std::string_view value)
{
  return "      <xs:" + std::string(kind) + " value=\"" + std::string(value) + "\"/>\n";
}

std::string range(std::string_view least, std::string_view most)
{
  return facet("minInclusive", least) + facet("maxInclusive", most);
}

/// "int" of "xs:int", for the names of types that are made of others.
std::string withoutPrefix(const std::string& type)
{
  return type.starts_with("xs:") ? type.substr(3) : type;
}

std::string dateFacets(Annotation::DateType type)
{
  std::string date = "[0-9]{4}-(0[1-9]|1[0-2])-(0[1-9]|[12][0-9]|3[01])";
  if (type != Annotation::DATE) {
    date.append(" ").append(hours).append(":").append(sixty).append(":").append(sixty);
  }
  // Times before 1991 are written as durations, in whole days and hours where they can be.
  return facet("pattern", date) + facet("pattern", "[1-9][0-9]* (dd|hh)");
}

std::string timeOfDayFacets()
{
  // A negative time is written part by part, those that are 0 as such.
  return facet("pattern", "([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]") + facet("pattern", "24:00:[0-5][0-9]") +
         facet("pattern", "(00|-[1-9][0-9]*):(00|-[1-9][0-9]?):(00|-[1-9][0-9]?)");
}

/// The values of an enumeration. Readers of a list know numbers alone, and its writer knows no signs.
std::string enumeratorFacets(const PackedReference& place, const _ClassDef& cls, bool isListed)
{
  std::string names;
  std::string numbers;
  std::set<std::string> given;  // enumerators may share a number
  const auto add = [&](const std::string& number) {
    numbers += given.insert(number).second ? facet("enumeration", number) : "";
  };
  for (const FieldDef& enumerator : cls) {
    const std::string number = std::to_string(static_cast<std::int32_t>(enumerator.hash));
    add(number);
    if (isListed) {
      add(std::to_string(enumerator.hash));
    } else if (isXmlName(enumerator.getName())) {
      names += "      <xs:enumeration value=\"" + std::string(enumerator.getName()) + "\">" +
               xmlDocumentation(number, docOf(place, cls, enumerator)) + "</xs:enumeration>\n";
    } else {
      names += "      <!-- The name of the enumerator of number " + number + " is no XML name. -->\n";
    }
  }
  return names + numbers;
}

bool hasZero(const _ClassDef& cls)
{
  return findEnumerator(&cls, 0) != nullptr;
}

}  // namespace

std::string xmlSchemaTypeName(const PackedReference& place)
{
  const std::string name = tagNameOf(place.system, *findClass(place));
  return isXmlName(name.c_str())
             ? name
             : "class." + std::to_string(place.system) + "." + std::to_string(place.classIndex);
}

std::string xmlDocumentation(std::string_view text, std::string_view doc)
{
  std::string out;
  for (const std::string_view part : {text, doc}) {
    if (!part.empty()) {
      out += "<xs:documentation>";
      appendEscaped(out, part);
      out += "</xs:documentation>";
    }
  }
  return out.empty() ? out : "<xs:annotation>" + out + "</xs:annotation>";
}

std::string XmlSchemaTypes::ofScalar(const FieldDef& def, bool isOldWay)
{
  switch (def.type) {
    case FIELD_BOOL:
      return "xs:boolean";
    case FIELD_ENUM:
      return ofEnumeration(def, isOldWay, false);
    case FIELD_DOUBLE:
    case FIELD_FLOAT:
      return ofReal(def.type);
    case FIELD_STRING:
    case FIELD_PSTRING:
      return "xs:string";
    case FIELD_BSTRING:
      return ofBytes();
    default:
      return ofInteger(def);
  }
}

std::string XmlSchemaTypes::ofItem(const FieldDef& def, bool isOldWay, bool isCdata)
{
  const std::string value =
      def.type == FIELD_LIST_ENUM ? ofEnumeration(def, isOldWay, true) : ofListedNumber(def.type);
  return isCdata ? value : itemOf(value);
}

std::string XmlSchemaTypes::ofMapPart(FieldDataType part)
{
  return itemOf(part == FIELD_STRING ? "xs:string" : "xs:long");
}

/// A slot is written as a signed number of 64 bits, whatever the field's type, and that of a uint may have
/// been set from a negative int.
std::string XmlSchemaTypes::ofNumber(FieldDataType type)
{
  switch (type) {
    case FIELD_INT:
    case FIELD_TIME32:
      return "xs:int";
    case FIELD_UINT:
      return restriction("uint", "xs:long", range("-2147483648", "4294967295"));
    default:
      return "xs:long";
  }
}

/// Items of unsigned types are written unsigned, and truth values as whatever number they hold.
std::string XmlSchemaTypes::ofListedNumber(FieldDataType type)
{
  const FieldDataType element = fieldTypeInfo(type).element;
  switch (element) {
    case FIELD_STRING:
      return "xs:string";
    case FIELD_BSTRING:
      return ofBytes();
    case FIELD_DOUBLE:
    case FIELD_FLOAT:
      return ofReal(element);
    case FIELD_BOOL:
      return ofNumber(FIELD_UINT);
    case FIELD_ULONG:
    case FIELD_ULONGLONG:
      return restriction("ulong", "xs:integer", range("-9223372036854775808", "18446744073709551615"));
    default:
      return ofNumber(element);
  }
}

/// The pattern is for validators that pass over characters which are not base64.
std::string XmlSchemaTypes::ofBytes()
{
  return restriction("base64", "xs:base64Binary", facet("pattern", "[A-Za-z0-9+/= ]*"));
}

/// The bounds keep out what the library would read as infinite. The words are those of the C library, which
/// are written, and those of XML Schema.
std::string XmlSchemaTypes::ofReal(FieldDataType type)
{
  const bool isFloat = type == FIELD_FLOAT;
  const std::string finite =
      restriction(isFloat ? "finite.float" : "finite.double", "xs:double",
                  isFloat ? range("-3.4028235e38", "3.4028235e38")
                          : range("-1.7976931348623157e308", "1.7976931348623157e308"));
  const std::string words = facet("pattern", "-?(inf|nan(\\(0x[0-9a-f]+\\))?|INF)|NaN");
  return unionOf(isFloat ? "float" : "double", finite, restriction("notFinite", "xs:token", words));
}

std::string XmlSchemaTypes::ofInteger(const FieldDef& def)
{
  std::string number = ofNumber(def.type);
  const AnnotationRecord annotations(def.annotations);
  if (annotations.isTimeOfDay()) {
    const std::string text = restriction("timeOfDay", "xs:token", timeOfDayFacets());
    return unionOf(withoutPrefix(number) + "OrTimeOfDay", number, text);
  }
  if (annotations.dateForm() == 0) {
    return number;
  }
  const bool isDate = annotations.dateForm() == Annotation::DATE;
  const std::string text = restriction(isDate ? "date" : "dateTime", "xs:token",
                                       dateFacets(isDate ? Annotation::DATE : Annotation::DATE_TIME));
  return unionOf(withoutPrefix(number) + (isDate ? "OrDate" : "OrDateTime"), number, text);
}

std::string XmlSchemaTypes::ofEnumeration(const FieldDef& def, bool isOldWay, bool isListed)
{
  const PackedReference reference = packedReference(def);
  const _ClassDef* cls = findClass(reference);
  if (cls == nullptr || cls->name == nullptr || !cls->isEnum()) {
    return ofNumber(isListed ? FIELD_UINT : FIELD_INT);  // nobody knows the numbers
  }
  std::string name = (isListed ? "number." : "") + xmlSchemaTypeName(reference);
  // Blanks do not count around numbers; a name has none.
  restriction(name, isListed ? "xs:token" : "xs:string", enumeratorFacets(reference, *cls, isListed),
              docOf(reference));
  return isOldWay && !hasZero(*cls)
             ? unionOf("unset." + name, name, restriction("unset", "xs:token", facet("enumeration", "0")))
             : name;
}

std::string XmlSchemaTypes::itemOf(const std::string& valueType)
{
  if (form_ == XmlSchemaForm::Elements) {
    return valueType;
  }
  std::string name = "item." + withoutPrefix(valueType);
  const std::string attribute = "<xs:attribute name=\"val\" type=\"" + valueType + "\"";
  std::string& definition = definitions_[name];
  if (form_ == XmlSchemaForm::Attributes) {
    definition = "  <xs:complexType name=\"" + name + "\">\n    " + attribute +
                 " use=\"required\"/>\n  </xs:complexType>\n";
    return name;
  }
  // Beside an attribute the element is empty, which texts and bytes may be anyway.
  const bool mayBeEmpty = valueType == "xs:string" || valueType == "base64";
  const std::string text = mayBeEmpty ? valueType
                                      : unionOf("optional." + withoutPrefix(valueType), valueType,
                                                restriction("nothing", "xs:token", facet("length", "0")));
  definition = "  <xs:complexType name=\"" + name +
               "\">\n    <xs:simpleContent>\n      <xs:extension base=\"" + text + "\">\n        " +
               attribute + "/>\n      </xs:extension>\n    </xs:simpleContent>\n  </xs:complexType>\n";
  return name;
}

std::string XmlSchemaTypes::unionOf(const std::string& name, const std::string& first,
                                    const std::string& second)
{
  return define(name, "    <xs:union memberTypes=\"" + first + " " + second + "\"/>\n");
}

std::string XmlSchemaTypes::restriction(const std::string& name, std::string_view base,
                                        std::string_view facets, std::string_view doc)
{
  std::string content = "    <xs:restriction base=\"";
  content.append(base).append("\">\n").append(facets).append("    </xs:restriction>\n");
  return define(name, content, doc);
}

std::string XmlSchemaTypes::define(const std::string& name, std::string_view content, std::string_view doc)
{
  std::string& definition = definitions_[name];
  definition = "  <xs:simpleType name=\"" + name + "\">\n";
  definition += doc.empty() ? "" : "    " + xmlDocumentation({}, doc) + "\n";
  definition.append(content).append("  </xs:simpleType>\n");
  return name;
}

std::string XmlSchemaTypes::definitions() const
{
  std::string text;
  for (const auto& [name, definition] : definitions_) {
    text += definition;
  }
  return text;
}

}  // namespace kwxml
