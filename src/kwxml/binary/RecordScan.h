// Finds the whole messages of a file that may be damaged.
//
// A file of messages has nothing that marks where a record begins: one is found by its length and by the
// header of its message, and believed when the message can be read. After damage the next such place is
// sought byte by byte. What is found are stretches, which together are the file.
#pragma once

#include <kwxml/platform/CYxError.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class CYxFile;

namespace kwxml {

/// The layouts of YMMessageBaseFileHandler.
enum class RecordLayout
{
  Single,
  Batch,
};

/// The layout of a file of `size` bytes that begins with `head`, which is all of it or at least 12 bytes;
/// none when it looks like neither. An empty file has none.
std::optional<RecordLayout> recordLayout(std::string_view head, std::uint64_t size);

struct RecordStretch
{
  enum class Kind
  {
    Version,  ///< what a batch begins with
    Record,   ///< a length and a message
    Damage,   ///< bytes that belong to no record
  };
  Kind kind = Kind::Record;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  /// Of damage: what is wrong. Of a record: empty, or why its message could not be looked into, because the
  /// catalogue lacks its class or memory ended.
  std::string why{};
  /// Damage that may be a record whose end was not written.
  bool torn = false;
};

class RecordScan
{
public:
  enum class Depth
  {
    Frames,    ///< a record is believed by its length and the header of its message
    Contents,  ///< its message is read too; what reading logs is logged
  };

  /// The file, which stays the caller's, is read from its beginning and left at any position. No more than
  /// one record of it is held.
  RecordScan(CYxFile& file, RecordLayout layout, Depth depth);

  /// The next stretch. False at the end of the file, and when it cannot be read: error() says which. Throws
  /// std::bad_alloc.
  bool next(RecordStretch& stretch);
  const CYxError& error() const { return error_; }
  std::uint64_t size() const { return size_; }

private:
  enum class Frame
  {
    None,
    Torn,  ///< runs past the end of the file
    Whole,
  };
  enum class Content
  {
    Good,
    Doubtful,  ///< can be read, but perhaps not as its writer meant it; or memory ended
    Foreign,   ///< of a class that the catalogue lacks
    Bad,
  };
  struct Judgement
  {
    Content content;
    std::string why;
  };

  std::string_view bytes(std::uint64_t offset, std::uint64_t count);
  std::uint64_t length(std::uint64_t offset);
  Frame frame(std::uint64_t offset);
  std::uint64_t frameEnd(std::uint64_t offset);
  int evidence(std::uint64_t end);
  bool isTorn();
  Judgement content(std::uint64_t offset, std::uint64_t size);
  std::uint64_t search(std::uint64_t from);
  RecordStretch record();
  RecordStretch damage(std::uint64_t searchFrom, std::string why);

  CYxFile& file_;
  const RecordLayout layout_;
  const Depth depth_;
  std::uint64_t size_ = 0;
  std::uint64_t at_ = 0;
  std::string window_;
  std::uint64_t windowBegin_ = 0;
  /// No record begins from the first to before the second.
  std::uint64_t searchedFrom_ = 0;
  std::uint64_t searchedTo_ = 0;
  std::uint64_t searchBudget_ = 0;
  CYxError error_;
};

}  // namespace kwxml
