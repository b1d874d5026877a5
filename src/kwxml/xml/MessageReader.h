// The rules that build a message from the elements, attributes and texts of its XML form. They know no XML
// library and work on UTF-8: a feed tells them of a document, be it MySAX2Handler behind the parser of
// xerces-c or XmlScanner. The reader of JSON feeds them too: it tells of nested messages and of the entries
// of maps as if they were elements, and of values by the members for feeds that know fields. Not installed.
//
// A document's elements are tracked by frames, one per open element, so that an end tag always ends what its
// start tag began, whatever the text between them held. Messages under construction are owned by the message
// above them, a map entry's key and value by the entry's state, and the root by the reader until take(): a
// root that nobody took, as after a document that broke off, ends with the reader.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/MemoryBudget.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/reading/ReadObserver.h>
#include <kwxml/xml/InvalidChars.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KwXMLContextInfo;

namespace kwxml {

/// An attribute of a start tag. The texts live as long as the call that gets them; `offset` is what the feed
/// finds the value by in its document.
struct XmlAttribute
{
  std::string_view name;
  std::string_view value;
  std::uint32_t hash;  ///< nameHash() of the name
  std::size_t offset = 0;
};
using XmlAttributes = std::span<const XmlAttribute>;

/// Where in its document a feed is; asked only to tell of a problem.
class XmlPlaces
{
public:
  virtual ReadPlace ofAttribute(const XmlAttribute& attribute) const = 0;
  virtual ReadPlace ofTag() const = 0;
  /// Of the text that was told last.
  virtual ReadPlace ofText() const = 0;

protected:
  ~XmlPlaces() = default;
};

class MessageReader
{
public:
  /// The names of the parts of a map's entry, and of the attribute with their values and those of items.
  static constexpr const char* mapKeyName = "__mapKey__";
  static constexpr const char* mapValueName = "__mapValue__";
  static constexpr const char* itemAttribute = "val";

  MessageReader();
  MessageReader(const MessageReader&) = delete;
  MessageReader& operator=(const MessageReader&) = delete;
  ~MessageReader();

  /// What passwords are read with; the context (null: none) must outlive the reading.
  void setContext(KwXMLContextInfo* context) { context_ = context; }
  void setFlags(const EncodingFlags& flags) { flags_ = flags; }
  /// Defaults of new messages stay set while reading; otherwise only what the document holds is set.
  void keepDefaults() { keepDefaults_ = true; }
  /// The memory that messages may take; at first that of an empty input.
  void setBudget(const MemoryBudget& budget) { budget_ = budget; }
  /// Reads into a message of the caller instead of a new one: its fields stay unless the document sets them.
  void readInto(YMMessageBase* message) { target_ = message; }

  /// Reads into that message if it is of the root's class, as into a new one that takes over the memory of
  /// its values. Only for documents that are known to be read to their end, and not together with readInto(),
  /// an observer, or defaults that are kept. MessageReuse must be able to begin with it; it outlives the
  /// reader.
  void reuse(YMMessageBase* message) { reusable_ = message; }

  /// Who is told of problems, and who knows where they are; both null (nobody is told) or neither. They
  /// outlive the reading.
  void setObserver(ReadObserver* observer, const XmlPlaces* places);
  /// Whether it is the name of a class, or of a field of an open message.
  bool knowsName(std::string_view name) const;
  /// Values may hold halves of surrogate pairs, as three bytes each, which no UTF-8 has.
  void expectSurrogates() { mayHoldSurrogates_ = true; }
  /// Texts are what they are: a form without the escapes of XML.
  void expectPlainTexts() { plainTexts_ = true; }

  /// False ends the reading: the root cannot be made, or elements nest too deep (logged).
  [[nodiscard]] bool startElement(std::string_view name, std::uint32_t hash, XmlAttributes attributes);
  /// A part of the text between two tags.
  void characters(std::string_view text);
  void endElement(std::string_view name);
  /// Whether characters() would use what it is told.
  bool usesText() const;

  /// Stores the attributes in the current message; false when one could not be processed.
  bool processAttributes(XmlAttributes attributes);
  /// Puts the finished entry into the map field of the current message; a key that is there keeps its first
  /// value.
  void processMapEnd(const FieldDef& field);

  // For feeds that know fields. Each `def` is one of the current message.

  /// Whether the element that was started last, and what is in it, is passed over: its class is missing.
  bool isSkipping() const { return skipping_; }
  /// The field whose name has the hash; null when the current message has none.
  const FieldDef* field(std::uint32_t hash) const { return findField(hash); }
  /// The current message's fields.
  const FieldDef* beginOfFields() const { return current_->getClass()->begin(); }
  const FieldDef* endOfFields() const { return current_->getClass()->end(); }
  /// Stores the text of a scalar, or appends that of an item.
  void storeText(const FieldDef& def, std::string_view text) { store(def, text, feedFunction_); }
  /// The same for numbers that go into slots of integers as they are, and for wide strings.
  void storeNumber(const FieldDef& def, long long value);
  void storeWide(const FieldDef& def, std::wstring&& value);
  /// Appends a number to a list of integers, as what its text would be read as; false for other fields.
  [[nodiscard]] bool addNumber(const FieldDef& def, long long value);
  /// Makes the list or the map of a field an empty one that is set; of two the last counts.
  void beginCollection(const FieldDef& def);
  /// Under which the log knows the feed; a constant.
  void setFunction(const char* function) { feedFunction_ = function; }

  /// A problem as the rules tell it; `type` unless it is the field's.
  struct Met
  {
    const FieldDef* field = nullptr;
    std::string_view text{};
    std::string_view remark{};
    FieldDataType type = FIELD_UNSET;
    bool isWhole = false;  ///< of a list: not about an item of it
  };
  /// Tells the observer, where there is one.
  void tell(ProblemKind kind, const Met& met)
  {
    if (observer_ != nullptr) [[unlikely]] {
      report(kind, met);
    }
  }

  /// True from the root's start tag on: a reader reads one document.
  bool started() const { return started_; }
  /// The root message, null before its start tag; still the reader's, or the target of readInto().
  YMMessageBase* root() const { return root_; }
  /// Makes a caller's message what was read, whose memory it may take over. False where that is of another
  /// class, which the observer (null: none) is told; the caller's message is as before then.
  [[nodiscard]] static bool moveInto(YMMessageBase& message, YMMessageBase&& read, ReadObserver* observer);
  /// Hands the root message to the caller, who owns it then. Later calls give the same one again.
  YMMessageBase* take();

private:
  enum class Kind
  {
    Message,   ///< root, list item, nested message: its end ends the current message
    Scalar,    ///< a field in element form, or an item of a list: its text is the value
    MapEntry,  ///< an entry of a map field
    MapPart,   ///< the key or value of an entry that is no message
    StrayMapPart,
    Done,  ///< the value stood in an attribute: nothing to do at its end
    Skipped,
  };
  struct Frame
  {
    Kind kind;
    const FieldDef* def = nullptr;
    YMMessageBase* enclosing = nullptr;  ///< current message outside this element (Kind::Message)
    bool isKey = false;
    bool hasValue = false;
    bool toldOfText = false;  ///< the observer knows that it holds text where none belongs
  };
  /// What one open map entry has read so far.
  struct Entry
  {
    explicit Entry(const FieldDef* field) : def(field) {}
    const FieldDef* def;
    bool keySeen = false;
    bool valueSeen = false;
    long long intKey = 0;
    long long intValue = 0;
    std::string stringKey;
    std::string stringValue;
    std::unique_ptr<YMMessageBase> objectKey;
    std::unique_ptr<YMMessageBase> objectValue;
  };

  /// An open message whose values may be stale (null where they are not: that one is new), and its list that
  /// is being filled over old items.
  struct Reuse
  {
    YMMessageBase* message;
    const FieldDef* list = nullptr;
    std::size_t filled = 0;
  };

  /// Under which the log knows the begin of messages and fields.
  const char* startFunction() const { return plainTexts_ ? feedFunction_ : "MySAX2Handler::startElement"; }
  bool startRoot(std::string_view name, XmlAttributes attributes);
  bool startField(const FieldDef& def, std::string_view name, XmlAttributes attributes);
  bool startMapPart(bool isKey, std::string_view name, XmlAttributes attributes);
  bool enterMessage(YMMessageBase* message, const FieldDef* def, XmlAttributes attributes, bool isKey = false,
                    bool reused = false);
  void prepare(YMMessageBase& message) const;
  [[nodiscard]] bool takesMemoryFor(const YMMessageBase& made);
  bool isStale(const FieldDef& def) const { return !reuses_.empty() && isOld(def); }
  bool isOld(const FieldDef& def) const;
  template <class Item>
  Item* oldItem(const FieldDef& def, std::vector<Item>& list);
  YMMessageBase& addMessage(const FieldDef& def, std::vector<YMMessageBase>& list,
                            const PackedReference& reference, bool& reused);
  void endList(Reuse& reuse) noexcept;
  void beginReuse(YMMessageBase* message);
  void endReuse() noexcept;
  /// Skips an element with all within: an unknown one, or that of the field `missing`, whose class the
  /// catalogue lacks.
  void startSkipping(std::string_view name, const FieldDef* missing = nullptr);
  void endScalar(const Frame& frame);
  /// Only the hash of a name counts, and of fields with the same one the first.
  const FieldDef* findField(std::uint32_t hash) const { return MessageAccess::planOf(*current_).field(hash); }

  /// Converts a text to the field's type and stores it: a scalar is set, an item is appended to its list.
  /// False when the text is no such value (logged under `function`); the field is left as it was.
  bool store(const FieldDef& def, std::string_view text, const char* function);
  bool storeInteger(const FieldDef& def, std::string_view text, const char* function);
  bool storeEnum(const FieldDef& def, std::string_view text, const char* function);
  template <class Tag>
  typename Tag::Value& listOf(const FieldDef& def);
  template <class Tag>
  bool appendItem(const FieldDef& def, std::string_view text);
  void storeMapPart(Entry& entry, bool isKey, std::string_view text);
  /// Whether a text has no escapes, and nothing else to look at.
  bool isItself(std::string_view text) const
  {
    return plainTexts_ || ((text.empty() || text.front() != '|') && !mayHoldSurrogates_);
  }
  /// The text with its escapes undone, in UTF-8; false (logged) when it holds a lone surrogate.
  bool unescape(std::string_view text, std::string& out);
  bool unescapeBytes(std::string_view text, std::string& out);

  // What an observer is told; see MessageReaderProblems.cpp. Without one each of these costs a look.
  /// What a text would be read as must be what it says.
  void checkFit(const FieldDef& def, FieldDataType type, std::string_view text)
  {
    if (observer_ != nullptr) [[unlikely]] {
      reportUnfit(def, type, text);
    }
  }
  /// A date or a time that has been read must be of that form, with "d" for digits, and on a calendar.
  void checkTime(const FieldDef& def, std::string_view text, std::string_view form)
  {
    if (observer_ != nullptr) [[unlikely]] {
      reportTime(def, text, form);
    }
  }
  /// A field that is no collection keeps one value: of two the first is dropped.
  void checkGiven(const FieldDef& def)
  {
    if (observer_ != nullptr) [[unlikely]] {
      reportGiven(def);
    }
  }
  /// Attributes where only the one with a value counts, if any.
  void checkOthers(const FieldDef& def, XmlAttributes attributes, bool valueIsRead)
  {
    if (observer_ != nullptr) [[unlikely]] {
      reportOthers(def, attributes, valueIsRead);
    }
  }
  void report(ProblemKind kind, const Met& met);
  void reportUnfit(const FieldDef& def, FieldDataType type, std::string_view text);
  void reportTime(const FieldDef& def, std::string_view text, std::string_view form);
  void reportEnumerator(const FieldDef& def, std::string_view text);
  void reportGiven(const FieldDef& def);
  void reportOthers(const FieldDef& def, XmlAttributes attributes, bool valueIsRead);
  void reportText(std::string_view text);
  void reportIncomplete(const Entry& entry);
  void appendEntry(std::string& path, const Entry& entry, std::size_t frame) const;
  static std::string keyText(const Entry& entry);
  bool isInSecret() const;
  std::string pathTo(const FieldDef* field, bool isWhole) const;

  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
  std::vector<Frame> frames_;
  std::vector<Entry> entries_;
  const char* lastMapName_ = "";  ///< a constant of the catalogue
  YMMessageBase* root_ = nullptr;
  bool ownsRoot_ = false;
  bool started_ = false;
  YMMessageBase* current_ = nullptr;
  YMMessageBase* target_ = nullptr;
  YMMessageBase* reusable_ = nullptr;
  std::vector<Reuse> reuses_;  ///< of all open messages where the root is reused; else empty
  bool keepDefaults_ = false;
  int messageDepth_ = 0;
  MemoryBudget budget_{0, 0};
  bool skipping_ = false;
  std::string skippedName_;
  std::string text_;
  XmlInvalidCharHandler escaper_;
  bool mayHoldSurrogates_ = false;
  bool plainTexts_ = false;
  const char* feedFunction_ = "";

  ReadObserver* observer_ = nullptr;
  const XmlPlaces* places_ = nullptr;
  const XmlAttribute* attribute_ = nullptr;  ///< the one that is being read
  bool inText_ = false;                      ///< what is being read is the text before an end tag
  std::vector<std::vector<bool>> given_;     ///< for each open message the fields that have their value
};

}  // namespace kwxml
