// Messages as JSON (RFC 8259, UTF-8). A cheap value.
//
// {"Demo_Item":{"name":"x","price":12.5,"color":"GREEN","tags":["a"]}}: one object with one member, the
// message under the name that its root element has in XML. docs/formats.md has the form of every type. Unset
// fields are absent; all others come back as they were, floating numbers by their bits.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/platform/Export.h>
#include <kwxml/xml/TakeText.h>

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>

class KwXMLContextInfo;
class YMMessageBase;

/// Writes messages as JSON, each call by itself.
class KWXML_API JSONEncoder
{
public:
  /// Default flags and no context.
  JSONEncoder() = default;
  /// Of the flags readableForm counts (lines, indented; dates and times as ISO 8601 has them), and what
  /// concerns passwords, which go out by the rules of the XML form. The context (null: none) stays the
  /// caller's and must outlive the encoder.
  explicit JSONEncoder(const EncodingFlags& flags, KwXMLContextInfo* context = nullptr)
      : context_(context), flags_(flags)
  {
  }
  explicit JSONEncoder(KwXMLContextInfo* context) : context_(context) {}

  /// The message as one JSON text, without a line end behind it. 0 on success; 1, with `out` empty, where
  /// the message has no class, nests too deep or memory runs out (logged). A value that cannot be written
  /// (a password) is left out, one that cannot be written as it is (a string that is no UTF-8) goes out as if
  /// its bytes were Latin-1; both are logged, and counted in `lost`.
  [[nodiscard]] int serialize(const YMMessageBase& message, std::string& out, int* lost = nullptr) const;
  /// The same in parts; what nests too deep is refused before the first.
  [[nodiscard]] int serialize(const YMMessageBase& message, const kwxml::TakeText& take,
                              int* lost = nullptr) const;
  [[nodiscard]] int serialize(const YMMessageBase& message, std::ostream& out, int* lost = nullptr) const;
  /// The same into memory of the caller. `size` is the bytes of the whole text; where they have no room, the
  /// result is 1 and the memory holds the first of them.
  [[nodiscard]] int serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                              int* lost = nullptr) const;

private:
  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
};
