// The forms that a message can have outside the program. A row of the table is all that a form needs to be
// known to the commands: its name, how it is told from others, and how it is read and written.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/YMMessageBase.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::tool {

class LibraryLog;

using Messages = std::vector<std::unique_ptr<YMMessageBase>>;

/// How forms are written; each form takes what concerns it.
struct WriteOptions
{
  EncodingFlags flags;
  bool xmlDeclaration = true;
};

/// How forms are read.
struct ReadOptions
{
  /// Password texts are kept as they stand, so that no key is needed; the values are good for masking only.
  bool passwordsAsReceived = false;
};

struct Form
{
  const char* name;
  /// Whether the bytes look like this form; the first form that says so is taken.
  bool (*looksLike)(std::string_view bytes);
  /// False when the bytes are not messages in this form; what is wrong with them or with single fields has
  /// been shown and counted by `log`. Null: it is only written.
  bool (*read)(const std::string& bytes, const ReadOptions& options, Messages& messages, LibraryLog& log);
  /// False (the library has logged why) when the messages cannot be written. Null: it is only read.
  bool (*write)(const Messages& messages, const WriteOptions& options, std::string& bytes);
  /// A text, which ends with a line end.
  bool isText;
};

std::span<const Form> forms();
/// The form of that name; null when there is none.
const Form* findForm(std::string_view name);
/// The form that the bytes look like; XML when they look like none, since its reader says best what is wrong.
const Form& guessForm(std::string_view bytes);
/// The names of the forms that can be read, or of those that can be written.
std::vector<std::string> formNames(bool readable);

}  // namespace kwxml::tool
