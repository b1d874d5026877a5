#include "XmlCheck.h"

#include "Report.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/Dates.h>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace kwxml::tool {

namespace {

std::string utf8(const XMLCh* text)
{
  const xercesc::TranscodeToStr converted(text, "UTF-8");
  return {reinterpret_cast<const char*>(converted.str()), converted.length()};
}

template <class Number>
bool isInteger(std::string_view text)
{
  if (text.starts_with('+')) {
    text.remove_prefix(1);
  }
  Number number{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return !text.empty() && result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// Whether the text is a number of the type, as the reader's C library has it (hexadecimal ones too). A
/// number beyond the type's range would be read as an infinity that nobody wrote.
template <class Number>
bool isReal(const std::string& text)
{
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const std::size_t sign = text.find_first_not_of("+-");
  const bool named = sign != std::string::npos && std::strchr("iInN", text[sign]) != nullptr;
  return end != text.c_str() && *end == '\0' && (named || std::isfinite(static_cast<Number>(number)));
}

bool isTimestamp(const FieldDef& field, const std::string& text)
{
  const AnnotationRecord annotations(field.annotations);
  if (annotations.isTimeOfDay() && text.find(':') != std::string::npos) {
    return true;  // the reader itself refuses what is no time of day
  }
  int seconds = 0;
  return annotations.dateForm() != 0 &&
         processXDate(text.c_str(), seconds, static_cast<Annotation::DateType>(annotations.dateForm()));
}

/// False for the types that the reader finds no value for in any text.
bool hasTextForm(FieldDataType type)
{
  return fieldTypeInfo(type).storage != Storage::None ? type != FIELD_WSTRING && type != FIELD_LIST_WSTRING
                                                      : type == FIELD_INT64;  // a map's key or value
}

/// False for the fields whose attribute the reader passes over.
bool hasAttributeForm(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.storage != Storage::None && hasTextForm(type) && type != FIELD_OBJECT &&
         info.element == FIELD_UNSET && info.mapKey == FIELD_UNSET;
}

/// Whether a value of a type is read as what it says. Types whose texts can say anything, or are checked by
/// the reader, are always right.
bool isRight(const FieldDef& field, FieldDataType type, const std::string& text)
{
  switch (type) {
    case FIELD_INT:
    case FIELD_TIME32:
      return isInteger<int>(text) || isTimestamp(field, text);
    case FIELD_UINT:  // negative values stand as they are
      return isInteger<unsigned int>(text) || isInteger<int>(text) || isTimestamp(field, text);
    case FIELD_LONG:
    case FIELD_ULONG:
    case FIELD_LONGLONG:
    case FIELD_ULONGLONG:
    case FIELD_TIME64:
      return isInteger<long long>(text) || isTimestamp(field, text);
    case FIELD_INT64:
    case FIELD_LIST_LONG:
    case FIELD_LIST_LONGLONG:
      return isInteger<long long>(text);
    case FIELD_BOOL: {
      std::string word = text;
      for (char& c : word) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
      }
      return word == "true" || word == "false" || isInteger<long long>(text);
    }
    case FIELD_ENUM:  // a name is looked up by the reader
      return text.empty() || text[0] < '0' || text[0] > '9' || isInteger<int>(text);
    case FIELD_LIST_INT:
      return isInteger<int>(text);
    case FIELD_LIST_UINT:
    case FIELD_LIST_ENUM:  // negative values stand as they are
    case FIELD_LIST_BOOL:
      return isInteger<unsigned int>(text) || isInteger<int>(text);
    case FIELD_LIST_ULONG:
    case FIELD_LIST_ULONGLONG:
      return isInteger<unsigned long long>(text) || isInteger<long long>(text);
    case FIELD_DOUBLE:
    case FIELD_LIST_DOUBLE:
      return isReal<double>(text);
    case FIELD_FLOAT:
    case FIELD_LIST_FLOAT:
      return isReal<float>(text);
    default:
      return hasTextForm(type);
  }
}

/// The enumerator's number that a text of an enumeration gives; nothing for a name, which the reader looks
/// up.
std::optional<int> enumNumber(FieldDataType type, std::string_view text)
{
  if (text.empty() || (type == FIELD_ENUM && (text[0] < '0' || text[0] > '9'))) {
    return std::nullopt;
  }
  if (text.starts_with('+')) {
    text.remove_prefix(1);
  }
  const char* end = text.data() + text.size();
  int number = 0;
  if (std::from_chars(text.data(), end, number).ec == std::errc()) {
    return number;
  }
  unsigned int bits = 0;  // a list keeps its items unsigned
  std::from_chars(text.data(), end, bits);
  return static_cast<int>(bits);
}

const _ClassDef* referencedClass(const FieldDef& field, int which)
{
  const PackedReference reference = packedReference(field, which);
  return findClass(reference);
}

std::string_view trimmed(std::string_view text)
{
  constexpr const char* blanks = " \t\r\n";
  const auto first = text.find_first_not_of(blanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/// Follows a document through the classes of its messages, by the rules of the library's reader.
class Checker : public xercesc::DefaultHandler
{
public:
  explicit Checker(const _ClassDef* root) : root_(root) {}
  std::vector<std::string> lines;

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override
  {
    if (!levels_.empty() && levels_.back().kind == Kind::Value) {
      refuseText(levels_.back());  // the reader takes what stands behind the last element within
    }
    levels_.push_back(enter(utf8(qname)));
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
      Level& level = levels_.back();
      const std::string name = utf8(attributes.getQName(i));
      if (level.kind == Kind::Message) {
        if (const FieldDef* field = findField(*level.message, nameHash(name.data(), name.size()))) {
          attribute(level, *field, utf8(attributes.getValue(i)));
        }
      } else if (level.kind == Kind::Value && name == "val") {
        check(*level.field, level.type, utf8(attributes.getValue(i)));
        if (level.mapPart || fieldTypeInfo(level.type).element != FIELD_UNSET) {
          level.kind = Kind::Read;
        }
      }
    }
  }

  void characters(const XMLCh* chars, const XMLSize_t length) override
  {
    if (!levels_.empty() && levels_.back().kind != Kind::Skipped) {
      levels_.back().text.append(chars, length);
    }
  }

  void endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) override
  {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    switch (level.kind) {
      case Kind::Value:
        if (level.mapPart) {
          check(*level.field, level.type, utf8(level.text.c_str()));
        } else if (!level.text.empty()) {  // an element without text sets nothing
          give(levels_[level.owner], *level.field);
          check(*level.field, level.type, utf8(level.text.c_str()));
        }
        break;
      case Kind::Map:
        if (!level.keySeen || !level.valueSeen) {
          lines.push_back(nameOf(*level.field) + " has an entry without its " +
                          (level.valueSeen ? "key"
                           : level.keySeen ? "value"
                                           : "key and its value"));
        }
        refuseText(level);
        break;
      case Kind::Message:
      case Kind::Read:
        refuseText(level);
        break;
      case Kind::Skipped:
        if (skipping_ && utf8(qname) == skippedName_) {  // also an inner element of that name
          skipping_ = false;
        }
        break;
    }
  }

private:
  enum class Kind
  {
    Skipped,  ///< what nobody reads
    Message,
    Map,    ///< an entry of a map
    Value,  ///< a field, an item of a list or a part of a map's entry: its text is the value
    Read,   ///< the same, with the value in its attribute
  };
  struct Level
  {
    Kind kind = Kind::Skipped;
    const _ClassDef* message = nullptr;  ///< Kind::Message: its class
    std::size_t owner = 0;               ///< level of the message that fields within belong to
    const FieldDef* field = nullptr;     ///< null for the root
    FieldDataType type = FIELD_UNSET;
    bool mapPart = false;
    bool keySeen = false;  ///< Kind::Map
    bool valueSeen = false;
    std::vector<bool> given;  ///< Kind::Message: the fields that have their value, by position
    std::u16string text;
  };

  Level enter(const std::string& name)
  {
    if (levels_.empty()) {
      return message(root_, nullptr);
    }
    Level& outer = levels_.back();
    Level level;
    level.owner = outer.owner;
    if (skipping_) {
      return level;
    }
    const bool isKey = name == "__mapKey__";
    if (isKey || name == "__mapValue__") {
      return outer.kind == Kind::Map ? mapPart(outer, isKey, name)
                                     : level;  // outside of an entry: the reader says so
    }
    Level& owner = levels_[outer.owner];
    const FieldDef* field = findField(*owner.message, nameHash(name.data(), name.size()));
    if (field == nullptr) {
      return skip(name);
    }
    if (field->type == FIELD_OBJECT || field->type == FIELD_LIST_OBJECT) {
      if (field->type == FIELD_OBJECT) {
        give(owner, *field);
      }
      const _ClassDef* cls = referencedClass(*field, 0);
      return cls != nullptr ? message(cls, field) : skip(name);
    }
    level.kind = FieldDef::isMapType(field->type) ? Kind::Map : Kind::Value;
    level.field = field;
    level.type = field->type;
    return level;
  }

  Level mapPart(Level& entry, bool isKey, const std::string& name)
  {
    const FieldDef& map = *entry.field;
    bool& seen = isKey ? entry.keySeen : entry.valueSeen;
    if (seen) {
      lines.push_back(nameOf(map) + " has an entry with more than one " + (isKey ? "key" : "value"));
    }
    seen = true;
    const FieldDataType type =
        isKey ? FieldDef::getMapKeyType(map.type) : FieldDef::getMapValueType(map.type);
    if (type == FIELD_OBJECT) {
      const _ClassDef* cls = referencedClass(map, !isKey && map.type == FIELD_MAP_OBJECT_OBJECT ? 1 : 0);
      return cls != nullptr ? message(cls, &map) : skip(name);
    }
    Level level;
    level.kind = Kind::Value;
    level.owner = entry.owner;
    level.field = &map;
    level.type = type;
    level.mapPart = true;
    return level;
  }

  Level message(const _ClassDef* cls, const FieldDef* field) const
  {
    Level level;
    level.kind = Kind::Message;
    level.message = cls;
    level.owner = levels_.size();
    level.field = field;
    return level;
  }

  Level skip(const std::string& name)
  {
    skipping_ = true;
    skippedName_ = name;
    Level level;
    level.owner = levels_.back().owner;
    return level;
  }

  void attribute(Level& level, const FieldDef& field, const std::string& text)
  {
    if (!hasAttributeForm(field.type)) {
      refuse(field, text);
      return;
    }
    give(level, field);
    check(field, field.type, text);
  }

  /// A field that is no collection keeps one value: of two the reader drops the first.
  void give(Level& owner, const FieldDef& field)
  {
    if (fieldTypeInfo(field.type).element != FIELD_UNSET) {
      return;
    }
    const auto position = static_cast<std::size_t>(&field - owner.message->fields);
    if (owner.given.size() <= position) {
      owner.given.resize(position + 1);
    }
    if (owner.given[position]) {
      lines.push_back(nameOf(field) + " is given more than once");
    }
    owner.given[position] = true;
  }

  void check(const FieldDef& field, FieldDataType type, const std::string& text)
  {
    const std::string value(trimmed(text));
    if (!isRight(field, type, value)) {
      const bool isUnsigned = type == FIELD_ULONG || type == FIELD_ULONGLONG;
      refuse(field, value,
             isUnsigned && isInteger<unsigned long long>(value)
                 ? ": out of range, the greatest value that is kept is 9223372036854775807"
                 : "");
      return;
    }
    if (type == FIELD_ENUM || type == FIELD_LIST_ENUM) {
      const std::optional<int> number = enumNumber(type, value);
      if (number && !FieldDef::isValidEnumValue(field, *number)) {
        const _ClassDef* cls = referencedClass(field, 0);
        lines.push_back(std::string("Enum [") + (cls != nullptr && cls->name != nullptr ? cls->name : "") +
                        "] does not have enum value [" + oneLine(value, longestQuote) + "]");
      }
    }
  }

  /// Text where no value stands must be blank.
  void refuseText(Level& level)
  {
    const std::string text = utf8(level.text.c_str());
    level.text.clear();
    const std::string value(trimmed(text));
    if (value.empty()) {
      return;
    }
    if (level.field != nullptr) {
      refuse(*level.field, value);
    } else {
      lines.push_back(std::string("Message [") + (root_->name != nullptr ? root_->name : "") +
                      "] does not accept text [" + oneLine(value, longestQuote) + "]");
    }
  }

  void refuse(const FieldDef& field, const std::string& value, const char* reason = "")
  {
    lines.push_back(nameOf(field) + " does not accept value [" + oneLine(value, longestQuote) + "]" + reason);
  }

  static std::string nameOf(const FieldDef& field)
  {
    const char* type = fieldTypeInfo(field.type).text;  // some types have no name
    return std::string("Field [") + field.getName() + "]" +
           (type != nullptr ? std::string(" of type [") + type + "]" : std::string());
  }

  static constexpr std::size_t longestQuote = 100;

  const _ClassDef* root_;
  std::vector<Level> levels_;
  bool skipping_ = false;
  std::string skippedName_;
};

void check(const std::string& xml, Checker& checker)
{
  // The library's reader has started the XML library, and has refused documents that declare entities.
  const std::unique_ptr<xercesc::SAX2XMLReader> reader(xercesc::XMLReaderFactory::createXMLReader());
  reader->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
  reader->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpaces, false);
  reader->setFeature(xercesc::XMLUni::fgXercesSchema, false);
  reader->setFeature(xercesc::XMLUni::fgXercesLoadExternalDTD, false);
  reader->setFeature(xercesc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
  reader->setContentHandler(&checker);
  reader->setErrorHandler(&checker);
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "message",
                                          false);
  reader->parse(source);
}

}  // namespace

std::vector<std::string> wrongValues(const std::string& xml, const _ClassDef& root)
{
  Checker checker(&root);
  try {
    check(xml, checker);
  } catch (const xercesc::OutOfMemoryException&) {
    throw std::bad_alloc();
  } catch (const xercesc::XMLException& error) {
    checker.lines.push_back(utf8(error.getMessage()));
  } catch (const xercesc::SAXException& error) {
    checker.lines.push_back(utf8(error.getMessage()));
  }
  return std::move(checker.lines);
}

}  // namespace kwxml::tool
