#include <kwxml/binary/YMMessageBaseFileHandler.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/reading/ReadObserver.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using kwxml::log;

namespace {

constexpr std::size_t prefixSize = 4;
constexpr unsigned long batchVersion = 1;
constexpr const char* writeError = "Failed to Dump Binary Into File, error=%s";

bool usable(const CYxFile* file)
{
  return file != nullptr && file->IsValid();
}

/// The next four bytes as an unsigned decimal number, as far as it goes; 0 when nothing can be read.
unsigned long readNumber(CYxFile& file)
{
  char text[prefixSize + 1] = {};
  return file.Read(text, prefixSize) > 0 ? std::strtoul(text, nullptr, 10) : 0;
}

/// The decimal text of a number as four bytes, zero-padded; further digits have no place.
void numberText(unsigned long number, char (&out)[prefixSize])
{
  char text[24] = {};
  std::snprintf(text, sizeof text, "%lu", number);
  std::memcpy(out, text, prefixSize);
}

struct Freed
{
  void operator()(char* memory) const { std::free(memory); }
};

}  // namespace

namespace {

/// Tells of places in the file.
class InFile : public kwxml::ReadObserver
{
public:
  InFile(kwxml::ReadObserver& observer, std::uint64_t begin) : observer_(observer), begin_(begin) {}
  void met(const kwxml::Problem& problem) override
  {
    kwxml::Problem shifted = problem;
    shifted.place.offset += begin_;
    observer_.met(shifted);
  }

private:
  kwxml::ReadObserver& observer_;
  std::uint64_t begin_;
};

}  // namespace

/// The message of a record that ends where the file stands.
YMMessageBase* YMMessageBaseFileHandler::decode(BinaryBuffer& buffer)
{
  if (observer_ == nullptr) {
    return BinarySerializer::unserialize(buffer, context_, false);
  }
  const auto end = static_cast<std::uint64_t>(std::max(file_->Tell(), 0LL));
  InFile observer(*observer_, end - std::min<std::uint64_t>(end, buffer.length()));
  return BinarySerializer::unserialize(buffer, context_, false, &observer);
}

/// Why no record can be read where the file stands.
void YMMessageBaseFileHandler::tell(std::string_view why) const
{
  if (observer_ != nullptr) {
    observer_->met({.kind = kwxml::ProblemKind::BufferCut,
                    .place = {.offset = static_cast<std::uint64_t>(std::max(file_->Tell(), 0LL))},
                    .remark = why});
  }
}

// ---- Single records

int YMMessageBaseFileHandler::AddObjectToFile(YMMessageBase& message)
{
  unsigned int written = 0;
  return AddObjectToFile(message, written);
}

int YMMessageBaseFileHandler::AddObjectToFile(YMMessageBase& message, unsigned int& written)
{
  constexpr const char* function = "YMMessageBaseFileHandler::AddObjectToFile";
  written = 0;
  if (!usable(file_)) {
    log().logError(function, "Invalid File.");
    return InvalidFile;
  }
  file_->Seek(0, CYxFile::Origin::End);
  const unsigned long length = BinarySerializer::serialize(message, buffer_);
  if (length == 0) {
    log().logError(function, "Data Serialized is 0.Nothing to write.");
    return NothingMore;
  }
  unsigned char prefix[prefixSize];
  for (std::size_t i = 0; i < prefixSize; ++i) {
    prefix[i] = static_cast<unsigned char>(length >> (8 * (prefixSize - 1 - i)));
  }
  const auto write = [&](const void* bytes, unsigned long size) {
    CYxError error;
    if (file_->Write(bytes, size, &error) < 0) {
      log().logError(function, writeError, error.AsString());
      return false;
    }
    written += static_cast<unsigned int>(size);
    if (crc_ != nullptr) {
      crc_->UpdateCRC64(bytes, size);
    }
    return true;
  };
  return write(prefix, prefixSize) && write(buffer_.data(), length) ? Success : WriteFailed;
}

int YMMessageBaseFileHandler::GetObjectFromFile(YMMessageBase*& message)
{
  if (!usable(file_)) {
    return InvalidFile;
  }
  if (file_->IsEOF()) {
    return NothingMore;
  }
  unsigned char prefix[prefixSize];
  if (file_->Read(prefix, prefixSize) != static_cast<long long>(prefixSize)) {
    tell("the file ends within the length of a record");
    return ReadFailed;
  }
  const unsigned long length = static_cast<std::uint32_t>(prefix[0]) << 24 |
                               static_cast<std::uint32_t>(prefix[1]) << 16 |
                               static_cast<std::uint32_t>(prefix[2]) << 8 | prefix[3];
  if (!buffer_.resizeBuffer(0)) {
    return NoMemory;
  }
  // In pieces that double: a length alone, which the file need not have, takes no memory.
  constexpr unsigned long firstPiece = 1UL << 20;
  for (unsigned long have = 0; have < length;) {
    const unsigned long piece = std::min(length - have, std::max(have, firstPiece));
    if (!buffer_.resizeBuffer(have + piece)) {
      return NoMemory;
    }
    if (file_->Read(buffer_.data() + have, piece) != static_cast<long long>(piece)) {
      tell("a record of " + std::to_string(length) + " bytes, more than are left");
      return ReadFailed;
    }
    have += piece;
  }
  if (buffer_.data() == nullptr) {
    return NoMemory;  // a record without bytes, in a buffer that never had any
  }
  message = decode(buffer_);
  return Success;
}

// ---- Batches

int YMMessageBaseFileHandler::appendBinaryBufferToFile(std::vector<YMMessageBase*>& messages)
{
  constexpr const char* function = "YMMessageBaseFileHandler::appendBinaryBufferToFile";
  if (!usable(file_)) {
    log().logError(function, "Invalid File.");
    return InvalidFile;
  }
  CYxError error;
  const auto write = [&](const char* bytes, unsigned long size) {
    if (file_->Write(bytes, size, &error) >= 0) {
      return true;
    }
    log().logError(function, writeError, error.AsString());
    return false;
  };
  char number[prefixSize];
  if (file_->Size() != 0) {
    const unsigned long version = readNumber(*file_);
    if (version != batchVersion) {
      log().logError(function, "Unknown Binary Buffer Version :[%u]", static_cast<unsigned>(version));
      return UnknownVersion;
    }
  } else {
    numberText(batchVersion, number);
    if (!write(number, prefixSize)) {
      return WriteFailed;
    }
  }
  file_->Seek(0, CYxFile::Origin::End);
  for (YMMessageBase* message : messages) {
    BinaryBuffer buffer;
    const unsigned long length = message != nullptr ? BinarySerializer::serialize(*message, buffer) : 0;
    if (length == 0) {
      log().logError(function, "Data Serialized is 0.Nothing to write.");
      return NothingMore;
    }
    numberText(length, number);
    if (!write(number, prefixSize) || !write(buffer.data(), length)) {
      return WriteFailed;
    }
  }
  return Success;
}

int YMMessageBaseFileHandler::readBinaryBufferFromFile(std::vector<YMMessageBase*>& messages, int count)
{
  constexpr const char* function = "YMMessageBaseFileHandler::readBinaryBufferFromFile";
  if (!usable(file_)) {
    log().logError(function, "Invalid file ptr.");
    return InvalidFile;
  }
  if (file_->Tell() == 0) {
    const unsigned long version = readNumber(*file_);
    if (version != batchVersion) {
      log().logError(function, "Unknown Binary Buffer Version :[%u]", static_cast<unsigned>(version));
      tell("a batch of version " + std::to_string(version) + "; the one that is read is 1");
      return UnknownVersion;
    }
  }
  for (int i = 0; i < count; ++i) {
    const unsigned long length = readNumber(*file_);
    if (length == 0) {
      log().logError(function, "No more data available to read");
      return NothingMore;
    }
    // Four digits are 9999 at most; only a sign makes more of them.
    const std::unique_ptr<char, Freed> bytes(length < 10000 ? static_cast<char*>(std::calloc(length + 1, 1))
                                                            : nullptr);
    if (bytes == nullptr) {
      log().logError(function, "Memory Allocation failed using new");
      return NoMemory;
    }
    CYxError error;
    const long long read = file_->Read(bytes.get(), length, &error);
    if (read < 0) {
      log().logError(function, "Failed to Read from YxFile, error=%s", error.AsString());
      return ReadFailed;
    }
    if (read == 0) {
      log().logError(function, "No more data available to read");
      return NothingMore;
    }
    if (read < static_cast<long long>(length)) {  // a part could pass for a message with fewer fields
      log().logError(function, "Failed to Read from YxFile, error=%s", "the record is cut short");
      tell("a record of " + std::to_string(length) + " bytes where " + std::to_string(read) + " are left");
      return ReadFailed;
    }
    BinaryBuffer buffer;
    buffer.SetReadBuffer(bytes.get(), static_cast<unsigned long>(read), true);
    if (YMMessageBase* message = decode(buffer)) {
      messages.push_back(message);
    }
  }
  return Success;
}
