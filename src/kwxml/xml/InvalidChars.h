// Escapes the UTF-16 units that XML 1.0 forbids, so that any string survives a round trip through a document.
//
// A forbidden unit becomes "|#", its value in upper-case hexadecimal and "!"; a text in which at least one
// unit was replaced gets a single "|" in front, which is how the reader knows that there is something to
// undo:
//
//   a U+0001 b   <->   |a|#1!b
//
// Valid units are 0x9, 0xA, 0xD, 0x20 to 0xD7FF and 0xE000 to 0xFFFD. Surrogates count as forbidden, so a
// character outside the basic plane travels as two escapes. The bar itself is not escaped, deliberately: a
// text that begins with a bar and had nothing to escape loses that bar when it is read back.
#pragma once

#include <kwxml/model/XMLChstring.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <string>

/// Holds the result of its last call. A returned pointer stays valid until the handler's next call or its
/// destruction; where a text needs no change the result is the input pointer itself and nothing is allocated.
/// Not safe for concurrent use; handlers are independent of each other.
class KWXML_API XmlInvalidCharHandler
{
public:
  /// No result yet.
  XmlInvalidCharHandler() noexcept = default;
  XmlInvalidCharHandler(const XmlInvalidCharHandler&) = delete;
  XmlInvalidCharHandler& operator=(const XmlInvalidCharHandler&) = delete;

  /// Escapes a zero-terminated text. Never fails; null gives an empty text.
  const unsigned short* encodeInvalidChars(const unsigned short* text);
  /// Escapes exactly `length` units, so that zero units are escaped too. An unchanged text is the input
  /// pointer.
  const unsigned short* encodeInvalidChars(const unsigned short* text, std::size_t length);

  /// Undoes the escapes of a zero-terminated text that begins with "|"; any other text is returned as it is.
  /// Null gives null, and so does an empty result. Escapes that are damaged (no hexadecimal digits, "!"
  /// missing or more than 6 units after the bar) stay as they are.
  const unsigned short* decodeInvalidChars(const unsigned short* text);
  /// The same for exactly `length` units.
  const unsigned short* decodeInvalidChars(const unsigned short* text, std::size_t length);

  /// Units in the result of the last call; a decoded text may hold zero units.
  std::size_t resultLength() const noexcept { return length_; }

  /// True when the text holds something that encodeInvalidChars() would replace. A std::string is read as
  /// UTF-8.
  static bool hasXmlInvalidChar(const std::string& text) noexcept;
  static bool hasXmlInvalidChar(const XMLChstring& text) noexcept;
  /// True when the text holds a unit below 0x20 other than tab, new-line and carriage return.
  static bool hasControlChar(const std::string& text) noexcept;
  static bool hasControlChar(const XMLChstring& text) noexcept;

  // ---- The steps of both directions
  // Each works on `length` units at `text`.

  /// What says that nothing was found.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  /// Drops the leading bar and restores the escapes behind it; null when nothing remains.
  const unsigned short* ParseAndReplaceUtil(const unsigned short* text, std::size_t length);
  /// The position of the next "|#" at or after `from`; npos when there is none.
  static std::size_t findBeginPat(const unsigned short* text, std::size_t length, std::size_t from) noexcept;
  /// The position of the "!" that ends the escape beginning at `begin`; npos when it is missing or lies more
  /// than 6 units after `begin`.
  static std::size_t findEndpat(const unsigned short* text, std::size_t length, std::size_t begin) noexcept;
  /// The value of `count` hexadecimal digits; false (value unchanged) without digits, with another unit among
  /// them, or with more than four.
  [[nodiscard]] static bool parseForInteger(const unsigned short* digits, std::size_t count,
                                            unsigned short& value) noexcept;
  /// The value of one hexadecimal digit of either case; -1 for any other unit.
  static int getIntVal(unsigned short unit) noexcept;
  /// `value` in upper-case digits of `bitsPerDigit` (1 to 4) bits each, without leading zeros; "0" for 0.
  static std::string convertToHexString(unsigned int value, int bitsPerDigit);

private:
  const unsigned short* keep(const unsigned short* text, std::size_t length) noexcept;

  const unsigned short* result_ = nullptr;
  std::size_t length_ = 0;
  XMLChstring owner_;
};
