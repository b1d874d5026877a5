// A file to which received messages are appended, each once, also where the program is killed at any time.
#pragma once

#include "Files.h"

#include <kwxml/platform/CYxFile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kwxml::tool {

/// The file, and beside it FILE.received: who writes it, from where, and how long it was when the record of
/// stored messages was last known to agree. Standard output and what is no regular file is written as it
/// stands. All throw Failure (data).
class ReceivedFile
{
public:
  /// What a file receives.
  struct Source
  {
    std::string stream;
    std::string prefix;
    std::string durable;
    std::string form;
  };
  /// Looks at the file, and makes nothing yet. Refuses one that something else has written, or that receives
  /// something else.
  ReceivedFile(const std::string& file, Source source);
  ~ReceivedFile();
  ReceivedFile(const ReceivedFile&) = delete;
  ReceivedFile& operator=(const ReceivedFile&) = delete;

  /// Whether nothing was ever received into it.
  bool isNew() const { return isNew_; }
  /// The name of this writer among all receivers: the same for the same file.
  const std::string& receiver() const { return receiver_; }
  /// Opens the file, or makes it, and takes back what was appended behind the mark that the record has, if
  /// that is known there. Returns the bytes that are gone. Refuses a file that another process writes.
  std::uint64_t begin(std::optional<std::uint64_t> mark);
  /// The length, which is the mark.
  std::uint64_t length() const { return length_; }
  /// Appends bytes, and gives them to the storage device.
  void append(std::string_view bytes);
  /// Makes the file as long as it was before.
  void cut(std::uint64_t length);
  /// Says beside the file that the record of stored messages has its mark.
  void agree();

private:
  void save() const;

  std::string name_;
  std::string side_;  ///< the file beside it; empty: there is none
  Source source_;
  std::string receiver_;
  CYxFile file_;
  std::unique_ptr<Output> direct_;  ///< instead of `file_` for what cannot be taken back
  bool isNew_ = true;
  int lock_ = -1;
  std::uint64_t length_ = 0;
  unsigned long long agreed_ = 0;
};

}  // namespace kwxml::tool
