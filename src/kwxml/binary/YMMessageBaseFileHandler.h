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
// where the comments do not say otherwise, and leave in the file what was written.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>

#include <string_view>
#include <vector>

class CYxCRC64;
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
  void setFile(CYxFile* file) { file_ = file; }
  void setCRC(CYxCRC64* crc) { crc_ = crc; }
  /// What passwords are read with; null, as it is at first: default flags and no context. The caller's.
  void setContext(KwXMLContextInfo* context) { context_ = context; }
  /// Who is told of what reading messages drops or bends, with offsets in the file; null, as it is at first:
  /// nobody. The caller's.
  void setObserver(kwxml::ReadObserver* observer) { observer_ = observer; }

  /// Appends one record at the end of the file. `written` are the bytes of the record that are in the file.
  int AddObjectToFile(YMMessageBase& message, unsigned int& written);
  int AddObjectToFile(YMMessageBase& message);
  /// The record at the position, as a new message of the caller's. A record that does not decode gives null
  /// with Success. Nothing is logged for the file. `message` is unchanged when there is no record.
  int GetObjectFromFile(YMMessageBase*& message);

  /// Appends a record per message. A file that is not empty must stand at its beginning.
  int appendBinaryBufferToFile(std::vector<YMMessageBase*>& messages);
  /// Appends up to `count` new messages, the caller's, to `messages`; those that do not decode are left out.
  /// A record that the file cuts short is none (ReadFailed).
  /// At position 0 the version is read first, so that a file can be read in several calls.
  int readBinaryBufferFromFile(std::vector<YMMessageBase*>& messages, int count);

private:
  CYxFile* file_ = nullptr;
  BinaryBuffer buffer_;
  CYxCRC64* crc_ = nullptr;
  YMMessageBase* decode(BinaryBuffer& buffer);
  void tell(std::string_view why) const;

  KwXMLContextInfo* context_ = nullptr;
  kwxml::ReadObserver* observer_ = nullptr;
};
