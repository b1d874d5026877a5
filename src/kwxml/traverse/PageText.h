// Texts and values as the markup of a page. Not installed.
//
// All that a message holds goes through here, so that nothing of it is markup, and nothing of it looks like a
// part of the page: characters that would be obeyed are shown (ShownText.h) and marked, so that a text that
// spells "\n" is told from one that has a line end. None of it ever stands in an attribute; what the
// catalogue says of fields does.
#pragma once

#include <kwxml/model/Metadata.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kwxml {

/// Appends a text of the catalogue or the program, or what has been shown, without its being markup.
void appendEscaped(std::string& out, std::string_view text);

/// Appends a text from outside as one line.
void appendLine(std::string& out, std::string_view text);
std::string lineOf(std::string_view text);
/// The same, cut at a number of bytes, with "…" where something is left out.
void appendCutLine(std::string& out, std::string_view text, std::size_t limit);

/// Appends an attribute `title` with what the catalogue says of something, cut at a number of bytes; nothing
/// where it says nothing.
void appendTitle(std::string& out, std::string_view doc, std::size_t limit = std::string_view::npos);

/// Appends a text from outside in a box of its own, in which its line ends are line ends. A long one is
/// folded, and shown by its beginning.
void appendTextBox(std::string& out, std::string_view text);
void appendTextBox(std::string& out, const std::wstring& text);
/// Appends a text that is the key of an entry: a box with one line.
void appendKeyBox(std::string& out, std::string_view key);

/// Appends what is in a box for values that are no texts.
void appendValueBox(std::string& out, std::string_view value);

/// Appends the number of bytes and the first of them in hexadecimal digits; when there are more, all are
/// folded beside these, in base64.
void appendBytesBox(std::string& out, const std::string& bytes);

/// Appends what an integer means by the annotations of its field: seconds, and the time or the duration that
/// they are. Nothing where there is no such annotation.
void appendTimeNote(std::string& out, const FieldDef& field, long long value);

/// "1,000 items", "1 item".
std::string countText(unsigned long long count, std::string_view one);

}  // namespace kwxml
