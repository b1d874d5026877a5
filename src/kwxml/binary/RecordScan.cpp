#include <kwxml/binary/RecordScan.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryReader.h>
#include <kwxml/binary/RecordPrefix.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/reading/Problems.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace kwxml {

namespace {

constexpr std::uint64_t shortest = recordPrefixSize + wire::headerSize;

/// That of files: the version word of the default version.
constexpr std::string_view writtenVersionWord{"\x02\0\1\0", 4};
static_assert(wire::defaultVersion == 2);

}  // namespace

std::optional<RecordLayout> recordLayout(std::string_view head, std::uint64_t size)
{
  if (head.starts_with(batchVersionBytes)) {
    return RecordLayout::Batch;
  }
  if (head.size() < shortest || !wire::isVersionWord(head.substr(recordPrefixSize))) {
    return std::nullopt;
  }
  const std::uint64_t length = singlePrefix(head);
  return length >= wire::headerSize && length <= size - recordPrefixSize ? std::optional(RecordLayout::Single)
                                                                         : std::nullopt;
}

RecordScan::RecordScan(CYxFile& file, RecordLayout layout, Depth depth)
    : file_(file), layout_(layout), depth_(depth)
{
  const long long size = file.Size(&error_);
  size_ = static_cast<std::uint64_t>(std::max(size, 0LL));
  // Places that only look like records, and are made to, must not cost the square of the file's size.
  constexpr std::uint64_t small = std::uint64_t{16} << 20;
  searchBudget_ = small + 16 * size_;
}

/// Bytes of the file; fewer than `count`, with error(), when they cannot be read.
std::string_view RecordScan::bytes(std::uint64_t offset, std::uint64_t count)
{
  count = std::min(count, size_ - offset);
  if (offset < windowBegin_ || offset + count > windowBegin_ + window_.size()) {
    constexpr std::uint64_t usual = std::uint64_t{1} << 20;
    const std::uint64_t wanted = std::min(std::max(count, usual), size_ - offset);
    searchBudget_ -= std::min(searchBudget_, wanted);
    window_.clear();
    windowBegin_ = offset;
    if (file_.Seek(static_cast<long long>(offset), CYxFile::Origin::Begin, &error_) < 0) {
      return {};
    }
    window_.resize(wanted);
    const long long got = file_.Read(window_.data(), wanted, &error_);
    window_.resize(static_cast<std::size_t>(std::max(got, 0LL)));
    if (got >= 0 && static_cast<std::uint64_t>(got) < count) {
      error_ = CYxError(EIO);  // the file has become shorter meanwhile
    }
  }
  return std::string_view(window_).substr(offset - windowBegin_, count);
}

/// What the four bytes say; less than a header where they say nothing.
std::uint64_t RecordScan::length(std::uint64_t offset)
{
  const std::string_view prefix = bytes(offset, recordPrefixSize);
  if (prefix.size() < recordPrefixSize) {
    return 0;
  }
  return layout_ == RecordLayout::Single ? singlePrefix(prefix) : writtenBatchPrefix(prefix);
}

RecordScan::Frame RecordScan::frame(std::uint64_t offset)
{
  const std::uint64_t left = size_ - offset;
  if (left < recordPrefixSize) {
    return Frame::Torn;
  }
  const std::uint64_t length = this->length(offset);
  if (length < wire::headerSize) {
    return Frame::None;
  }
  const std::string_view word = bytes(offset + recordPrefixSize, writtenVersionWord.size());
  if (word.size() < writtenVersionWord.size() ? !writtenVersionWord.starts_with(word)
                                              : !wire::isVersionWord(word)) {
    return Frame::None;
  }
  return length > left - recordPrefixSize ? Frame::Torn : Frame::Whole;
}

std::uint64_t RecordScan::frameEnd(std::uint64_t offset)
{
  return offset + recordPrefixSize + length(offset);
}

/// How much speaks for a record that ends there: 2 when another one follows, or nothing; 1 for what may be
/// the beginning of one; else 0.
int RecordScan::evidence(std::uint64_t end)
{
  const Frame next = end == size_ ? Frame::Whole : frame(end);
  return next == Frame::Whole ? 2 : next == Frame::Torn ? 1 : 0;
}

/// Whether what is left may be the beginning of one record, and nothing else: no other one begins in it, not
/// even one that cannot be read.
bool RecordScan::isTorn()
{
  if (frame(at_) != Frame::Torn) {
    return false;
  }
  for (std::uint64_t at = at_ + 1; at + shortest <= size_ && !error_.IsError(); ++at) {
    if (frame(at) == Frame::Whole) {
      return false;
    }
  }
  // Of a file that holds no whole record it must be just what writers write.
  const std::string_view begin = bytes(at_, recordPrefixSize);
  return at_ > 0 || batchVersionBytes.starts_with(begin) || begin.starts_with('\0');
}

/// Of the message of a record of `size` bytes.
RecordScan::Judgement RecordScan::content(std::uint64_t offset, std::uint64_t size)
{
  const std::string_view record = bytes(offset, size);
  if (record.size() < size) {
    return {Content::Bad, error_.AsString()};
  }
  const std::string_view message = record.substr(recordPrefixSize);
  std::uint32_t tag = 0;
  for (std::size_t i = wire::headerSize; i-- > sizeof tag;) {
    tag = tag << 8 | static_cast<unsigned char>(message[i]);
  }
  const _ClassDef* const cls = YMMessageBase::GetClassDef(tag);
  if (cls == nullptr) {
    return {Content::Foreign, "the catalogue lacks the class of the message"};
  }
  if (cls->isEnum()) {
    return {Content::Bad, "an enumeration, not a message"};
  }
  KwXMLContextInfo context;
  context.setPasswordEncType(Annotation::PASS_THROUGH);  // no key is needed
  BinaryBuffer buffer;
  buffer.SetReadBuffer(message.data(), message.size(), true);
  Problems problems;
  const std::unique_ptr<YMMessageBase> read = unserializeNew(buffer, &context, &problems);
  if (read != nullptr) {
    return {problems.empty() ? Content::Good : Content::Doubtful, {}};
  }
  std::string why = "the message cannot be read";
  for (const Problems::Entry& problem : problems.entries()) {
    if (severityOf(problem.kind) == Severity::Error) {
      why = problem.text;
      break;
    }
  }
  return {problems.has(ProblemKind::NoMemory) ? Content::Doubtful : Content::Bad, why};
}

/// Where from `from` on the next record begins that can be read; the end of the file when none does.
std::uint64_t RecordScan::search(std::uint64_t from)
{
  std::uint64_t at = from;
  if (from >= searchedFrom_ && from <= searchedTo_) {
    at = searchedTo_;
  } else {
    searchedFrom_ = from;
  }
  for (; at + shortest <= size_ && !error_.IsError(); ++at) {
    if (frame(at) != Frame::Whole) {
      continue;
    }
    const std::uint64_t size = recordPrefixSize + length(at);
    if (searchBudget_ < size) {  // by what follows alone, then
      if (evidence(at + size) == 2) {
        break;
      }
      continue;
    }
    searchBudget_ -= size;
    const Content content = this->content(at, size).content;
    if (content == Content::Good || content == Content::Doubtful) {
      break;
    }
  }
  searchedTo_ = at + shortest <= size_ ? at : size_;
  return searchedTo_;
}

RecordStretch RecordScan::damage(std::uint64_t searchFrom, std::string why)
{
  const std::uint64_t end = search(searchFrom);
  return {.kind = RecordStretch::Kind::Damage, .offset = at_, .size = end - at_, .why = std::move(why)};
}

/// The record whose frame is whole and begins here, or damage.
RecordStretch RecordScan::record()
{
  const std::uint64_t size = recordPrefixSize + length(at_);
  if (depth_ == Depth::Frames) {
    return {.offset = at_, .size = size};
  }
  Judgement judgement = content(at_, size);
  const bool bad = judgement.content == Content::Bad;
  const std::uint64_t end = at_ + size;
  RecordStretch whole{.offset = at_, .size = size, .why = judgement.why};
  const int mine = evidence(end);
  if (mine == 2) {
    if (!bad) {
      return whole;
    }
    // Behind it the next one begins, so that its length is right.
    return {
        .kind = RecordStretch::Kind::Damage, .offset = at_, .size = size, .why = std::move(judgement.why)};
  }
  // Nothing goes on where it ends. Perhaps its length is damaged, or it was cut short and another one was
  // appended, which now looks like a part of it: its texts may hold anything.
  const std::uint64_t inner = search(at_ + 1);
  const int other = inner < end ? evidence(frameEnd(inner)) : 0;
  if (bad || (other > 0 && other >= mine)) {
    return damage(at_ + 1,
                  bad ? std::move(judgement.why) : "the length of the record does not fit its message");
  }
  return whole;
}

bool RecordScan::next(RecordStretch& stretch)
{
  if (at_ >= size_ || error_.IsError()) {
    return false;
  }
  if (layout_ == RecordLayout::Batch && at_ == 0) {
    const bool good = bytes(0, recordPrefixSize) == batchVersionBytes;
    stretch = good ? RecordStretch{.kind = RecordStretch::Kind::Version, .size = recordPrefixSize}
                   : damage(std::min(recordPrefixSize, size_), "the version of the batch is not 1");
  } else if (const Frame frame = this->frame(at_); frame == Frame::Whole) {
    stretch = record();
  } else {
    const std::uint64_t length = frame == Frame::Torn ? this->length(at_) : 0;
    stretch = damage(at_ + 1, "no record begins here");
    stretch.torn = at_ + stretch.size == size_ && isTorn();
    if (stretch.torn) {
      stretch.why = length != 0 ? "the file ends within a record of " + std::to_string(length) + " bytes"
                                : "the file ends within the length of a record";
    }
  }
  if (error_.IsError()) {
    return false;
  }
  at_ += stretch.size;
  return true;
}

}  // namespace kwxml
