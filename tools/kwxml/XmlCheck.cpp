#include "XmlCheck.h"

#include "Report.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/Dates.h>

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
#include <cstdlib>
#include <memory>
#include <new>

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

bool isReal(const std::string& text)
{
  double number = 0;  // a number out of range is infinite, as the reader has it
  const char* begin = text.c_str() + (text.starts_with('+') ? 1 : 0);
  const char* end = text.c_str() + text.size();
  const auto result = std::from_chars(begin, end, number);
  return begin != end && result.ec != std::errc::invalid_argument && result.ptr == end;
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

/// Whether a value of a type is read as what it says. Types whose texts can say anything, or are checked by
/// the reader, are always right.
bool isRight(const FieldDef& field, FieldDataType type, const std::string& text)
{
  switch (type) {
    case FIELD_INT:
    case FIELD_UINT:
    case FIELD_LONG:
    case FIELD_ULONG:
    case FIELD_LONGLONG:
    case FIELD_ULONGLONG:
    case FIELD_TIME32:
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
      return text.empty() || text[0] < '0' || text[0] > '9' || isInteger<long long>(text);
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
    case FIELD_FLOAT:
    case FIELD_LIST_FLOAT:
    case FIELD_LIST_DOUBLE:
      return isReal(text);
    default:
      return true;
  }
}

const _ClassDef* referencedClass(const FieldDef& field, int which)
{
  const PackedReference reference = packedReference(field, which);
  return findClass(reference.system, reference.classIndex);
}

/// Follows a document through the classes of its messages.
class Checker : public xercesc::DefaultHandler
{
public:
  explicit Checker(const _ClassDef* root) : root_(root) {}
  std::vector<std::string> lines;

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override
  {
    text_.clear();
    const std::string name = utf8(qname);
    Level level{};
    if (levels_.empty()) {
      level.message = root_;
    } else if (const Level& outer = levels_.back(); outer.message != nullptr) {
      level = inMessage(*outer.message, name);
    } else if (outer.map) {
      level = inMap(*outer.field, name);
    }
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
      const std::string attribute = utf8(attributes.getQName(i));
      if (level.message != nullptr) {
        if (const FieldDef* field = findField(*level.message, nameHash(attribute.data(), attribute.size()))) {
          check(*field, field->type, utf8(attributes.getValue(i)));
        }
      } else if (level.field != nullptr && !level.map && attribute == "val") {
        check(*level.field, level.type, utf8(attributes.getValue(i)));
      }
    }
    levels_.push_back(level);
  }

  void characters(const XMLCh* chars, const XMLSize_t length) override
  {
    if (!levels_.empty() && levels_.back().field != nullptr && !levels_.back().map) {
      text_.append(chars, length);
    }
  }

  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override
  {
    const Level level = levels_.back();
    levels_.pop_back();
    if (level.field != nullptr && !level.map && !text_.empty()) {  // an element without text sets nothing
      check(*level.field, level.type, utf8(text_.c_str()));
    }
    text_.clear();
  }

private:
  /// An element: a message, a map's entry, or the value of a field. All empty: what nobody reads.
  struct Level
  {
    const _ClassDef* message;
    const FieldDef* field;
    FieldDataType type;
    bool map;
  };

  static Level inMessage(const _ClassDef& message, const std::string& name)
  {
    const FieldDef* field = findField(message, nameHash(name.data(), name.size()));
    if (field == nullptr) {
      return {};
    }
    if (field->type == FIELD_OBJECT || field->type == FIELD_LIST_OBJECT) {
      return {referencedClass(*field, 0), nullptr, field->type, false};
    }
    return {nullptr, field, field->type, FieldDef::isMapType(field->type)};
  }

  static Level inMap(const FieldDef& map, const std::string& name)
  {
    const bool isKey = name == "__mapKey__";
    if (!isKey && name != "__mapValue__") {
      return {};
    }
    const FieldDataType type =
        isKey ? FieldDef::getMapKeyType(map.type) : FieldDef::getMapValueType(map.type);
    if (type == FIELD_OBJECT) {
      return {referencedClass(map, !isKey && map.type == FIELD_MAP_OBJECT_OBJECT ? 1 : 0), nullptr, type,
              false};
    }
    return {nullptr, &map, type, false};
  }

  void check(const FieldDef& field, FieldDataType type, const std::string& text)
  {
    constexpr const char* blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    const std::string value = first == std::string::npos
                                  ? std::string()
                                  : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
    if (!isRight(field, type, value)) {
      constexpr std::size_t longest = 100;
      lines.push_back(std::string("Field [") + field.getName() + "] of type [" +
                      FieldDef::getFieldTypeName(field.type) + "] does not accept value [" +
                      oneLine(value, longest) + "]");
    }
  }

  const _ClassDef* root_;
  std::vector<Level> levels_;
  std::u16string text_;
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
