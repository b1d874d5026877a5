// The walk that reads a body, as a class: its loop over the fields and its values by type are in two sources.
// Not installed.
#pragma once

#include <kwxml/binary/BinaryCursor.h>
#include <kwxml/binary/BinaryProblems.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/model/MessageInternal.h>

#include <optional>
#include <string>
#include <vector>

namespace kwxml {

/// Under which the log knows the walk.
inline constexpr const char* readerFunction = "BinarySerializer::unserializeBinaryRecur";

class BodyReader
{
public:
  BodyReader(Cursor& in, DecodeCall& call) : in_(in), call_(call), bodyEnd_(in.size()) {}

  bool readFields(YMMessageBase& message, std::uint64_t end);

private:
  struct Text
  {
    const char* data = nullptr;
    std::size_t size = 0;
  };

  bool skipUnknown(std::uint32_t key);
  [[gnu::noinline]] bool readOther(YMMessageBase& message, const FieldDef& def);
  template <class Tag>
  [[gnu::noinline]] bool readValue(Tag, YMMessageBase& message, const FieldDef& def);
  bool readPassword(YMMessageBase& message, const FieldDef& def);

  /// A length and what it counts. False, logged under the kind of value, when that does not lie in the
  /// stream.
  bool text(Text& out, const FieldDef& def, const char* kind);
  /// The error line of a length that is none; false.
  bool overruns(const FieldDef& def, std::size_t size, const char* kind);
  /// What a byte string's text stands for.
  std::string bytes(const Text& text, const FieldDef& def);

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
  bool readNested(YMMessageBase& owner, YMMessageBase& nested, const FieldDef& def, std::uint32_t index = 0,
                  const char* part = nullptr);

  // What an observer is told. The checks behind these are for it alone.
  void tell(ProblemKind kind, const FieldDef* def, std::string_view remark)
  {
    if (call_.problems != nullptr) [[unlikely]] {
      call_.problems->tell(kind, in_.position(), {.field = def, .remark = remark});
    }
  }
  void tellEnd(ProblemKind kind, const FieldDef* def, std::string_view remark)
  {
    if (call_.problems != nullptr) [[unlikely]] {
      call_.problems->tellEnd(kind, in_.position(), {.field = def, .remark = remark});
    }
  }
  void checkKey(const YMMessageBase& message, const FieldDef* def, std::uint32_t key, std::uint64_t position);

  Cursor& in_;
  DecodeCall& call_;
  std::uint64_t bodyEnd_;                        ///< of the body that is being read
  std::uint64_t markerEnd_ = ~std::uint64_t{0};  ///< behind the last collection marker
  std::uint32_t pendingCount_ = 0;               ///< what the last collection marker of this body announced
};

}  // namespace kwxml
