#include <kwxml/binary/YMMessageBaseFileHandler.h>

#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/RecordPrefix.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/reading/ReadObserver.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using kwxml::log;

namespace {

constexpr std::size_t prefixSize = kwxml::recordPrefixSize;
constexpr const char* readError = "Failed to Read from YxFile, error=%s";
constexpr const char* writeError = "Failed to Dump Binary Into File, error=%s";

bool usable(const CYxFile* file)
{
  return file != nullptr && file->IsValid();
}

/// The next four bytes as an unsigned decimal number, as far as it goes; 0 when nothing can be read.
unsigned long readNumber(CYxFile& file, CYxError* error = nullptr)
{
  char text[prefixSize] = {};
  return file.Read(text, prefixSize, error) > 0 ? kwxml::batchPrefix({text, prefixSize}) : 0;
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

/// The message of a record that ends where the file stands; null when it does not decode. Throws
/// std::bad_alloc.
std::unique_ptr<YMMessageBase> YMMessageBaseFileHandler::decode(BinaryBuffer& buffer)
{
  if (observer_ == nullptr) {
    return kwxml::unserializeNew(buffer, context_, nullptr);
  }
  const auto end = static_cast<std::uint64_t>(std::max(file_->Tell(), 0LL));
  InFile observer(*observer_, end - std::min<std::uint64_t>(end, buffer.length()));
  return kwxml::unserializeNew(buffer, context_, &observer);
}

/// Without memory for a record it stays the next one to read.
void YMMessageBaseFileHandler::stepBack(unsigned long bytes)
{
  (void)file_->Seek(-static_cast<long long>(bytes), CYxFile::Origin::Current);  // the result is told already
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

// ---- Appending

/// The appending of one call. When it ends within a record, or what it wrote is not known to be stored, the
/// handler appends no more.
class YMMessageBaseFileHandler::Append
{
public:
  Append(YMMessageBaseFileHandler& handler, const char* function) : handler_(handler), function_(function) {}
  Append(const Append&) = delete;
  Append& operator=(const Append&) = delete;
  ~Append()
  {
    if (failed_) {
      handler_.tornAt_ = whole_;
      handler_.tornSize_ = handler_.file_->Size();
      handler_.tornCrc_ = handler_.crc_;
      handler_.wholeCrc_ = wholeCrc_;
    }
  }

  /// Goes to the end of the file. False, logged, when that fails, and after an append that failed.
  bool begin()
  {
    if (handler_.tornAt_) {
      log().logError(function_, "%s",
                     "An append to this file has failed, so that it may end within a record. Nothing is "
                     "appended before cutTornTail() has mended it.");
      return false;
    }
    const long long end = handler_.file_->Seek(0, CYxFile::Origin::End, &error_);
    if (end < 0 && error_.GetCode() != ESPIPE) {  // a pipe is always at its end
      return fail();
    }
    end_ = static_cast<std::uint64_t>(std::max(end, 0LL));
    begin_ = end_;
    endOfRecord();
    beginCrc_ = wholeCrc_;
    return true;
  }
  bool write(const void* bytes, unsigned long size)
  {
    if (handler_.file_->Write(bytes, size, &error_) < 0) {
      failed_ = true;
      return fail();
    }
    end_ += size;
    if (handler_.crc_ != nullptr) {
      handler_.crc_->UpdateCRC64(bytes, size);
    }
    return true;
  }
  /// What has been written up to here is whole.
  void endOfRecord()
  {
    whole_ = end_;
    if (handler_.crc_ != nullptr) {
      wholeCrc_ = *handler_.crc_;
    }
  }
  /// Stores what has been written, where that is wanted. Of what could not be stored nobody knows how much
  /// is.
  bool store()
  {
    if (!handler_.durable_ || end_ == begin_ || handler_.file_->FlushData(&error_)) {
      return true;
    }
    failed_ = true;
    whole_ = begin_;
    wholeCrc_ = beginCrc_;
    return fail();
  }

private:
  bool fail() const
  {
    log().logError(function_, writeError, error_.AsString());
    return false;
  }

  YMMessageBaseFileHandler& handler_;
  const char* const function_;
  CYxError error_;
  std::uint64_t begin_ = 0;  ///< of what this call writes
  std::uint64_t whole_ = 0;  ///< the end of the last whole record
  std::uint64_t end_ = 0;
  CYxCRC64 beginCrc_;
  CYxCRC64 wholeCrc_;
  bool failed_ = false;
};

int YMMessageBaseFileHandler::AddObjectToFile(const YMMessageBase& message)
{
  unsigned int written = 0;
  return AddObjectToFile(message, written);
}

int YMMessageBaseFileHandler::AddObjectToFile(const YMMessageBase& message, unsigned int& written)
{
  constexpr const char* function = "YMMessageBaseFileHandler::AddObjectToFile";
  written = 0;
  if (!usable(file_)) {
    log().logError(function, "Invalid File.");
    return InvalidFile;
  }
  Append append(*this, function);
  if (!append.begin()) {
    return WriteFailed;
  }
  const unsigned long length = BinarySerializer::serialize(message, buffer_);
  if (length == 0) {
    log().logError(function, "Data Serialized is 0.Nothing to write.");
    return NothingMore;
  }
  if (!append.write(kwxml::singlePrefix(static_cast<std::uint32_t>(length)).data(), prefixSize)) {
    return WriteFailed;
  }
  written = prefixSize;
  if (!append.write(buffer_.data(), length)) {
    return WriteFailed;
  }
  written += static_cast<unsigned int>(length);
  return append.store() ? Success : WriteFailed;
}

int YMMessageBaseFileHandler::appendBinaryBufferToFile(std::span<const YMMessageBase* const> messages)
{
  constexpr const char* function = "YMMessageBaseFileHandler::appendBinaryBufferToFile";
  if (!usable(file_)) {
    log().logError(function, "Invalid File.");
    return InvalidFile;
  }
  CYxError error;
  const long long size = file_->Size(&error);
  if (size < 0) {
    log().logError(function, readError, error.AsString());
    return ReadFailed;
  }
  if (size != 0 && !tornAt_) {
    const unsigned long version = readNumber(*file_);
    if (version != kwxml::batchVersion) {
      log().logError(function, "Unknown Binary Buffer Version :[%u]", static_cast<unsigned>(version));
      return UnknownVersion;
    }
  }
  Append append(*this, function);
  if (!append.begin()) {
    return WriteFailed;
  }
  if (size == 0) {
    if (!append.write(kwxml::batchVersionBytes.data(), prefixSize)) {
      return WriteFailed;
    }
    append.endOfRecord();
  }
  for (const YMMessageBase* message : messages) {
    BinaryBuffer buffer;
    const unsigned long length = message != nullptr ? BinarySerializer::serialize(*message, buffer) : 0;
    if (length == 0) {
      log().logError(function, "Data Serialized is 0.Nothing to write.");
      return append.store() ? NothingMore : WriteFailed;
    }
    char number[prefixSize];
    numberText(length, number);
    if (!append.write(number, prefixSize) || !append.write(buffer.data(), length)) {
      return WriteFailed;
    }
    append.endOfRecord();
  }
  return append.store() ? Success : WriteFailed;
}

int YMMessageBaseFileHandler::cutTornTail()
{
  std::uint64_t cut = 0;
  return cutTornTail(cut);
}

int YMMessageBaseFileHandler::cutTornTail(std::uint64_t& cut)
{
  constexpr const char* function = "YMMessageBaseFileHandler::cutTornTail";
  cut = 0;
  if (!usable(file_)) {
    log().logError(function, "Invalid File.");
    return InvalidFile;
  }
  CYxError error;
  const long long size = file_->Size(&error);
  if (size < 0) {
    log().logError(function, readError, error.AsString());
    return ReadFailed;
  }
  std::uint64_t end = 0;
  if (tornAt_ && size == tornSize_) {
    end = *tornAt_;
  } else if (const int result = findWholeEnd(function, end); result != Success) {
    return result;
  }
  const auto before = static_cast<std::uint64_t>(size);
  if ((before > end && !file_->Truncate(static_cast<long long>(end), &error)) ||
      (durable_ && !file_->FlushData(&error)) || file_->Seek(0, CYxFile::Origin::End, &error) < 0) {
    log().logError(function, writeError, error.AsString());
    return WriteFailed;
  }
  cut = before - std::min(before, end);
  if (tornAt_ && size == tornSize_ && crc_ != nullptr && crc_ == tornCrc_) {
    *crc_ = wholeCrc_;
  }
  tornAt_.reset();
  return Success;
}

/// Where the last whole record of a file ends whose past this handler does not know.
int YMMessageBaseFileHandler::findWholeEnd(const char* function, std::uint64_t& end) const
{
  CYxError error;
  char head[3 * prefixSize];
  long long got = -1;
  if (file_->Seek(0, CYxFile::Origin::Begin, &error) == 0) {
    got = file_->Read(head, sizeof head, &error);
  }
  if (got < 0) {
    log().logError(function, readError, error.AsString());
    return ReadFailed;
  }
  const bool batch =
      std::string_view(head, static_cast<std::size_t>(got)).starts_with(kwxml::batchVersionBytes);
  const auto layout = batch ? kwxml::RecordLayout::Batch : kwxml::RecordLayout::Single;
  // Before anything is cut the messages are read, too: lengths alone may lead through torn records.
  for (const auto depth : {kwxml::RecordScan::Depth::Frames, kwxml::RecordScan::Depth::Contents}) {
    kwxml::RecordScan scan(*file_, layout, depth);
    kwxml::RecordStretch stretch;
    bool torn = false;
    end = 0;
    while (scan.next(stretch)) {
      torn = stretch.torn;
      if (stretch.kind != kwxml::RecordStretch::Kind::Damage) {
        end = stretch.offset + stretch.size;
      } else if (!torn) {
        log().logError(function, "The file is damaged at offset [%llu]. Nothing is cut.",
                       static_cast<unsigned long long>(stretch.offset));
        return ReadFailed;
      }
    }
    if (scan.error().IsError()) {
      log().logError(function, readError, scan.error().AsString());
      return ReadFailed;
    }
    if (!torn) {
      break;
    }
  }
  return Success;
}

// ---- Reading

int YMMessageBaseFileHandler::GetObjectFromFile(YMMessageBase*& message)
{
  if (!usable(file_)) {
    return InvalidFile;
  }
  CYxError error;
  if (file_->IsEOF(&error)) {
    if (error.IsError()) {
      tell(error.AsString());
    }
    return error.IsError() ? ReadFailed : NothingMore;
  }
  char prefix[prefixSize];
  if (file_->Read(prefix, prefixSize) != static_cast<long long>(prefixSize)) {
    tell("the file ends within the length of a record");
    return ReadFailed;
  }
  const unsigned long length = kwxml::singlePrefix({prefix, prefixSize});
  if (!buffer_.resizeBuffer(0)) {
    return NoMemory;
  }
  // In pieces that double: a length alone, which the file need not have, takes no memory.
  constexpr unsigned long firstPiece = 1UL << 20;
  for (unsigned long have = 0; have < length;) {
    const unsigned long piece = std::min(length - have, std::max(have, firstPiece));
    if (!buffer_.resizeBuffer(have + piece)) {
      stepBack(prefixSize + have);
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
  try {
    message = decode(buffer_).release();
  } catch (const std::bad_alloc&) {
    stepBack(prefixSize + length);
    return NoMemory;
  }
  return Success;
}

int YMMessageBaseFileHandler::GetObjectFromFile(std::unique_ptr<YMMessageBase>& message)
{
  return kwxml::intoOwner(message, [&](YMMessageBase*& given) { return GetObjectFromFile(given); });
}

int YMMessageBaseFileHandler::readBinaryBufferFromFile(std::vector<std::unique_ptr<YMMessageBase>>& messages,
                                                       int count)
{
  std::vector<YMMessageBase*> one;
  one.reserve(1);
  int result = count > 0 ? Success : readBinaryBufferFromFile(one, 0);
  for (int i = 0; i < count && result == Success; ++i) {
    messages.emplace_back();  // its owner has its place before there is a message
    result = readBinaryBufferFromFile(one, 1);
    if (one.empty()) {
      messages.pop_back();
    } else {
      messages.back().reset(one.back());
      one.pop_back();
    }
  }
  return result;
}

int YMMessageBaseFileHandler::readBinaryBufferFromFile(std::vector<YMMessageBase*>& messages, int count)
{
  constexpr const char* function = "YMMessageBaseFileHandler::readBinaryBufferFromFile";
  if (!usable(file_)) {
    log().logError(function, "Invalid file ptr.");
    return InvalidFile;
  }
  CYxError error;
  const long long position = file_->Tell(&error);
  if (position < 0) {
    log().logError(function, readError, error.AsString());
    tell(error.AsString());
    return ReadFailed;
  }
  if (position == 0) {
    const unsigned long version = readNumber(*file_, &error);
    if (version != kwxml::batchVersion) {
      log().logError(function, "Unknown Binary Buffer Version :[%u]", static_cast<unsigned>(version));
      tell(error.IsError() ? std::string(error.AsString())
                           : "a batch of version " + std::to_string(version) + "; the one that is read is 1");
      return UnknownVersion;
    }
  }
  for (int i = 0; i < count; ++i) {
    const unsigned long length = readNumber(*file_, &error);
    if (length == 0) {
      if (error.IsError()) {
        tell(error.AsString());
      }
      log().logError(function, "No more data available to read");
      return NothingMore;
    }
    // Four digits are 9999 at most; only a sign makes more of them.
    const std::unique_ptr<char, Freed> bytes(length < 10000 ? static_cast<char*>(std::calloc(length + 1, 1))
                                                            : nullptr);
    if (bytes == nullptr) {
      stepBack(prefixSize);
      log().logError(function, "Memory Allocation failed using new");
      return NoMemory;
    }
    const long long read = file_->Read(bytes.get(), length, &error);
    if (read < 0) {
      log().logError(function, readError, error.AsString());
      return ReadFailed;
    }
    if (read == 0) {
      log().logError(function, "No more data available to read");
      return NothingMore;
    }
    if (read < static_cast<long long>(length)) {  // a part could pass for a message with fewer fields
      log().logError(function, readError, "the record is cut short");
      tell("a record of " + std::to_string(length) + " bytes where " + std::to_string(read) + " are left");
      return ReadFailed;
    }
    BinaryBuffer buffer;
    buffer.SetReadBuffer(bytes.get(), length, true);
    try {
      if (messages.size() == messages.capacity()) {
        messages.reserve(2 * messages.size() + 1);
      }
      if (std::unique_ptr<YMMessageBase> message = decode(buffer)) {
        messages.push_back(message.release());
      }
    } catch (const std::bad_alloc&) {
      stepBack(prefixSize + length);
      log().logError(function, "Memory Allocation failed using new");
      return NoMemory;
    }
  }
  return Success;
}
