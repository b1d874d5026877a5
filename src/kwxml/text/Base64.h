// Base64 of byte strings and passwords, and the integer reading of attribute values.
//
// There are two pairs. base64Encode and its kin have the XML library's form: lines of 60 characters at most,
// each (the last one too) ended by a new-line; that text is what goes into documents and buffers.
// base64_encode and base64_decode are self-contained and write a single line. Nothing depends on the
// process's locale.
#pragma once

#include <cstddef>
#include <string>

/// The base64 text of all bytes of `in`, in lines. An empty input gives an empty text. Always
/// true.
bool base64Encode(const std::string& in, std::string& out);
/// The length of that text for `length` bytes, and the text itself at `to`, which has room for it; gives the
/// character behind it.
std::size_t base64EncodedLength(std::size_t length) noexcept;
char* base64EncodeTo(char* to, const char* bytes, std::size_t length) noexcept;
/// The bytes of a base64 text, in which blanks and line breaks may stand anywhere; padding is required. An
/// empty text gives an empty result. False, with a debug line and `out` unchanged, for anything else that is
/// not base64 (nothing but blanks, and a zero byte inside the text rather than at its unseen end).
[[nodiscard]] bool base64Decode(const std::string& in, std::string& out);
/// The same for zero-terminated UTF-16 text; null is refused.
[[nodiscard]] bool base64DecodeXmlCh(const unsigned short* in, std::string& out);

/// One line of the standard alphabet with "=" padding.
std::string base64_encode(const std::string& in);
/// The inverse. A text that is not such a line gives an empty result and an error line.
std::string base64_decode(const std::string& in);
