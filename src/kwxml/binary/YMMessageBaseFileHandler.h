// Messages in their binary form in a file that the caller has opened. Two layouts, which do not mix in one
// file:
//
//   single records   4 bytes length (big-endian), the message; over all bytes written a CRC-64 may run
//   batches          4 bytes "1" as text, zero-padded; then records of 4 bytes length as decimal text,
//                    zero-padded, and the message
//
// The length text of a batch record has four digits: of a message of 10,000 bytes and more they are the first
// four, and nothing can be read from there on. That limit is part of the layout.
//
// A handler keeps no position of its own; it and its file belong to one thread at a time. Failures are logged
// where the comments do not say otherwise, and leave in the file what was written. After one of appending,
// the file may end within a record, and what is appended there could not be read: the handler then refuses to
// append (WriteFailed, logged) until cutTornTail() has mended the file. A file whose last writer was killed
// may end so too: who goes on with it calls cutTornTail() first. kwxml/binary/RecordScan.h finds the whole
// records of files that are damaged elsewhere.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/platform/CYxCRC64.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

class CYxFile;
class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {
class ReadObserver;
}

class YMMessageBaseFileHandler
{
public:
  enum Result
  {
    Success = 0,
    UnknownVersion = 1,
    NothingMore = 2,  ///< nothing to write, end of the file, or no more data
    InvalidFile = 3,
    NoMemory = 4,
    ReadFailed = 5,  ///< or short
    WriteFailed = 6,
  };

  YMMessageBaseFileHandler() = default;
  /// Both stay the caller's; null means none.
  explicit YMMessageBaseFileHandler(CYxFile* file, CYxCRC64* crc = nullptr) : file_(file), crc_(crc) {}
  void setFile(CYxFile* file)
  {
    file_ = file;
    tornAt_.reset();
  }
  void setCRC(CYxCRC64* crc) { crc_ = crc; }
  /// What passwords are read with; null, as it is at first: default flags and no context. The caller's.
  void setContext(KwXMLContextInfo* context) { context_ = context; }
  /// Who is told of what reading messages drops or bends, with offsets in the file; null, as it is at first:
  /// nobody. The caller's.
  void setObserver(kwxml::ReadObserver* observer) { observer_ = observer; }

  /// With `durable` an append that succeeds is on the storage device (fdatasync); one that does not get there
  /// has failed. At first appends are not: they survive the end of the process, not that of the machine. The
  /// name of a new file is made durable by the caller (fsync of its folder).
  void setDurable(bool durable) { durable_ = durable; }

  // Appending throws std::bad_alloc before it writes, or takes a message for one that cannot be encoded
  // (NothingMore).

  /// Appends one record at the end of the file. `written` are the bytes of the record that are in the file.
  [[nodiscard]] int AddObjectToFile(const YMMessageBase& message, unsigned int& written);
  [[nodiscard]] int AddObjectToFile(const YMMessageBase& message);
  /// The record at the position, as a new message of the caller's. A record that does not decode gives null
  /// with Success. Nothing is logged for the file. `message` is unchanged when there is no record. Without
  /// memory (NoMemory) the record stays the next one to read.
  [[nodiscard]] int GetObjectFromFile(YMMessageBase*& message);
  /// The same; null where there is no message.
  [[nodiscard]] int GetObjectFromFile(std::unique_ptr<YMMessageBase>& message);

  /// Appends a record per message. A file that is not empty must stand at its beginning.
  [[nodiscard]] int appendBinaryBufferToFile(std::span<const YMMessageBase* const> messages);
  /// Appends up to `count` new messages, the caller's, to `messages`; those that do not decode are left out.
  /// A record that the file cuts short is none (ReadFailed). Without memory (NoMemory) the record stays the
  /// next one to read; those before it are in `messages`.
  /// At position 0 the version is read first, so that a file can be read in several calls.
  [[nodiscard]] int readBinaryBufferFromFile(std::vector<YMMessageBase*>& messages, int count);
  [[nodiscard]] int readBinaryBufferFromFile(std::vector<std::unique_ptr<YMMessageBase>>& messages,
                                             int count);

  /// Makes the file, of either layout, end with its last whole record, and leaves it positioned there. `cut`
  /// are the bytes that are gone; 0 when it ended so. After a failure of this handler that is where the last
  /// append that succeeded ended, and a checksum is set back to what it was there. Otherwise, also where
  /// the file's size has changed since, the file is walked, and only the beginning of one record at its end
  /// is cut: of a file that may be damaged elsewhere nothing is (ReadFailed). Throws std::bad_alloc.
  [[nodiscard]] int cutTornTail(std::uint64_t& cut);
  [[nodiscard]] int cutTornTail();

private:
  class Append;

  std::unique_ptr<YMMessageBase> decode(BinaryBuffer& buffer);
  void stepBack(unsigned long bytes);
  void tell(std::string_view why) const;
  int findWholeEnd(const char* function, std::uint64_t& end) const;

  CYxFile* file_ = nullptr;
  BinaryBuffer buffer_;
  CYxCRC64* crc_ = nullptr;
  bool durable_ = false;
  /// Where the last whole record ended when an append failed, the file's size then, and the checksum up to
  /// there.
  std::optional<std::uint64_t> tornAt_;
  long long tornSize_ = -1;
  CYxCRC64* tornCrc_ = nullptr;
  CYxCRC64 wholeCrc_;
  KwXMLContextInfo* context_ = nullptr;
  kwxml::ReadObserver* observer_ = nullptr;
};
