// Base64 of byte strings and passwords.
//
// There are two pairs. base64Encode() and base64Decode() have the form that goes into documents and buffers:
// lines of 60 characters at most, each (the last one too) ended by a new-line. base64_encode() and
// base64_decode() have a single line without an end. Nothing depends on the process's locale. Threads may use
// the functions at the same time.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>
#include <string>

/// Replaces `out` by the base64 text of all bytes of `in`, in lines. An empty input gives an empty text.
/// Always true.
KWXML_API bool base64Encode(const std::string& in, std::string& out);
/// The length of the text that base64Encode() makes of `length` bytes.
KWXML_API std::size_t base64EncodedLength(std::size_t length) noexcept;
/// Writes the text that base64Encode() makes of `length` bytes to `to`, without a terminating zero. `to` has
/// room for base64EncodedLength() characters. Returns the place behind the text.
KWXML_API char* base64EncodeTo(char* to, const char* bytes, std::size_t length) noexcept;
/// Replaces `out` by the bytes of a base64 text. Blanks and line breaks may stand anywhere in the text;
/// padding is required. An empty text gives an empty result. False, with a line in the log at level 1 and
/// `out` unchanged, for any other text that is not base64, such as nothing but blanks, or a text that holds a
/// zero byte.
[[nodiscard]] KWXML_API bool base64Decode(const std::string& in, std::string& out);
/// The same as base64Decode() for zero-terminated UTF-16 text; null is refused, too.
[[nodiscard]] KWXML_API bool base64DecodeXmlCh(const unsigned short* in, std::string& out);

/// The base64 text of all bytes of `in` as one line, of the standard alphabet with "=" padding.
KWXML_API std::string base64_encode(const std::string& in);
/// The bytes of a text that base64_encode() made. Any other text, also one with a line end, gives an empty
/// result and an error in the log.
KWXML_API std::string base64_decode(const std::string& in);
