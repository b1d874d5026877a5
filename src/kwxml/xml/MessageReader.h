// The rules that build a message from the elements, attributes and texts of its XML form. They know no XML
// library: MySAX2Handler feeds them from a parser. Not installed.
//
// A document's elements are tracked by frames, one per open element, so that an end tag always ends what its
// start tag began, whatever the text between them held. Messages under construction are owned by the message
// above them, a map entry's key and value by the entry's state, and the root by the reader until take(): a
// root that nobody took, as after a document that broke off, ends with the reader.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/InvalidChars.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KwXMLContextInfo;

namespace kwxml {

/// An attribute of a start tag. The texts live as long as the call that gets them.
struct XmlAttribute
{
  std::u16string_view name;
  std::u16string_view value;
};
using XmlAttributes = std::span<const XmlAttribute>;

class MessageReader
{
public:
  MessageReader();
  MessageReader(const MessageReader&) = delete;
  MessageReader& operator=(const MessageReader&) = delete;
  ~MessageReader();

  /// What passwords are read with; the context (null: none) must outlive the reading.
  void setContext(KwXMLContextInfo* context) { context_ = context; }
  void setFlags(const EncodingFlags& flags) { flags_ = flags; }
  /// Defaults of new messages stay set while reading; otherwise only what the document holds is set.
  void keepDefaults() { keepDefaults_ = true; }
  /// Reads into a message of the caller instead of a new one: its fields stay unless the document sets them.
  void readInto(YMMessageBase* message) { target_ = message; }

  /// False ends the reading: the root cannot be made, or elements nest too deep (logged).
  [[nodiscard]] bool startElement(std::u16string_view name, XmlAttributes attributes);
  void characters(const char16_t* text, std::size_t length);
  void endElement(std::u16string_view name);

  /// Stores the attributes in the current message; false when one could not be processed.
  bool processAttributes(XmlAttributes attributes);
  /// Puts the finished entry into the map field of the current message; a key that is there keeps its first
  /// value.
  void processMapEnd(const FieldDef& field);

  /// True from the root's start tag on: a reader reads one document.
  bool started() const { return started_; }
  /// The root message, null before its start tag; still the reader's, or the target of readInto().
  YMMessageBase* root() const { return root_; }
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

  bool startRoot(std::u16string_view name, XmlAttributes attributes);
  bool startField(const FieldDef& def, std::u16string_view name, XmlAttributes attributes);
  bool startMapPart(bool isKey, std::u16string_view name, XmlAttributes attributes);
  bool enterMessage(YMMessageBase* message, const FieldDef* def, XmlAttributes attributes);
  void prepare(YMMessageBase& message) const;
  void startSkipping(std::u16string_view name);
  void endScalar(const Frame& frame);

  /// Converts a text to the field's type and stores it: a scalar is set, an item is appended to its list.
  /// False when the text is no such value (logged under `function`); the field is left as it was.
  bool store(const FieldDef& def, std::u16string_view text, const char* function);
  bool storeInteger(const FieldDef& def, std::u16string_view text, const char* function);
  bool storeEnum(const FieldDef& def, std::u16string_view text, const char* function);
  template <class Tag>
  bool appendItem(const FieldDef& def, std::u16string_view text);
  void storeMapPart(Entry& entry, bool isKey, std::u16string_view text);
  /// The text with its escapes undone, as UTF-8; false (logged) when it holds a lone surrogate.
  bool unescape(std::u16string_view text, std::string& out);

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
  bool keepDefaults_ = false;
  int messageDepth_ = 0;
  bool skipping_ = false;
  std::u16string skippedName_;
  std::u16string text_;
  XmlInvalidCharHandler escaper_;
};

}  // namespace kwxml
