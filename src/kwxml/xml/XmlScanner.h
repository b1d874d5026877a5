// Reads the documents that are written in practice without an XML library: UTF-8, elements, attributes,
// texts, sections of characters, comments, references to characters and to the five entities that XML has.
//
// A document is checked as a whole before the first of its events is told, so that one which is not accepted
// can be given to the parser of xerces-c as if nobody had looked at it. What is accepted is well-formed, and
// xerces-c would tell the same of it. Left to xerces-c are other encodings, XML 1.1, document types,
// processing instructions, names outside of ASCII or with a colon, attributes "xmlns", elements that nest
// deeper than is read, and all that is not well-formed. Not installed.
#pragma once

#include <kwxml/model/Limits.h>
#include <kwxml/xml/MessageReader.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

class XmlScanner final : public XmlPlaces
{
public:
  /// The text must outlive the scanner. A zero byte stands behind it, as behind that of a std::string.
  explicit XmlScanner(std::string_view text) : begin_(text.data()), end_(text.data() + text.size()) {}

  [[nodiscard]] bool accepts();
  /// The same for what a parser sees that stops behind the start tag of the root.
  [[nodiscard]] bool acceptsBeginning();
  /// How deep the elements of an accepted document nest.
  int deepest() const { return deepest_; }
  /// How many elements it has.
  std::uint32_t elements() const { return tagNumber_; }

  /// How many bytes of the text the first of several documents takes, with layout and comments behind it; all
  /// of them when that one is not accepted.
  [[nodiscard]] std::size_t firstDocument();

  /// Tells the rules of an accepted document; false when they end the reading.
  [[nodiscard]] bool tell(MessageReader& reader);
  /// The start tag of the root alone.
  [[nodiscard]] bool tellRoot(MessageReader& reader);

  ReadPlace ofAttribute(const XmlAttribute& attribute) const override { return placeOf(attribute.offset); }
  ReadPlace ofTag() const override { return placeOf(tag_); }
  ReadPlace ofText() const override { return placeOf(text_); }

private:
  // Checking. Each goes on behind what it has checked, and is false for what is not accepted.
  bool checkDocument(const char*& p);
  bool checkProlog(const char*& p);
  bool checkDeclaration(const char*& p);
  bool checkMiscellaneous(const char*& p);
  bool checkStartTag(const char*& at);
  bool checkContent(const char*& at);
  bool checkEndTag(const char*& p);
  bool checkSection(const char*& p);
  bool checkComment(const char*& p);
  bool checkReference(const char*& p);
  bool checkCharacter(const char*& p);
  const char* checkValue(const char* p);
  bool checkInValue(const char*& p);
  struct Name
  {
    const char* data;
    std::size_t size;
    operator std::string_view() const { return {data, size}; }
  };
  bool checkNew(Name name);
  bool checkNewOfMany(Name name);
  bool insert(std::uint32_t position);

  // Telling of what has been checked.
  const char* skipProlog() const;
  bool tellStartTag(const char*& at, MessageReader& reader, bool& isEmpty);
  void resolveValues();
  template <bool hasReferences>
  void tellText(const char* p, const char* end, MessageReader& reader);

  ReadPlace placeOf(std::size_t offset) const;
  void advance(ReadPlace& place, std::size_t offset) const;

  const char* const begin_;
  const char* const end_;

  Name open_[maxElementNesting];  ///< of the open elements
  int depth_ = 0;
  int deepest_ = 0;
  /// No value has references, or layout that stands for blanks.
  bool valuesAreThemselves_ = true;

  // The attributes of the tag that is checked. Where there are more than a few, a table has their positions,
  // each in the first place that is free from that of the hash on. A place belongs to the tag whose number it
  // has.
  struct Attribute
  {
    Name name;
    std::size_t hash;
  };
  struct Seen
  {
    std::uint32_t tag = 0;
    std::uint32_t position = 0;
  };
  std::array<Name, 12> few_;
  std::size_t count_ = 0;  ///< of those in few_
  std::vector<Attribute> many_;
  std::vector<Seen> seen_;
  std::size_t tabled_ = 0;  ///< so many of many_ are in the table
  std::uint32_t tagNumber_ = 0;

  std::vector<XmlAttribute> attributes_;
  std::string values_;   ///< of attributes whose text is not their value
  std::size_t tag_ = 0;  ///< offset of the tag that was told last
  std::size_t text_ = 0;
  mutable ReadPlace reached_{1, 1, 0};  ///< lines are counted from here
  mutable ReadPlace atTag_{1, 1, 0};    ///< or from here, for what stands before it
};

}  // namespace kwxml
