// Conversion between the two forms of text: UTF-8, as messages hold it, and UTF-16, as the XML library does.
//
// All conversions count their lengths, so zero characters inside a text are kept. They are strict: a text
// that is not well-formed (overlong or truncated sequences, surrogates in UTF-8, unpaired surrogates in
// UTF-16, characters above U+10FFFF) is refused whole, never repaired, cut or passed on. Safe for concurrent
// use.
#pragma once

#include <kwxml/model/XMLChstring.h>
#include <kwxml/platform/Export.h>

#include <string>

// The XML library's namespace carries its version; the definition of getTranscoderObject() fails to compile
// when it is built against another one.
namespace xercesc_3_2 {
class XMLTranscoder;
}

/// One string in both forms, each made when the holder is constructed and released with it.
class KWXML_API XMLEncXStr
{
public:
  /// From zero-terminated UTF-16; null is an empty text. A text that is not well-formed leaves StringForm()
  /// empty (and is logged).
  explicit XMLEncXStr(const unsigned short* text);
  /// From UTF-8; null is an empty text. A text that is not well-formed leaves XMLChForm() empty (and is
  /// logged).
  explicit XMLEncXStr(const char* text);
  explicit XMLEncXStr(const std::string& text);
  XMLEncXStr(const XMLEncXStr&) = delete;
  XMLEncXStr& operator=(const XMLEncXStr&) = delete;

  /// The text in UTF-16, zero-terminated, never null; valid as long as the holder.
  const unsigned short* XMLChForm() const noexcept;
  /// Units of XMLChForm(), without the zero unit behind them.
  unsigned int XMLChLength() const noexcept { return wide_.length(); }
  /// The text in UTF-8; valid as long as the holder.
  const std::string& StringForm() const noexcept { return narrow_; }

  /// Makes `out` the text in UTF-16. False, with one error line, when `in` is not well-formed UTF-8 or the
  /// XML library cannot be initialised; `out` is then unchanged. An empty text gives an empty string (its
  /// buffer may be null).
  [[nodiscard]] static bool convertUTF8ToUTF16(const std::string& in, XMLChstring& out);
  /// The inverse, with the same failures; `in` may have a null buffer.
  [[nodiscard]] static bool convertUTF16ToUTF8(const XMLChstring& in, std::string& out);
  /// The same for `length` units; `in` may be null when `length` is 0.
  [[nodiscard]] static bool convertUTF16ToUTF8(const unsigned short* in, std::size_t length,
                                               std::string& out);

  /// Rescues text that is not UTF-8: it is taken as Latin-1, one character a byte, up to the first zero byte.
  /// Logs the lengths at level 0. False only as convertUTF8ToUTF16 without an initialised library.
  [[nodiscard]] static bool convertUnformattedToUTF16(const std::string& in, XMLChstring& out);

  /// The process's one UTF-8 transcoder, made on first use and never freed; null when the XML library cannot
  /// be initialised (a later call tries again). It keeps nothing between calls, so threads may share it.
  static xercesc_3_2::XMLTranscoder* getTranscoderObject();

private:
  std::string narrow_;
  XMLChstring wide_;
};
