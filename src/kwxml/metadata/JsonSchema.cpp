#include <kwxml/metadata/JsonSchema.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/metadata/SchemaWords.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/JsonText.h>
#include <kwxml/traverse/FieldWords.h>
#include <kwxml/xml/RootName.h>

#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace kwxml {

namespace {

std::string quoted(std::string_view text)
{
  std::string out;
  appendJsonString(out, text);
  return out;
}

std::string anyOf(std::initializer_list<std::string> schemas)
{
  std::string out;
  for (const std::string& schema : schemas) {
    out += (out.empty() ? "" : ",") + schema;
  }
  return "{\"anyOf\":[" + out + "]}";
}

std::string ofPattern(std::string_view pattern)
{
  return "{\"type\":\"string\",\"pattern\":" + quoted(pattern) + "}";
}

std::string inRange(std::string_view type, std::string_view least, std::string_view most)
{
  return "{\"type\":" + quoted(type) + ",\"minimum\":" + std::string(least) +
         ",\"maximum\":" + std::string(most) + "}";
}

std::string arrayOf(const std::string& items)
{
  return "{\"type\":\"array\",\"items\":" + items + "}";
}

/// The member "description" with a comma behind it; nothing for an empty text.
std::string description(const std::string& text)
{
  return text.empty() ? text : "\"description\":" + quoted(text) + ",";
}

constexpr std::string_view text = "{\"type\":\"string\"}";
constexpr std::string_view digits = "^-?(0|[1-9][0-9]*)$";

/// The schemas of values. Numbers beyond 2^53 are texts, and a slot may hold more than its field's type says
/// for some types; see docs/formats.md.
class JsonSchemaWriter
{
public:
  void addRoot(const PackedReference& place, const std::string& name);
  /// The schema of all roots; call once.
  std::string write();

private:
  std::string referenceTo(const PackedReference& place);
  std::string objectOf(const PackedReference& place);
  std::string ofField(const FieldDef& def, bool isOldWay);
  std::string ofNested(const FieldDef& def, int which);
  std::string ofMap(const FieldDef& def);
  std::string ofInteger(const FieldDef& def);
  std::string ofEnumeration(const FieldDef& def, bool isOldWay);
  std::string ofNumber(FieldDataType type);
  /// Keeps a definition and gives a reference to it.
  std::string define(const std::string& name, const std::string& schema);

  std::string roots_;
  std::vector<PackedReference> classes_;  // that have a definition, in the order in which they were met
  std::set<std::pair<int, int>> met_;
  std::map<std::string, std::string> definitions_;
};

void JsonSchemaWriter::addRoot(const PackedReference& place, const std::string& name)
{
  roots_ += (roots_.empty() ? "\n    " : ",\n    ") + quoted(name) + ":" + referenceTo(place);
}

std::string JsonSchemaWriter::define(const std::string& name, const std::string& schema)
{
  definitions_[name] = schema;
  // Names of classes may hold what steers a JSON pointer, or its way through a URI.
  std::string pointer;
  for (const char c : name) {
    const bool isPlain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                         c == '_' || c == '-' || c == '.';
    if (isPlain) {
      pointer += c;
    } else if (c == '~' || c == '/') {
      pointer += c == '~' ? "~0" : "~1";
    } else {
      constexpr const char* hex = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      pointer += {'%', hex[byte >> 4], hex[byte & 0xF]};
    }
  }
  return "{\"$ref\":" + quoted("#/$defs/" + pointer) + "}";
}

std::string JsonSchemaWriter::referenceTo(const PackedReference& place)
{
  if (met_.insert({place.system, place.classIndex}).second) {
    classes_.push_back(place);
  }
  return define(tagNameOf(place.system, *findClass(place)), {});  // it is written at the end
}

std::string JsonSchemaWriter::write()
{
  std::map<std::string, std::string> objects;
  for (std::size_t i = 0; i < classes_.size(); ++i) {  // more are met on the way
    const PackedReference place = classes_[i];
    objects[tagNameOf(place.system, *findClass(place))] = objectOf(place);
  }
  objects.merge(definitions_);  // those of classes are there already
  std::string out =
      "{\n  \"$schema\":\"https://json-schema.org/draft/2020-12/schema\",\n"
      "  \"type\":\"object\",\n  \"minProperties\":1,\n  \"maxProperties\":1,\n"
      "  \"additionalProperties\":false,\n  \"properties\":{" +
      roots_ + "\n  },\n  \"$defs\":{";
  const char* separator = "\n    ";
  for (const auto& [name, schema] : objects) {
    out += std::exchange(separator, ",\n    ") + quoted(name) + ":" + schema;
  }
  return out + "\n  }\n}\n";
}

std::string JsonSchemaWriter::objectOf(const PackedReference& place)
{
  const _ClassDef& cls = *findClass(place);
  std::string properties;
  std::set<std::string_view> names;
  for (const FieldDef& def : cls) {
    const std::string schema = ofField(def, isEager(place.system));
    const char* const doc = docOf(place, cls, def);
    if (!schema.empty() && names.insert(def.getName()).second) {
      // A reference may have words beside it.
      properties += (properties.empty() ? "\n      " : ",\n      ") + quoted(def.getName()) + ":{" +
                    description(describeField(def) + (*doc != '\0' ? ": " : "") + doc) + schema.substr(1);
    }
  }
  return "{" + description(docOf(place)) +
         "\"type\":\"object\",\"additionalProperties\":false,\"properties\":{" + properties + "}}";
}

/// Empty for what has no values, or whose class is missing.
std::string JsonSchemaWriter::ofField(const FieldDef& def, bool isOldWay)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) -> std::string {
    constexpr FieldDataType element = Tag::info.element;
    if constexpr (NoStorage<Tag>) {
      return {};
    } else if constexpr (MessageValue<Tag>) {
      return ofNested(def, 0);
    } else if constexpr (MapValue<Tag>) {
      return ofMap(def);
    } else if constexpr (element == FIELD_OBJECT) {
      const std::string item = ofNested(def, 0);
      return item.empty() ? item : arrayOf(item);
    } else if constexpr (Tag::type == FIELD_ENUM) {
      return ofEnumeration(def, isOldWay);
    } else if constexpr (element == FIELD_ENUM) {
      return arrayOf(ofEnumeration(def, isOldWay));
    } else if constexpr (ListValue<Tag>) {
      return arrayOf(ofNumber(element));
    } else if constexpr (IntegerSlot<Tag> && Tag::type != FIELD_BOOL) {
      return ofInteger(def);
    } else {
      return ofNumber(Tag::type);
    }
  });
}

std::string JsonSchemaWriter::ofNested(const FieldDef& def, int which)
{
  const PackedReference reference = packedReference(def, which);
  return referencedMessage(reference) != nullptr ? referenceTo(reference) : std::string();
}

std::string JsonSchemaWriter::ofMap(const FieldDef& def)
{
  const auto part = [&](FieldDataType type, int which) {
    return type == FIELD_OBJECT ? ofNested(def, which) : ofNumber(type);
  };
  const FieldDataType keyType = FieldDef::getMapKeyType(def.type);
  const std::string value =
      part(FieldDef::getMapValueType(def.type), FieldDef::packedReferences(def.type) == 2 ? 1 : 0);
  if (keyType != FIELD_OBJECT) {
    return value.empty()
               ? value
               : "{\"type\":\"object\",\"additionalProperties\":" + value +
                     (keyType == FIELD_INT64 ? ",\"propertyNames\":{\"pattern\":" + quoted(digits) + "}}"
                                             : "}");
  }
  const std::string key = part(keyType, 0);
  return key.empty() || value.empty()
             ? std::string()
             : arrayOf("{\"type\":\"object\",\"properties\":{\"key\":" + key + ",\"value\":" + value +
                       "},\"required\":[\"key\",\"value\"],\"additionalProperties\":false}");
}

std::string JsonSchemaWriter::ofInteger(const FieldDef& def)
{
  constexpr std::string_view date = "[0-9]{4}-(0[1-9]|1[0-2])-(0[1-9]|[12][0-9]|3[01])";
  constexpr std::string_view clock = "([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]";
  std::string number = ofNumber(def.type);
  const AnnotationRecord annotations(def.annotations);
  std::string pattern = "^";
  if (annotations.isTimeOfDay()) {
    pattern.append(clock).append("$");
    return anyOf({number, define("timeOfDay", ofPattern(pattern))});
  }
  if (annotations.dateForm() == 0) {
    return number;
  }
  const std::string zone = "(Z|[+-]([01][0-9]|2[0-3]):[0-5][0-9])";
  const bool isDate = annotations.dateForm() == Annotation::DATE;
  pattern.append(date).append(isDate ? "(T" : "T").append(clock).append(zone).append(isDate ? ")?$" : "$");
  return anyOf({number, define(isDate ? "date" : "dateTime", ofPattern(pattern))});
}

std::string JsonSchemaWriter::ofEnumeration(const FieldDef& def, bool isOldWay)
{
  const PackedReference reference = packedReference(def);
  const _ClassDef* cls = findClass(reference);
  if (cls == nullptr || cls->name == nullptr || !cls->isEnum()) {
    return ofNumber(FIELD_UINT);  // nobody knows the numbers
  }
  std::string values;
  std::set<std::string> given;  // enumerators may share a number
  const auto add = [&](const std::string& value) {
    if (given.insert(value).second) {
      values += (values.empty() ? "" : ",") + value;
    }
  };
  std::string docs = docOf(reference);
  for (const FieldDef& enumerator : *cls) {
    if (const char* const doc = docOf(reference, *cls, enumerator); *doc != '\0') {
      docs += (docs.empty() ? "" : "\n") + std::string(enumerator.getName()) + ": " + doc;
    }
    add(quoted(enumerator.getName()));
    add(std::to_string(static_cast<std::int32_t>(enumerator.hash)));
  }
  if (isOldWay) {
    add("0");  // that of a message in which nobody has set it
  }
  return define((isOldWay ? "unset." : "") + tagNameOf(reference.system, *cls),
                "{" + description(docs) + "\"enum\":[" + values + "]}");
}

/// What a text or a number of a type looks like, as a reference.
std::string JsonSchemaWriter::ofNumber(FieldDataType type)
{
  const std::string wide = ofPattern(digits);
  switch (fieldTypeInfo(type).json) {
    case JsonForm::Number:
      return type == FIELD_UINT  // it may have been set from a negative int
                 ? define("uint", inRange("integer", "-2147483648", "4294967295"))
                 : define("int", inRange("integer", "-2147483648", "2147483647"));
    case JsonForm::Truth:
      return define("bool", anyOf({"{\"type\":[\"boolean\",\"integer\"]}", wide}));
    case JsonForm::UnsignedNumber:
      return define("ulong",
                    anyOf({inRange("integer", "-9223372036854775808", "18446744073709551615"), wide}));
    case JsonForm::WideNumber:
      return define("long", anyOf({inRange("integer", "-9223372036854775808", "9223372036854775807"), wide}));
    case JsonForm::Real: {
      const std::string words = define("notFinite", ofPattern("^-?(inf|nan(\\(0x[0-9a-f]+\\))?)$"));
      return type == FIELD_FLOAT
                 ? define("float", anyOf({inRange("number", "-3.4028235e38", "3.4028235e38"), words}))
                 : define("double", anyOf({"{\"type\":\"number\"}", words}));
    }
    case JsonForm::WideText:
      return define("wide", anyOf({std::string(text), arrayOf(inRange("integer", "0", "4294967295"))}));
    case JsonForm::Bytes:
      return define("base64", "{\"type\":\"string\",\"contentEncoding\":\"base64\",\"pattern\":" +
                                  quoted("^([A-Za-z0-9+/]{4})*([A-Za-z0-9+/]{2}==|[A-Za-z0-9+/]{3}=)?$") +
                                  "}");
    default:
      return std::string(text);
  }
}

}  // namespace

bool jsonSchema(std::string& out, std::span<const PackedReference> classes)
{
  JsonSchemaWriter writer;
  std::set<std::pair<int, int>> roots;
  for (const PackedReference& place : classes) {
    const _ClassDef* cls = referencedMessage(place);
    if (cls == nullptr) {
      log().logError("jsonSchema", "There is no message class at index [%d] of system [%d]", place.classIndex,
                     place.system);
      return false;
    }
    if (roots.insert({place.system, place.classIndex}).second) {
      writer.addRoot(place, rootElementName(place.system, *cls));
    }
  }
  out = writer.write();
  return true;
}

}  // namespace kwxml
