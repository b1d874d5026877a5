// What the commands that read and write messages share: their options, and messages that have lost nothing on
// their way.
#pragma once

#include "Files.h"
#include "Forms.h"

#include <kwxml/reading/Problems.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Validator;
}  // namespace CLI

namespace kwxml::tool {

// ---- Options. The strings and choices must live until the command has run.

/// Refuses a value that names none of these forms.
CLI::Validator formName(const std::vector<std::string>& names);

/// The option --from: the form of what is read (`what`: "the input"), guessed when absent.
void addFromOption(CLI::App& command, std::string& from, const std::string& what);

/// What the command line says about how messages are read.
struct ReadChoices
{
  bool strict = false;
  bool lenient = false;
  std::uint64_t memoryLimit = 0;  ///< MiB; 0: the usual one
};

/// The option --memory-limit.
void addMemoryOption(CLI::App& command, ReadChoices& choices);

/// The options --strict, --lenient and --memory-limit.
void addReadOptions(CLI::App& command, ReadChoices& choices);

/// What the command line says about the form that is written.
struct WriteChoices
{
  std::string to = "xml";
  bool elements = false;
  bool exact = false;
  bool readable = false;
  bool enumNames = false;
  bool maskPasswords = false;
  bool noDeclaration = false;
  int binaryVersion = 2;
};

/// The option --to and those of the single forms.
void addWriteOptions(CLI::App& command, WriteChoices& choices);
/// Throws Failure (usage) when an option is for another form: it would do nothing, without a word.
void refuseIdleOptions(const WriteChoices& choices);
WriteOptions writeOptions(const WriteChoices& choices);
/// How messages are read that are written so: where no password is shown none is decrypted.
ReadOptions readOptions(const ReadChoices& reading, const WriteChoices& writing);
Strictness strictness(const ReadChoices& choices);
/// In bytes.
std::uint64_t memoryLimit(const ReadChoices& choices);

// ---- Messages

/// The library goes on after a field that it cannot write, and says so; a message that has lost a field is
/// not handed on. Why not, when there were errors; empty otherwise. `consequence` says what becomes of the
/// message.
std::string losses(int errors, const std::string& what, const char* doing, const char* consequence);

/// The messages of a file, one after the other.
class MessageInput
{
public:
  /// `form` names its form; empty to guess it. Throws Failure (data).
  MessageInput(const std::string& file, const std::string& form, LibraryLog& log);

  /// Call once before next(). Throws Failure (data).
  void open(const ReadOptions& options);

  struct Record
  {
    bool end = false;                          ///< nothing was left
    std::unique_ptr<YMMessageBase> message{};  ///< null beside `end`: it is lost
    std::string why{};                         ///< in that case
  };
  /// Shows what was met. Throws Failure (data) when nothing more can be read. `consequence` as for losses().
  Record next(const char* consequence);
  /// The number of the record that was last read, from 1 on.
  unsigned long long records() const { return records_; }
  /// How diagnostics name that record: the file when it holds no others.
  std::string recordName() const;

  const Form& form() const { return form_; }
  const std::string& name() const { return file_.name(); }
  unsigned long long size() const { return file_.size(); }
  /// Bytes that have been read, for progress.
  unsigned long long position() const { return source_->position(); }

private:
  MessageSource::Next read(Problems& problems);
  std::string judge(const Problems& problems, bool isRead, const char* consequence) const;

  LibraryLog& log_;
  ReadOptions options_;
  const Input file_;
  const Form& form_;
  std::unique_ptr<MessageSource> source_;
  unsigned long long records_ = 0;
};

/// The message of an input that holds no other. Throws Failure (data); `command` says who takes only one.
std::unique_ptr<YMMessageBase> onlyMessage(MessageInput& input, const char* command);

/// Writes a message whole, or nothing. `what` names where it comes from. Throws Failure (data).
void writeMessage(YMMessageBase& message, const WriteChoices& choices, const std::string& file,
                  const std::string& what, LibraryLog& log);

}  // namespace kwxml::tool
