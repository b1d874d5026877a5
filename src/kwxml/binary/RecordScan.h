// Finds the whole messages of a file that may be damaged.
//
// A file of messages has nothing that marks where a record begins. A record is found by its length and by the
// header of its message, and believed when the message can be read. After damage the next record is sought
// byte by byte. The result is a row of stretches, which together are the file.
#pragma once

#include <kwxml/platform/CYxError.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class CYxFile;

namespace kwxml {

/// The layouts of files of messages; YMMessageBaseFileHandler.h describes them.
enum class RecordLayout
{
  Single,  ///< single records
  Batch,   ///< a batch
};

/// The layout of a file of `size` bytes that begins with `head`, which is the whole file or at least 12
/// bytes. nullopt when the file looks like neither layout, and for an empty file.
KWXML_API std::optional<RecordLayout> recordLayout(std::string_view head, std::uint64_t size);

/// A part of a file of messages.
struct RecordStretch
{
  /// What the bytes of a stretch are.
  enum class Kind
  {
    Version,  ///< the version that a batch begins with
    Record,   ///< a length and a message
    Damage,   ///< bytes that belong to no record
  };
  Kind kind = Kind::Record;  ///< what the bytes are
  std::uint64_t offset = 0;  ///< of the first byte in the file
  std::uint64_t size = 0;    ///< how many bytes
  /// Of damage: what is wrong. Of a record: empty, or why its message could not be looked into: the catalogue
  /// lacks the message's class, or memory ended.
  std::string why{};
  /// Damage that may be a record whose end was not written.
  bool torn = false;
};

/// One pass over a file of messages. Belongs to one thread at a time.
class KWXML_API RecordScan
{
public:
  /// How closely records are looked at.
  enum class Depth
  {
    Frames,    ///< a record is believed by its length and the header of its message
    Contents,  ///< the message is read too; lines that reading logs appear in the log
  };

  /// Begins a pass. The file stays the caller's and outlives the pass; it is read from its beginning and left
  /// at any position. A piece of the file is kept in memory: 1 MB, or one record where that is larger.
  RecordScan(CYxFile& file, RecordLayout layout, Depth depth);

  /// Gives the next stretch. False at the end of the file, and when the file cannot be read: error() says
  /// which. Throws std::bad_alloc.
  [[nodiscard]] bool next(RecordStretch& stretch);
  /// The error that ended the pass; no error at the end of the file.
  const CYxError& error() const { return error_; }
  /// The size of the file in bytes when the pass began.
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
