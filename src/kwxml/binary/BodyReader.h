// The walk that reads a body, as a class: its loop over the fields and its values by type are in two sources.
// Not installed.
#pragma once

#include <kwxml/binary/BinaryCursor.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/ReadWatches.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/model/MessageReuse.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// Under which the log knows the walk.
inline constexpr const char* readerFunction = "BinarySerializer::unserializeBinaryRecur";

/// `Watch` is who follows the walk (see ReadWatches.h): nobody, at no cost, but where people want to know
/// more.
template <class Watch>
class BodyReader
{
public:
  /// The values of a message that is `reused` are those of a former one: see MessageReuse.
  BodyReader(Cursor& in, DecodeCall& call, Watch& watch, bool reused)
      : in_(in), call_(call), watch_(watch), bodyEnd_(in.size()), reused_(reused)
  {
  }

  bool readFields(YMMessageBase& message, std::uint64_t end);

private:
  bool skipUnknown(const YMMessageBase& message, std::uint32_t key);
  [[gnu::noinline]] bool readOther(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  [[gnu::noinline]] bool readValue(Tag, YMMessageBase& message, const FieldDef& def);
  bool readPassword(YMMessageBase& message, const FieldDef& def);

  /// A length and what it counts. False, logged under the kind of value, when that does not lie in the
  /// stream.
  bool text(std::string_view& out, const FieldDef& def, const char* kind);
  /// The same, to the end, of what people may see.
  bool string(std::string_view& out, const FieldDef& def, const char* kind);
  /// The error line of a length that is none; false.
  bool overruns(const FieldDef* def, std::size_t size, const char* kind);
  /// What a byte string's text stands for.
  std::string bytes(std::string_view text, const FieldDef& def);

  /// Whether what a field holds that is not set is left from a former message.
  bool isStale(const YMMessageBase& message, const FieldDef& def) const
  {
    return reused_ && !MessageAccess::isSet(message, def);
  }
  bool passKey(const FieldDef& def);
  template <class Item>
  bool readTexts(std::vector<Item>& list, const FieldDef& def);
  template <class Number>
  bool readNumbers(std::vector<Number>& list, const FieldDef& def);
  bool readObjects(YMMessageBase& message, const FieldDef& def, std::vector<YMMessageBase>& list);
  bool readObject(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  bool readMap(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  bool readEntry(YMMessageBase& message, const FieldDef& def, typename Tag::Value& map, std::uint32_t index);
  std::optional<YMMessageBase> makeMapPart(const FieldDef& def, int which);
  template <class T>
  bool readMapPart(YMMessageBase& message, const FieldDef& def, T& part, const char* what,
                   std::uint32_t index, const char* role);

  /// Size and body of a message that has just been built, or is read anew: the value of a field, of its place
  /// `index` where there are several, and of an entry's part.
  bool readNested(YMMessageBase& owner, YMMessageBase& nested, bool reused, const FieldDef& def,
                  std::uint32_t index = 0, const char* part = nullptr);

  Cursor& in_;
  DecodeCall& call_;
  Watch& watch_;
  std::uint64_t bodyEnd_;                        ///< of the body that is being read
  std::uint64_t markerEnd_ = ~std::uint64_t{0};  ///< behind the last collection marker
  std::uint32_t pendingCount_ = 0;               ///< what the last collection marker of this body announced
  bool reused_;                                  ///< the message of this body is
};

template <class Watch>
[[gnu::always_inline]] inline bool BodyReader<Watch>::text(std::string_view& out, const FieldDef& def,
                                                           const char* kind)
{
  const std::size_t size = in_.varint();
  if (in_.failed()) {
    watch_.ended(in_.position(), ProblemKind::BufferCut, &def, "the bytes end within a length");
    return false;
  }
  watch_.length(in_.position(), size);
  if (size > in_.left()) {
    return overruns(&def, size, kind);
  }
  out = {in_.at(), size};
  in_.skip(size);
  return true;
}

template <class Watch>
[[gnu::always_inline]] inline bool BodyReader<Watch>::string(std::string_view& out, const FieldDef& def,
                                                             const char* kind)
{
  if (!text(out, def, kind)) {
    return false;
  }
  watch_.string(in_.position(), out);
  return true;
}

}  // namespace kwxml
