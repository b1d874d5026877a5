// The writer's sink that makes JSON. Not installed.
//
// A message is an object, a field a member of it, a list an array; a map is an object whose members are its
// entries, or, where keys are messages, an array of {"key":...,"value":...}. The names of members come with
// their quotes and the colon.
#pragma once

#include <kwxml/json/JsonValueTexts.h>
#include <kwxml/model/Limits.h>
#include <kwxml/xml/TextOutput.h>
#include <kwxml/xml/WritePlan.h>
#include <kwxml/xml/XmlSink.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwxml {

class JsonSink
{
public:
  using Texts = JsonValueTexts;
  static constexpr FieldOrder order = FieldOrder::OfRecords;
  static constexpr bool hasWideTexts = true;
  static XmlName nameOf(const WritePlan::Field& field) { return field.jsonKey; }

  JsonSink(TextOutput& out, bool readable) : out_(out), readable_(readable) {}

  void beginDocument() { begin('{'); }
  void endDocument() { end('}'); }

  // As of the other sinks; an element can always be made.
  bool open(XmlName key)
  {
    member(key);
    begin('{');
    return true;
  }
  bool openItem(XmlName)
  {
    next();
    begin('{');
    return true;
  }
  void close() { end('}'); }

  void beginList(XmlName key)
  {
    member(key);
    begin('[');
  }
  void endList() { end(']'); }
  void beginMap(XmlName key, bool isKeyed)
  {
    member(key);
    keyed_ = keyed_ << 1 | (isKeyed ? 1 : 0);
    begin(isKeyed ? '{' : '[');
  }
  void endMap()
  {
    end(isKeyed() ? '}' : ']');
    keyed_ >>= 1;
  }
  bool openMapEntry(XmlName);
  void mapValue();
  void closeMapEntry();
  void beginPart() { begin('{'); }
  void endPart() { end('}'); }

  void attribute(XmlName key, const XmlValue& value)
  {
    if (isShort(key.size, value)) [[likely]] {
      return putShort({key.text, key.size}, value);
    }
    member(key);
    put(value, !value.bare);
  }
  void textElement(XmlName key, const XmlValue& value) { attribute(key, value); }
  void sectionElement(XmlName key, const XmlValue& value) { attribute(key, value); }
  bool item(XmlName, ItemForm, const XmlValue& value)
  {
    if (isShort(0, value)) [[likely]] {
      putShort({}, value);
    } else {
      next();
      put(value, !value.bare);
    }
    return true;
  }
  void itemValue(ItemForm, const XmlValue& value) { put(value, !value.bare || inKey_); }

private:
  static constexpr std::size_t shortMember = 1024;

  /// Whether the entries of the current map are members.
  bool isKeyed() const { return (keyed_ & 1) != 0; }
  void begin(char bracket)
  {
    out_.put(bracket);
    ++depth_;
    first_ = true;
  }
  void end(char bracket);
  /// What follows is the next member or item of the current object or array.
  void next()
  {
    if (!first_) {
      out_.put(',');
    }
    first_ = false;
    if (readable_) {
      newLine();
    }
  }
  void member(XmlName key)
  {
    next();
    out_.put({key.text, key.size});
    if (readable_) {
      out_.put(' ');
    }
  }
  /// Whether a member or an item can be written at once.
  bool isShort(std::size_t keySize, const XmlValue& value) const
  {
    return value.plain && !readable_ && keySize + value.text.size() <= shortMember;
  }
  void putShort(std::string_view key, const XmlValue& value);
  void put(const XmlValue& value, bool isQuoted);
  void escaped(std::string_view text);
  void newLine();

  TextOutput& out_;
  const bool readable_;
  bool first_ = true;        ///< the current object or array is empty so far
  bool inKey_ = false;       ///< what follows is the name of an entry
  std::size_t depth_ = 0;    ///< open objects and arrays
  std::uint64_t keyed_ = 0;  ///< a bit for each open map, the innermost the lowest
  static_assert(maxMessageNesting <= 64, "a message has at most one map open");
};

}  // namespace kwxml
