// Files of messages in their binary form. Two layouts, which do not mix in one file:
//
//     single records   4 bytes length (big-endian), the message; over all bytes written a CRC-64 may run
//     batches          4 bytes "1" as text, zero-padded; then records of 4 bytes length as decimal text,
//                      zero-padded, and the message
//
// The length text of a batch record has four digits. Of the length of a message of 10,000 bytes and more
// these are the first four, and nothing can be read from there on. That limit is part of the layout.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <cstdint>
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

/// Appends messages in their binary form to a file that the caller has opened, and reads them.
///
/// A handler keeps no position of its own: it reads where the file stands. A handler and its file belong to
/// one thread at a time. Failures are logged where the comments do not say otherwise, and leave in the file
/// what was written. After a failure of appending the file may end within a record, and a record that is
/// appended there could not be read: the handler then refuses to append (WriteFailed, logged) until
/// cutTornTail() has mended the file. A file whose last writer was killed may end so too: a program that goes
/// on with such a file calls cutTornTail() first. kwxml::RecordScan finds the whole records of files that are
/// damaged elsewhere.
class KWXML_API YMMessageBaseFileHandler
{
public:
  /// What the operations return.
  enum Result
  {
    Success = 0,         ///< all was done
    UnknownVersion = 1,  ///< the file does not begin with the version of a batch
    NothingMore = 2,     ///< nothing to write, end of the file, or no more data
    InvalidFile = 3,     ///< no file is set, or the file is not open
    NoMemory = 4,        ///< no memory for a record
    ReadFailed = 5,      ///< reading the file failed, or the file ends within a record
    WriteFailed = 6,     ///< writing the file failed, or an earlier append did
  };

  /// No file: every operation gives InvalidFile until setFile().
  YMMessageBaseFileHandler() = default;
  /// As with setFile() and setCRC().
  explicit YMMessageBaseFileHandler(CYxFile* file, CYxCRC64* crc = nullptr) : file_(file), crc_(crc) {}
  /// Sets the file, null for none. The file stays the caller's and outlives its use here. An earlier failure
  /// of appending is forgotten, also where the file is the same.
  void setFile(CYxFile* file)
  {
    file_ = file;
    tornAt_.reset();
  }
  /// Sets the checksum that all bytes are added to which appending writes; null for none, as at first. The
  /// checksum stays the caller's and outlives its use here.
  void setCRC(CYxCRC64* crc) { crc_ = crc; }
  /// Sets the context that messages are read with: for passwords and the limit of memory; null for none, as
  /// at first. The context stays the caller's and outlives its use here.
  void setContext(KwXMLContextInfo* context) { context_ = context; }
  /// Sets the observer that is told of what reading messages drops or bends, with offsets in the file; null
  /// for none, as at first. The observer stays the caller's and outlives its use here.
  void setObserver(kwxml::ReadObserver* observer) { observer_ = observer; }

  /// With `durable` an append that succeeds is on the storage device (fdatasync); an append that does not get
  /// there has failed. At first appends are not durable: they survive the end of the process, not that of the
  /// machine. The name of a new file is made durable by the caller (fsync of the file's folder).
  void setDurable(bool durable) { durable_ = durable; }

  /// Appends a message as one single record at the end of the file. `written` becomes the number of bytes of
  /// the record that are in the file. NothingMore when the message cannot be encoded: nothing is written.
  /// WriteFailed when the file cannot be written, and after a failed append. Without memory std::bad_alloc is
  /// thrown before anything is written, or the result is NothingMore.
  [[nodiscard]] int AddObjectToFile(const YMMessageBase& message, unsigned int& written);
  [[nodiscard]] int AddObjectToFile(const YMMessageBase& message);
  /// Reads the single record at the file's position as a new message, which the caller deletes. The normal
  /// end of reading is NothingMore, at the end of the file; anything else but Success is a failure. Neither
  /// is logged. A record that does not decode, which the decoder logs, gives null with Success. Without
  /// Success `message` is unchanged. ReadFailed when the file ends within the record. Without memory
  /// (NoMemory) the record stays the next one to read.
  [[nodiscard]] int GetObjectFromFile(YMMessageBase*& message);
  /// The same, with the message in an owner, which becomes null where there is no message.
  [[nodiscard]] int GetObjectFromFile(std::unique_ptr<YMMessageBase>& message);

  /// Appends a record of a batch for each message; an empty file gets the version first. A file that is not
  /// empty must stand at its beginning, where the version is read: UnknownVersion when the file is no batch.
  /// NothingMore at the first message that is null or cannot be encoded: the messages before it are in the
  /// file. WriteFailed as with AddObjectToFile(). Without memory std::bad_alloc is thrown, or the result is
  /// NothingMore; the messages before that one are in the file.
  [[nodiscard]] int appendBinaryBufferToFile(std::span<const YMMessageBase* const> messages);
  /// Reads up to `count` records of a batch and appends the new messages, which the caller deletes, to
  /// `messages`; messages that do not decode, which the decoder logs, are left out. At position 0 the version
  /// is read first (UnknownVersion when the file is no batch), so that a file can be read in several calls.
  ///
  /// Success when `count` records were read. Ask CYxFile::IsEOF() before each call, and end there: that is
  /// the normal end of reading. A call that meets the end of the file logs an error and gives NothingMore,
  /// and so does a call that meets a record whose length cannot be read or is 0, or a record without bytes:
  /// the result does not tell these apart. With a `count` of 1 IsEOF() tells the end before any call meets
  /// it; with more the end may be met within a call. With a `count` of 0 this form of the call reads the
  /// version alone, so that a batch without records can be told, too.
  ///
  /// ReadFailed when the file cannot be read or ends within a record. Without memory (NoMemory) the record
  /// stays the next one to read. Whatever the result, the messages of the records before are in `messages`.
  [[nodiscard]] int readBinaryBufferFromFile(std::vector<YMMessageBase*>& messages, int count);
  /// The same, with the messages in owners; a `count` of 0 reads nothing.
  [[nodiscard]] int readBinaryBufferFromFile(std::vector<std::unique_ptr<YMMessageBase>>& messages,
                                             int count);

  /// Makes the file, of either layout, end with its last whole record, and leaves the file positioned there.
  /// `cut` becomes the number of bytes that are gone; 0 when the file ended with a whole record.
  ///
  /// After a failure of this handler's appending, the cut is where the last whole record of that append ended
  /// (of a durable append that could not be stored: where that append began), and the checksum is set back to
  /// its value there. Otherwise, also where the file's size has changed since, the file is walked, and only
  /// the beginning of one record at the end is cut; of a file that may be damaged elsewhere nothing is cut
  /// (ReadFailed). WriteFailed when the file cannot be changed. Throws std::bad_alloc.
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
