// Who follows the walk that reads a body. The walk is a template of its watch, so that nobody pays for what
// others want to know. Not installed.
//
// A watch is told of each piece after its bytes were read; `at` is then the position behind them. What ends
// the reading is told by `ended`, what is bent or dropped by `met`.
#pragma once

#include <kwxml/binary/BinaryExplain.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/reading/ReadObserver.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace kwxml {

/// What was made of a byte string.
struct BytesRead
{
  std::string_view text;  ///< as it stands in the message
  std::size_t used;       ///< of it, up to its first zero
  bool encoded;           ///< base64 is expected
  bool decoded;           ///< and it is that
  std::size_t size;       ///< of the bytes, then
};

/// "a string of 9 bytes where 1 is left"
std::string tooLong(const char* what, std::size_t size, std::size_t left);

/// Nobody: what a watch can be told.
struct Unwatched
{
  static constexpr bool follows = false;   ///< whether it wants to know
  static constexpr bool explains = false;  ///< whether it is for the bytes; values of fields do not matter

  /// A key that `def` has; null: unknown, or the marker of a collection.
  static void key(std::uint64_t, const YMMessageBase&, const FieldDef*, std::uint32_t /*key*/) {}
  /// The value of that key has been read or skipped.
  static void value() {}
  /// A number behind an unknown key or a marker; 0 for what is only passed.
  static void skipped(std::uint64_t, std::uint32_t /*key*/, std::uint32_t /*number*/) {}
  /// The slot has its value.
  static void number(std::uint64_t, const YMMessageBase&, const FieldDef&, long long /*slot*/) {}

  /// The next value is of that place of a list, or a part of that entry of a map.
  static void place(std::uint32_t /*index*/, const char* /*part*/) {}
  static void length(std::uint64_t, std::size_t) {}
  static void string(std::uint64_t, std::string_view) {}
  static void bytes(std::uint64_t, const FieldDef&, const BytesRead&) {}
  /// Of a field that the class of the message does not have.
  static void unknown(std::uint64_t, std::string_view, const _ClassDef&) {}
  static void password(std::uint64_t, std::string_view, int /*type*/) {}

  /// A list of numbers or a map: its count, and the size that it says of itself.
  static void count(std::uint64_t, const FieldDef&, std::uint32_t /*count*/, std::uint32_t /*size*/) {}
  /// What the two codes of a map are: "keys", "values".
  static void mapCode(std::uint64_t, const char*, std::uint32_t) {}
  static void partNumber(std::uint64_t, long long) {}
  /// The key before all elements but the first.
  static void nextElement(std::uint64_t) {}
  static void noElements() {}

  /// A message of `size` bytes begins, where the one around it ends at `bodyEnd`.
  static void open(std::uint64_t, const FieldDef&, const YMMessageBase&, std::uint32_t /*size*/,
                   std::uint64_t /*bodyEnd*/, std::uint32_t /*index*/, const char* /*part*/)
  {
  }
  static void close(std::uint64_t, bool /*good*/) {}

  static void met(std::uint64_t, ProblemKind, const FieldDef*, std::string_view /*remark*/) {}
  static void ended(std::uint64_t, ProblemKind, const FieldDef*, std::string_view /*remark*/) {}
  /// The reading of the message ended so.
  static void broken(const _ClassDef&) {}
};

/// Logs each field, tells an observer, or both.
class Traced : public Unwatched
{
public:
  static constexpr bool follows = true;

  explicit Traced(const DecodeCall& call) : call_(call) {}

  void key(std::uint64_t at, const YMMessageBase& message, const FieldDef* def, std::uint32_t key) const;
  void skipped(std::uint64_t at, std::uint32_t key, std::uint32_t number) const;
  void number(std::uint64_t at, const YMMessageBase& message, const FieldDef& def, long long slot) const;
  void bytes(std::uint64_t at, const FieldDef& def, const BytesRead& read) const;
  void open(std::uint64_t at, const FieldDef& def, const YMMessageBase& nested, std::uint32_t size,
            std::uint64_t bodyEnd, std::uint32_t index, const char* part);
  void close(std::uint64_t, bool) { steps_.pop_back(); }
  void met(std::uint64_t at, ProblemKind kind, const FieldDef* def, std::string_view remark) const
  {
    tell(at, kind, {.field = def, .remark = remark});
  }
  /// The innermost one says why, those around it only follow.
  void ended(std::uint64_t at, ProblemKind kind, const FieldDef* def, std::string_view remark);

private:
  struct Step
  {
    const FieldDef* field;
    std::uint32_t index;
    const char* part;  ///< of a map's entry: ".key", ".value"; null elsewhere
  };
  struct Met
  {
    const FieldDef* field = nullptr;
    const _ClassDef* owner = nullptr;
    std::string_view text{};
    std::string_view remark{};
  };
  void tell(std::uint64_t at, ProblemKind kind, const Met& met) const;
  std::string path(const FieldDef* field) const;

  const DecodeCall& call_;
  std::vector<Step> steps_;
  bool ended_ = false;
};

/// Turns the pieces into lines.
class Explaining : public Unwatched
{
public:
  static constexpr bool follows = true;
  static constexpr bool explains = true;

  Explaining(std::string_view bytes, std::uint64_t offset, const ShowPiece& show)
      : bytes_(bytes), offset_(offset), show_(show)
  {
  }

  /// The two words before the body.
  void header(int version, bool flagged, unsigned tag, const YMMessageBase* message);
  /// Bytes up to the end, and what they are.
  void rest(const std::string& text);
  void remark(const std::string& text) { show_({.offset = offset_ + shown_, .depth = depth_, .text = text}); }
  /// Of a message that could not be read to its end.
  void damage();

  void key(std::uint64_t at, const YMMessageBase& message, const FieldDef* def, std::uint32_t key);
  void value() { --depth_; }
  void skipped(std::uint64_t at, std::uint32_t key, std::uint32_t number);
  void number(std::uint64_t at, const YMMessageBase& message, const FieldDef& def, long long slot);
  template <class T>
  void element(std::uint64_t at, const FieldDef& def, T number)
  {
    using Wide = std::conditional_t<std::is_floating_point_v<T>, T,
                                    std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>>;
    showNumber(at, def, fieldTypeInfo(def.type).element, static_cast<Wide>(number));
  }
  void place(std::uint32_t index, const char* part);
  void length(std::uint64_t at, std::size_t size);
  void string(std::uint64_t at, std::string_view text);
  void bytes(std::uint64_t at, const FieldDef& def, const BytesRead& read);
  void unknown(std::uint64_t at, std::string_view text, const _ClassDef& owner);
  void password(std::uint64_t at, std::string_view text, int type);
  void count(std::uint64_t at, const FieldDef& def, std::uint32_t count, std::uint32_t size);
  void mapCode(std::uint64_t at, const char* what, std::uint32_t code);
  void partNumber(std::uint64_t at, long long number);
  void nextElement(std::uint64_t at) { show(at, "next element"); }
  void noElements() { remark("0 elements"); }
  void open(std::uint64_t at, const FieldDef& def, const YMMessageBase& nested, std::uint32_t size,
            std::uint64_t bodyEnd, std::uint32_t index, const char* part);
  void close(std::uint64_t at, bool good);
  void ended(std::uint64_t at, ProblemKind kind, const FieldDef* def, std::string_view remark);
  void broken(const _ClassDef& cls);

private:
  using Number = std::variant<long long, unsigned long long, double, float>;

  /// Shows what has been read since the last line.
  void show(std::uint64_t at, const std::string& text);
  /// One level below the length that counted it.
  void showContent(std::uint64_t at, std::string_view content, const std::string& text, bool secret);
  void showNumber(std::uint64_t at, const FieldDef& def, FieldDataType type, Number number);
  /// The label that stands before the next value.
  std::string label();

  const std::string_view bytes_;
  const std::uint64_t offset_;
  const ShowPiece& show_;
  std::uint64_t shown_ = 0;  ///< the bytes before it are in lines
  int depth_ = 0;
  bool secret_ = false;
  std::string label_;
  std::string reason_;
  /// Where each open message should end; none where the one around it ends before.
  std::vector<std::uint64_t> ends_;
};

}  // namespace kwxml
