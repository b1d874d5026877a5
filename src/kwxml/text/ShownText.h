// Text from outside as people are shown it, in every output that is made for them: on a terminal, in a log,
// on a page. Not installed.
//
// A value must not pass for something else than a value. So characters that would be obeyed are shown as what
// they are: line ends, carriage returns and tabs as \n, \r and \t, and the bytes of other control characters,
// of line and paragraph separators, direction marks and byte order marks, and of what is no UTF-8, as \xNN.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kwxml {

/// Appends what is shown of the first character of a text, which is not empty, and returns the bytes that the
/// character takes in the text. The characters in `quoted` (of ASCII) get a backslash before them: with a
/// backslash among them, texts that differ are shown differently.
std::size_t appendShownCharacter(std::string& out, std::string_view text, std::string_view quoted = {});
/// The same for an element of a wide string; one that is no character is \u{n} in hexadecimal digits.
void appendShownCharacter(std::string& out, std::uint32_t character, std::string_view quoted = {});

/// Appends what is shown of a text.
void appendShown(std::string& out, std::string_view text, std::string_view quoted = {});
std::string shown(std::string_view text, std::string_view quoted = {});

/// Undoes shown() with the same quoted characters, a backslash among them. False, with `out` holding what
/// stood before it, at a backslash that begins no such escape.
[[nodiscard]] bool unquoteShown(std::string_view text, std::string& out, std::string_view quoted);

}  // namespace kwxml
