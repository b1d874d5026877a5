// The feed of the rules that build a message (MessageReader), for a parser of JSON. Not installed.
#pragma once

#include <kwxml/json/JsonPlaces.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/MessageReader.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

enum class JsonToken
{
  Text,
  Number,
  True,
  False,
};

/// Knows no parser. All texts live as long as the call that gets them. Where a result is false the reading
/// ends, which has been told.
class JsonFeed : private XmlPlaces
{
public:
  static constexpr const char* function = "JSONDecoder::unSerialize";  ///< under which the log knows it

  /// All must outlive the feed; the observer may be null.
  JsonFeed(MessageReader& rules, ReadObserver* observer, JsonPlaces& places);
  JsonFeed(const JsonFeed&) = delete;
  JsonFeed& operator=(const JsonFeed&) = delete;

  [[nodiscard]] bool beginObject();
  [[nodiscard]] bool endObject();
  [[nodiscard]] bool beginArray();
  void endArray();
  [[nodiscard]] bool key(std::string_view name);
  [[nodiscard]] bool value(JsonToken token, std::string_view text);
  /// An integer that value() would be told of as a text. False where it has to be.
  [[nodiscard]] bool integer(long long number)
  {
    if (isObserved_ || !storedAsIs(number)) {
      return false;
    }
    ++tokens_;
    return true;
  }
  [[nodiscard]] bool null();

  /// Of what was told last.
  ReadPlace place() const { return places_.ofToken(tokens_); }

private:
  /// What an open object or array is.
  enum class Kind
  {
    Document,  ///< the object around the message
    Message,
    List,
    KeyedMap,
    EntryMap,
    Entry,         ///< of an EntryMap
    WideElements,  ///< an array in place of a wide string
    Passed,        ///< a message whose class is missing
    Skipped,
  };
  struct Frame
  {
    Kind kind;
    const FieldDef* def = nullptr;   ///< Message: of the member whose value comes next, null to skip that
    std::string_view name{};         ///< Message, Passed: as it was told
    const FieldDef* next = nullptr;  ///< Message: behind the field that was met last
    bool isOpen = false;             ///< KeyedMap: an entry has begun. Entry: a key or a value comes next
    bool isKey = false;              ///< Entry: the key comes next
  };

  // XmlPlaces. All are where the parser is.
  ReadPlace ofAttribute(const XmlAttribute&) const override { return place(); }
  ReadPlace ofTag() const override { return place(); }
  ReadPlace ofText() const override { return place(); }

  bool storedAsIs(long long number);
  const FieldDef* findMember(Frame& frame, std::string_view name) const;
  bool noMessage();
  bool startMessage(std::string_view name, std::uint32_t hash);
  bool partValue(const FieldDef& def, JsonToken token, std::string_view text);
  void fieldValue(const FieldDef& def, JsonToken token, std::string_view text);
  void enumValue(const FieldDef& def, JsonToken token, std::string_view text);
  void itemValue(const FieldDef& def, JsonToken token, std::string_view text);
  void enumItem(const FieldDef& def, JsonToken token, std::string_view text);
  void addWideElement(const FieldDef& def, JsonToken token, std::string_view text);
  static std::wstring toWide(std::string_view text);
  std::string_view numberText(FieldDataType type, JsonToken token, std::string_view text);
  bool skip()
  {
    frames_.push_back({Kind::Skipped});
    return true;
  }
  void refuse(ProblemKind kind, const FieldDef& def, const char* why, std::string_view text = {});
  bool misfit(const FieldDef& def, const char* why);
  bool unreadable(const FieldDef& def, const char* why);

  MessageReader& rules_;
  JsonPlaces& places_;
  const bool isObserved_;
  std::vector<Frame> frames_;
  std::uint64_t tokens_ = 0;
  std::string rootName_;  ///< once its member has begun
  bool hasRoot_ = false;
  std::wstring wide_;
  NumberBuffer digits_;
  std::string number_;
};

}  // namespace kwxml
