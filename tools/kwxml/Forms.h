// The forms that a message can have outside the program. A row of the table is all that a form needs to be
// known to the commands: its name, how it is told from others, and how it is read and written.
//
// Messages go through one by one, so that a file of any length needs no more memory than its longest message.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/reading/ReadObserver.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::tool {

class Input;
class LibraryLog;
class Output;

/// How forms are written; each form takes what concerns it.
struct WriteOptions
{
  EncodingFlags flags;
  bool xmlDeclaration = true;
  int binaryVersion = 2;
};

/// What becomes of a message that is not just what its text or bytes say.
enum class Strictness
{
  Usual,    ///< what differs between versions is a warning, the rest an error
  Strict,   ///< all problems are errors
  Lenient,  ///< what the library reads is taken, with warnings
};

/// How forms are read.
struct ReadOptions
{
  Strictness strictness = Strictness::Usual;

  /// Password texts are kept as they stand, so that no key is needed; the values are good for masking only.
  bool passwordsAsReceived = false;

  /// As KwXMLContextInfo has it: bytes, 0 for the usual limit.
  std::uint64_t memoryLimit = 0;
};

/// The context of a read that leaves passwords alone, or one that changes nothing.
KwXMLContextInfo contextFor(const ReadOptions& options);

/// Messages that are read one after the other.
class MessageSource
{
public:
  virtual ~MessageSource() = default;

  struct Next
  {
    bool end = false;  ///< nothing was left
    std::unique_ptr<YMMessageBase>
        message{};  ///< null beside `end`: a record that is none, and was passed over
  };
  /// Throws Failure (data) when nothing more can be read. The observer is told what is wrong with the
  /// message.
  virtual Next next(ReadObserver& observer) = 0;
  /// Bytes of the input that have been read, for progress.
  virtual unsigned long long position() const { return 0; }
};

/// Messages that are written one after the other.
class MessageSink
{
public:
  virtual ~MessageSink() = default;
  /// What the next message was read from, for forms that say so.
  virtual void from(const std::string&) {}
  /// Both throw Failure (data) when the message cannot be written; the library has logged why. First the
  /// message is encoded, which gives the number of values that would be lost, each shown as a line, then it
  /// is written.
  virtual int encode(YMMessageBase& message) = 0;
  virtual void write() = 0;
  /// After the last message.
  virtual void finish() {}
  /// In its place where the messages end with a failure, and what has been written cannot be taken back: the
  /// output gets an end, if its form has one.
  virtual void breakOff() {}
};

struct Form
{
  const char* name;
  /// Whether an input of `size` bytes that begins with `head` looks like this form; the first form that says
  /// so is taken. Null where there is no source.
  bool (*looksLike)(std::string_view head, unsigned long long size);
  /// Null: it is only written.
  std::unique_ptr<MessageSource> (*source)(const Input& input, const ReadOptions& options);
  /// Null: it is only read.
  std::unique_ptr<MessageSink> (*sink)(Output& output, const WriteOptions& options, LibraryLog& log);
  /// Whether it holds any number of messages, so that those before a failure are delivered.
  bool many;
  /// Whether passwords are in it: what is read for a form without them needs no key.
  bool hasPasswords;
};

std::span<const Form> forms();
/// The form of that name; null when there is none.
const Form* findForm(std::string_view name);
/// What a form is guessed from: the beginning of the input.
inline constexpr std::size_t guessedBytes = 4096;
/// The form that an input of `size` bytes looks like that begins with `head`, to all commands. When it looks
/// like none, the one whose reader says best what is wrong: XML for a text, the binary form for what holds a
/// zero byte.
const Form& guessForm(std::string_view head, unsigned long long size);
/// The names of the forms that can be read, or of those that can be written.
std::vector<std::string> formNames(bool readable);

}  // namespace kwxml::tool
