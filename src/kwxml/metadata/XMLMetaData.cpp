#include <kwxml/metadata/XMLMetaData.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>

using kwxml::MessageAccess;

using kwxml::log;

namespace {

constexpr const char* getFunction = "XMLMetaData::getXpathMetaData";
constexpr const char* collectFunction = "XMLMetaData::getXPathMetaDataHelper";
constexpr const char* setFunction = "XMLMetaData::setXpathMetaData";
constexpr const char* setHelperFunction = "XMLMetaData::setXpathMetaDataHelper";

/// Application types are told from other types by their range.
constexpr int firstAppType = 10000;

bool isList(FieldDataType type)
{
  return kwxml::fieldTypeInfo(type).element != FIELD_UNSET;
}

/// A stretch of the table of XPaths, which is sorted by text.
struct Range
{
  const XPathIDToXPath* begin;
  const XPathIDToXPath* end;
};

/// The entries whose text from `skip` on begins with `part` (or is it, with `whole`), among entries that are
/// the same before.
Range narrow(Range range, std::size_t skip, std::string_view part, bool whole)
{
  const auto compare = [&](const XPathIDToXPath& entry) {
    const char* text = entry.xpath + skip;
    return whole ? std::strcmp(text, part.data()) : std::strncmp(text, part.data(), part.size());
  };
  const auto* first = std::partition_point(range.begin, range.end, [&](auto& e) { return compare(e) < 0; });
  if (whole) {
    return {first, first != range.end && compare(*first) == 0 ? first + 1 : first};
  }
  return {first, std::partition_point(first, range.end, [&](auto& e) { return compare(e) == 0; })};
}

}  // namespace

// ---- Getting

/// The walk that collects values. The XPath of where it is grows and shrinks in one string, and with each
/// nested message the search is among the entries that begin with it.
struct XMLMetaData::Collector
{
  std::vector<XPathMetaData>& out;
  std::string xpath;
  int depth = 1;

  void message(YMMessageBase& message, Range entries);
  void field(YMMessageBase& message, const FieldDef& def, Range entries);
  /// Steps into the nested message of a field, whose XPath ends with its name.
  void nested(YMMessageBase& holder, const FieldDef& def, Range entries);
};

void XMLMetaData::Collector::nested(YMMessageBase& holder, const FieldDef& def, Range entries)
{
  auto* held = MessageAccess::pointer<YMMessageBase>(holder, def.slot);
  if (held == nullptr) {
    return;
  }
  const std::size_t before = xpath.size();
  xpath += def.getName();
  xpath += "[1]/";
  message(*held, narrow(entries, before, std::string_view(xpath).substr(before), false));
  xpath.resize(before);
}

void XMLMetaData::Collector::message(YMMessageBase& message, Range entries)
{
  if (message.getClass() == nullptr) {
    log().logError(collectFunction, "Unable to get Metadata for Object");
    return;
  }
  if (++depth > kwxml::maxMessageNesting) {
    log().logError(collectFunction, "Messages nest deeper than [%d]", kwxml::maxMessageNesting);
  } else {
    const std::size_t most = out.size() + static_cast<std::size_t>(message.getNumberOfFields());
    if (most > out.capacity()) {
      out.reserve(std::max(most, 2 * out.capacity()));
    }
    MessageAccess::forEachSet(message, [&](const FieldDef& def) { field(message, def, entries); });
  }
  --depth;
}

void XMLMetaData::Collector::field(YMMessageBase& message, const FieldDef& def, Range entries)
{
  if (def.type == FIELD_OBJECT) {
    nested(message, def, entries);
    return;
  }
  const std::size_t before = xpath.size();
  const bool list = isList(def.type);
  if (!list) {
    xpath += '@';
  }
  xpath += def.getName();
  if (def.type == FIELD_LIST_OBJECT) {
    log().debug(collectFunction, 25, "Type:[complex List] Found Xpath[%s]. This is yet to be implemented.",
                xpath.c_str());
  } else if (const Range found = narrow(entries, before, xpath.c_str() + before, true);
             found.begin != found.end) {
    const bool single = kwxml::AnnotationRecord(def.annotations).has(kwxml::annotationTag("SingleInstanced"));
    const auto append = [&](const void* value) {
      XPathMetaData& record = out.emplace_back();
      record.id = static_cast<int>(found.begin->id);
      record.xpath = xpath;
      record.value = getStringFromFld(def.type, value);
      record.appType = firstAppType + getAppType(static_cast<char>(def.type));
      record.singleInstanced = single;
      record.isList = list;
    };
    if (list) {
      std::vector<void*> elements;
      MessageAccess::listElements(message, def, elements);
      std::for_each(elements.begin(), elements.end(), append);
    } else {
      append(def.getFieldAddrResolved(message));
    }
  }
  xpath.resize(before);
}

int XMLMetaData::getXpathMetaData(YMMessageBase* message, std::vector<XPathMetaData>& out, bool all)
{
  if (message == nullptr) {
    log().logError(getFunction, "Received NULL as pointer to object.");
    return 1;
  }
  if (data_ == nullptr) {
    data_ = kwxml::Registry::of(*message).xpathData(static_cast<short>(message->getSubsysID()));
  }
  if (data_ == nullptr) {
    log().logError(getFunction, "No XPath metadata exists for given subsystem id : [%ul]",
                   static_cast<unsigned>(message->getSubsysID()));
    return 1;
  }
  if (message->getClass() == nullptr) {
    log().logError(getFunction, "Unable to get Metadata for Object : [%s]", message->getTagName().c_str());
    return 1;
  }
  Collector collector{out, {}};
  const Range entries{data_->idToXPath, data_->idToXPath + data_->count};
  MessageAccess::forEachSet(*message, [&](const FieldDef& def) {
    if (def.type == FIELD_OBJECT && (all || hasXPath(reinterpret_cast<const char*>(def.annotations)))) {
      collector.nested(*message, def, entries);
    }
  });
  return 0;
}

// ---- Setting

int XMLMetaData::setXpathMetaData(YMMessageBase*& message, std::vector<XPathMetaData> records,
                                  short systemIndex)
{
  if (message == nullptr) {
    log().logError(setFunction, "Received NULL as pointer to object.");
    return 1;
  }
  if (data_ == nullptr) {
    data_ = kwxml::Registry::of(*message).xpathData(systemIndex);
  }
  if (data_ == nullptr) {
    log().logError(setFunction, "No XPath metadata exists for given subsystem index: [%d]",
                   static_cast<int>(systemIndex));
    return 1;
  }
  if (message->getClass() == nullptr) {
    log().logError(setFunction, "Unable to get Metadata for Object : [%s]", message->getTagName().c_str());
    return 1;
  }
  for (const XPathMetaData& record : records) {
    const int index = getXPathFieldsInfoIndex(data_->idToFieldsInfo, data_->count - 1, record.id);
    if (index < 0 || index >= data_->count) {
      log().logError(setFunction, "No MetaData exists for XPath ID :[%lu]",
                     static_cast<unsigned long>(record.id));
    } else if (setValue(message, data_->fieldsInfo[index], 0, record.value) != 0) {
      return 1;
    }
  }
  return 0;
}

/// Stores a value into the field that the path leads to from `level` on. 0, or 1.
int XMLMetaData::setValue(YMMessageBase* message, const kwxml::XPathFieldsInfo& path, int level,
                          const std::string& value) const
{
  if (message == nullptr) {
    log().logError(setHelperFunction, "The object pointer received is NULL");
    return 1;
  }
  const _ClassDef* cls = message->getClass();
  if (cls == nullptr) {
    log().logError(setHelperFunction, "Unable to get Metadata for Object : [%s]",
                   message->getTagName().c_str());
    return 1;
  }
  // The tables may be another system's, so a path that leads nowhere is an error like an index beyond the
  // fields.
  const int index = level < path.depth && path.fieldIndices != nullptr ? path.fieldIndices[level] : -1;
  if (index < 0 || index >= cls->numberOfFields) {
    log().logError(setHelperFunction, "Error while reconstruction of object from XPathID");
    return 1;
  }
  const FieldDef& def = cls->fields[index];
  const bool leadsOn = def.type == FIELD_OBJECT || def.type == FIELD_LIST_OBJECT;
  if (leadsOn && (level + 1 >= path.depth || level + 2 > kwxml::maxMessageNesting)) {
    log().logError(setHelperFunction, "Error while reconstruction of object from XPathID");
    return 1;
  }
  if (def.type == FIELD_OBJECT) {
    auto*& held = MessageAccess::pointer<YMMessageBase>(*message, def.slot);
    if (held == nullptr) {
      held = kwxml::createIfThere(MessageAccess::reference(*message, def));
    }
    if (held != nullptr) {
      MessageAccess::mark(*message, def);
    }
    return setValue(held, path, level + 1, value);
  }
  if (def.type == FIELD_LIST_OBJECT) {
    const std::unique_ptr<YMMessageBase> element(
        kwxml::createIfThere(MessageAccess::reference(*message, def)));
    if (setValue(element.get(), path, level + 1, value) != 0) {
      return 1;
    }
    return MessageAccess::appendElement(*message, def, element.get()) ? 0 : 1;
  }
  MsgFieldContext field(def, message);
  if (!replaceValuefromString(field, value)) {
    log().debug(setHelperFunction, 15, "Unable to set value for Message [%s] : Field [%s] value :[%s]",
                message->getTagName().c_str(), def.getName(), value.c_str());
    return 1;
  }
  return 0;
}

namespace {

/// The number that takes the whole text; empty when it does not fit.
template <class Number>
std::optional<Number> wholeNumber(const std::string& text)
{
  Number number{};
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

/// An enumerator is a number of 32 bits, signed or not.
std::optional<unsigned> enumerator(const std::string& text)
{
  const auto number = wholeNumber<long long>(text);
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<unsigned>::max()) {
    return std::nullopt;
  }
  return static_cast<unsigned>(*number);
}

std::optional<bool> truthValue(const std::string& text)
{
  if (text == "1" || kwxml::asciiEqualsIgnoreCase(text, "true")) {
    return true;
  }
  if (text == "0" || kwxml::asciiEqualsIgnoreCase(text, "false")) {
    return false;
  }
  return std::nullopt;
}

/// The bytes of a text that getStringFromFld() has written for bytes, or of any other.
std::string bytesOf(const std::string& text)
{
  if (!text.ends_with('\n')) {
    return text;
  }
  std::string bytes;
  std::string again;
  const bool encoded =
      text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=\n") ==
          std::string::npos &&
      base64Decode(text, bytes) && base64Encode(bytes, again) && again == text;
  return encoded ? bytes : text;
}

}  // namespace

bool XMLMetaData::replaceValuefromString(MsgFieldContext& field, const std::string& text)
{
  const auto store = [&field](const auto& value) {
    if (value) {
      field.replaceValue(*value);
    }
    return value.has_value();
  };
  const FieldDataType type = field.getField().type;
  if (field.getRecord() == nullptr || field.getRecord()->type != type) {
    return false;
  }
  const FieldDataType element = isList(type) ? kwxml::fieldTypeInfo(type).element : type;
  return kwxml::visitFieldType(element, [&]<class Tag>(Tag) {
    using Native = kwxml::NativeValue<Tag::type>;
    if constexpr (Tag::type == FIELD_ENUM) {
      return store(enumerator(text));
    } else if constexpr (std::is_same_v<Native, bool>) {
      return store(truthValue(text));
    } else if constexpr (Tag::type == FIELD_STRING) {
      field.replaceValue(text);
      return true;
    } else if constexpr (kwxml::ByteString<Tag>) {
      field.replaceValue(bstring(bytesOf(text)), true);
      return true;
    } else if constexpr (kwxml::PasswordString<Tag>) {
      field.replaceValue(pstring(bytesOf(text)));
      return true;
    } else if constexpr (std::is_arithmetic_v<Native> && Tag::type != FIELD_ULONGLONG) {
      return store(wholeNumber<Native>(text));
    } else {
      return false;
    }
  });
}

// ---- Look-ups

bool XMLMetaData::getXPathIDFromXPath(const char* xpath, int& id) const
{
  if (data_ == nullptr || xpath == nullptr) {
    return false;
  }
  const Range found = narrow({data_->idToXPath, data_->idToXPath + data_->count}, 0, xpath, true);
  if (found.begin == found.end) {
    return false;
  }
  id = static_cast<int>(found.begin->id);
  return true;
}

bool XMLMetaData::getXPathFromID(short systemIndex, int id, std::string& xpath) const
{
  const XPathDataRow* data = YMMessageBase::getXPathData(systemIndex);
  if (data == nullptr) {
    const std::string text =
        "Error retrieving metadata for Subsystem ID [" + std::to_string(systemIndex) + "]";
    log().logError("XMLMetaData::getXPathFromID", "[%s]", text.c_str());
    xpath.clear();
    return false;
  }
  const XPathIDToXPath* end = data->idToXPath + data->count;
  const auto* found = std::find_if(data->idToXPath, end, [id](const XPathIDToXPath& entry) {
    return entry.id == static_cast<std::uint32_t>(id);
  });
  if (found == end) {
    return false;
  }
  xpath = found->xpath;
  return true;
}

int XMLMetaData::getXPathFieldsInfoIndex(const XPathIDHelper* table, int last, int id) const
{
  if (table == nullptr) {
    log().logError("XMLMetaData::getFieldNumbers", "Subsytem XPath Metadata not provided");
    return -1;
  }
  if (last < 0) {
    return -1;
  }
  const XPathIDHelper* end = table + last + 1;
  const auto* found = std::lower_bound(
      table, end, id, [](const XPathIDHelper& entry, int wanted) { return entry.id < wanted; });
  return found != end && found->id == id ? found->fieldsInfoIndex : -1;
}

bool XMLMetaData::doesXPathIDExist(short systemIndex, int id) const
{
  const XPathDataRow* data = YMMessageBase::getXPathData(systemIndex);
  if (data == nullptr) {
    log().debug("XMLMetaData::doesXPathIDExist", 10, "XPath Metadata does not exist for subsystem [%d]",
                static_cast<int>(systemIndex));
    return false;
  }
  const int index = getXPathFieldsInfoIndex(data->idToFieldsInfo, data->count - 1, id);
  return index >= 0 && index < data->count;
}

int XMLMetaData::getAppType(char type)
{
  return kwxml::fieldTypeInfo(static_cast<unsigned char>(type)).appType;
}

bool XMLMetaData::hasXPath(const char* info)
{
  if (info == nullptr) {
    return false;
  }
  // The bytes make a little-endian word. Rotated right by eight bits it is below four only when nothing but
  // the length, whose lower byte is the second, is there.
  unsigned char byte[4];
  std::memcpy(byte, info, sizeof byte);
  const std::uint32_t rotated =
      static_cast<std::uint32_t>(byte[1]) | static_cast<std::uint32_t>(byte[2]) << 8 |
      static_cast<std::uint32_t>(byte[3]) << 16 | static_cast<std::uint32_t>(byte[0]) << 24;
  return rotated >= 4 && (byte[3] & 0x80) != 0;
}
