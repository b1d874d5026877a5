// What a command reads and writes: whole files, files that are worked through piece by piece, standard input
// and output included.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kwxml::tool {

/// The bytes of a file; "" and "-" are standard input. Throws Failure (data) with the system's reason.
std::string readInput(const std::string& file);

/// Whether a name means standard input or output.
bool isStandard(const std::string& file);

/// How a file is named in diagnostics.
std::string inputName(const std::string& file);

/// A file to read, by a path under which it can be opened and positioned. What cannot be (a pipe) is copied
/// to a nameless temporary file first. Throws Failure (data) with the system's reason.
class Input
{
public:
  explicit Input(const std::string& file);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// As diagnostics name it.
  const std::string& name() const { return name_; }
  const std::string& path() const { return path_; }
  unsigned long long size() const { return size_; }
  /// The first bytes, at most `count`.
  std::string head(std::size_t count) const;
  std::string all() const;

private:
  struct Open;
  std::string name_;
  std::string path_;
  unsigned long long size_ = 0;
  std::unique_ptr<Open> open_;
};

/// A file to write: "" and "-" are standard output. A file is written under another name beside its place and
/// takes that place complete at commit(), so that a failure leaves the former file as it was; what is no
/// regular file (a device, a pipe) is written as it stands. All throw Failure (data) with the system's
/// reason.
class Output
{
public:
  explicit Output(const std::string& file);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// Adds bytes at the end; they may show before commit() where nothing can be taken back.
  void append(std::string_view bytes);
  /// A path under which the content, empty so far, can be written and positioned until commit(). Not together
  /// with append().
  const std::string& path();
  /// Without it, and with a regular file, nothing has been written.
  void commit();

private:
  struct Open;
  std::string file_;
  std::unique_ptr<Open> open_;
};

/// Makes the name of a file durable, which was made or replaced before: its bytes do not do that.
void syncName(const std::string& file);

/// Writes the bytes as one Output.
void writeOutput(const std::string& file, std::string_view bytes);

/// The same for a text, which is given the line end that ends it if it has none.
void writeText(const std::string& file, std::string text);

/// Call first: a standard file that is closed would be given to the next file that is opened, and what is
/// meant for the one would go to the other. Afterwards its use fails.
void occupyStandardFiles();

}  // namespace kwxml::tool
