// Damaged bytes, in every form of every class: an error or a message that is as good as any, and never a
// crash. Every bit is turned, every byte is replaced, and the input ends at every byte.
#include "LastInput.h"
#include "Samples.h"
#include "reliability/Extent.h"
#include "support/LogCapture.h"
#include "support/ParserFeed.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/text/Utf8.h>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <stdexcept>

using namespace kwxml::test;
using namespace std::string_literals;
using kwxml::Problems;
using kwxml::Severity;

namespace {

using Message = std::unique_ptr<YMMessageBase>;

struct Wrong : std::logic_error
{
  using std::logic_error::logic_error;
};

void expect(bool condition, const char* what)
{
  if (!condition) {
    throw Wrong(what);
  }
}

std::string binaryOf(YMMessageBase& message)
{
  BinaryBuffer buffer;
  expect(BinarySerializer::serialize(message, buffer) != 0, "cannot be written as binary");
  return {buffer.data(), buffer.length()};
}

/// A message that was read does all that a message does.
void expectSound(YMMessageBase& message)
{
  YMMessageBase copy(message);
  // One that holds what is not a number equals nothing.
  expect(copy == message || !(message == message), "the copy is another message");
  const std::string bytes = binaryOf(message);
  expect(binaryOf(copy) == bytes, "the copy is written otherwise");
  copy = YMMessageBase(message.getSubsysID(), message.getClassIndex());
  copy = std::move(message);
  message = copy;
  expect(binaryOf(message) == bytes, "the assigned message is written otherwise");
  std::string text;
  expect(XMLEncoder().serialize(message, text) == 0, "cannot be written as XML");
  expect(JSONEncoder().serialize(message, text) == 0, "cannot be written as JSON");
}

/// What came of reading into a message that was used before is what came of reading a new one.
void expectSame(const Message& read, int result, YMMessageBase& used)
{
  expect((result == 0) == (read != nullptr), "a used message and a new one: one of them is read");
  expect(result != 0 || used == *read || binaryOf(used) == binaryOf(*read), "a used message reads otherwise");
}

/// A reader tells whoever asks why there is no message.
std::size_t judged(const Message& message, const Problems& problems)
{
  if (message == nullptr) {
    expect(problems.count(Severity::Error) != 0, "no message and no problem");
    return 0;
  }
  expectSound(*message);
  return 1;
}

/// A copy of just these bytes: the sanitizer sees who reads on.
class Exactly
{
public:
  explicit Exactly(const std::string& bytes) : size_(bytes.size()), bytes_(new char[bytes.size()])
  {
    std::memcpy(bytes_.get(), bytes.data(), size_);
  }
  std::string_view view() const { return {bytes_.get(), size_}; }

private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

std::size_t readBinary(const std::string& bytes, YMMessageBase& used)
{
  const Exactly exactly(bytes);
  BinaryBuffer buffer;
  buffer.SetReadBuffer(exactly.view().data(), exactly.view().size(), true);
  Problems problems;
  const Message message(BinarySerializer::unserialize(buffer, nullptr, false, &problems));
  const Message unobserved(BinarySerializer::unserialize(buffer, nullptr, false));
  expect((message == nullptr) == (unobserved == nullptr), "an observer changes the result");
  const int result = BinarySerializer::unserialize(used, buffer);
  expectSound(used);  // also where it was read in part
  // A header that names another class is none for this message.
  if (result == 0) {
    expectSame(message, result, used);
  }
  return judged(message, problems);
}

/// A file in memory.
const char* file(const std::string& bytes)
{
  static const int fd = memfd_create("damaged", MFD_CLOEXEC);
  static const std::string path = "/proc/self/fd/" + std::to_string(fd);
  if (ftruncate(fd, 0) != 0 ||
      pwrite(fd, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("no file in memory");
  }
  return path.c_str();
}

std::size_t readRecords(const std::string& bytes, YMMessageBase&)
{
  CYxFile opened(file(bytes), CYxFile::Mode::Read);
  YMMessageBaseFileHandler handler(&opened);
  std::size_t messages = 0;
  for (YMMessageBase* read = nullptr; handler.GetObjectFromFile(read) == YMMessageBaseFileHandler::Success;
       read = nullptr) {
    const Message message(read);
    if (message != nullptr) {
      expectSound(*message);
      ++messages;
    }
  }
  return messages;
}

std::size_t readBatch(const std::string& bytes, YMMessageBase&)
{
  CYxFile opened(file(bytes), CYxFile::Mode::Read);
  YMMessageBaseFileHandler handler(&opened);
  std::vector<YMMessageBase*> read;
  while (handler.readBinaryBufferFromFile(read, 1) == YMMessageBaseFileHandler::Success) {
  }
  const std::vector<Message> messages(read.begin(), read.end());
  for (const Message& message : messages) {
    expectSound(*message);
  }
  return messages.size();
}

std::size_t readXml(const std::string& bytes, YMMessageBase& used)
{
  const std::string exactly(bytes);
  Problems problems;
  const Message message(XMLDecoder().unSerialize(exactly, nullptr, &problems));
  const Message parsed = readByParser(exactly);
  expect((message == nullptr) == (parsed == nullptr), "the feeds differ in whether there is a message");
  expect(message == nullptr || *message == *parsed || binaryOf(*message) == binaryOf(*parsed),
         "the feeds give different messages");
  const int result = XMLDecoder().unSerialize(used, exactly);
  if (message == nullptr || message->getTagID() == used.getTagID()) {
    expectSame(message, result, used);
  } else {
    expect(result == 5, "a message of another class is read into this one");
  }
  return judged(message, problems);
}

/// What only the parser reads.
std::size_t readUtf16(const std::string& bytes, YMMessageBase&)
{
  const std::string exactly(bytes);
  Problems problems;
  const Message message(XMLDecoder().unSerialize(exactly, nullptr, &problems));
  return judged(message, problems);
}

std::size_t readJson(const std::string& bytes, YMMessageBase& used)
{
  const Exactly exactly(bytes);
  Problems problems;
  const Message message = JSONDecoder().unSerialize(exactly.view(), &problems);
  const int result = JSONDecoder().unSerialize(used, exactly.view());
  if (message == nullptr || message->getTagID() == used.getTagID()) {
    expectSame(message, result, used);
  } else {
    expect(result == 5, "a message of another class is read into this one");
  }
  return judged(message, problems);
}

std::string xmlOf(YMMessageBase& message)
{
  std::string text;
  expect(XMLEncoder().serialize(message, text, true) == 0, "cannot be written as XML");
  return text;
}

std::string jsonOf(YMMessageBase& message)
{
  std::string text;
  expect(JSONEncoder().serialize(message, text) == 0, "cannot be written as JSON");
  return text;
}

std::string utf16Of(YMMessageBase& message)
{
  std::string bytes = "\xFF\xFE";
  const std::string text = xmlOf(message);
  for (std::string_view rest = text; !rest.empty();) {
    std::uint32_t c = 0;
    rest.remove_prefix(kwxml::utf8Character(rest, c));
    kwxml::putUtf16(c, [&bytes](char16_t unit) {
      bytes += static_cast<char>(unit & 0xFF);
      bytes += static_cast<char>(unit >> 8);
    });
  }
  return bytes;
}

/// Two records, so that there is one behind the damage.
std::string recordsOf(YMMessageBase& message)
{
  const std::string bytes = binaryOf(message);
  const auto size = static_cast<std::uint32_t>(bytes.size());
  std::string record;
  for (int shift = 24; shift >= 0; shift -= 8) {
    record += static_cast<char>(size >> shift & 0xFF);
  }
  record += bytes;
  return record + record;
}

std::string batchOf(YMMessageBase& message)
{
  const std::string bytes = binaryOf(message);
  std::string size = std::to_string(bytes.size());
  if (size.size() > 4) {
    return {};
  }
  size.resize(4);
  return "1\0\0\0"s + size + bytes + size + bytes;
}

struct Form
{
  const char* name;
  bool isBinary;
  std::string (*write)(YMMessageBase& message);  // empty: the form has no room for it
  /// Reads what a form has become, and throws when something is wrong with what came of it. The other message
  /// has what was read last. Gives the number of messages.
  std::size_t (*read)(const std::string& bytes, YMMessageBase& used);
  std::size_t stride;
};

const Form forms[] = {
    {"binary", true, binaryOf, readBinary, 397}, {"records", true, recordsOf, readRecords, 593},
    {"batch", true, batchOf, readBatch, 593},    {"xml", false, xmlOf, readXml, 593},
    {"utf16", false, utf16Of, readUtf16, 997},   {"json", false, jsonOf, readJson, 397},
};

constexpr const char* damages[] = {"bit 0 turned",
                                   "bit 1 turned",
                                   "bit 2 turned",
                                   "bit 3 turned",
                                   "bit 4 turned",
                                   "bit 5 turned",
                                   "bit 6 turned",
                                   "bit 7 turned",
                                   "cut",
                                   "00",
                                   "7F",
                                   "80",
                                   "FF"};

/// False when the bytes are what they were.
bool damage(std::string& bytes, std::size_t position, std::size_t which)
{
  char& byte = bytes[position];
  if (which < 8) {
    byte = static_cast<char>(byte ^ 1 << which);
  } else if (which == 8) {
    bytes = bytes.substr(0, position);
  } else {
    const char other = "\x00\x7F\x80\xFF"[which - 9];
    if (byte == other) {
      return false;
    }
    byte = other;
  }
  return true;
}

void PrintTo(const Form& form, std::ostream* out)
{
  *out << form.name;
}

class Damage : public testing::TestWithParam<Form>
{
protected:
  Damage()
  {
    tellLastInputOnCrash();
    kwxml::setLogSink([](const kwxml::LogRecord&) {});  // lines are made and go nowhere
  }
  ~Damage() override { kwxml::setLogSink({}); }
};

std::string nameOf(const testing::TestParamInfo<Form>& info)
{
  return info.param.name;
}

}  // namespace

TEST_P(Damage, GivesAnErrorOrAMessage)
{
  const Form& form = GetParam();
  Figures figures("sweep " + std::string(form.name));
  std::size_t messages = 0;
  Stride stride(form.stride);
  for (Sample& sample : samples(form.isBinary)) {
    const std::string whole = form.write(sample.message);
    YMMessageBase used = sample.message;
    if (!whole.empty()) {
      const bool isRead = form.read(whole, used) != 0;
      EXPECT_TRUE(isRead || (form.isBinary && !sample.isReadable)) << sample.name;
    }
    for (std::size_t position = 0; position < whole.size(); ++position) {
      for (std::size_t which = 0; which < std::size(damages); ++which) {
        if (!stride.takes()) {
          continue;
        }
        std::string bytes = whole;
        if (!damage(bytes, position, which)) {
          continue;
        }
        lastInput = {form.name, sample.name.c_str(), position, damages[which]};
        try {
          messages += form.read(bytes, used);
        } catch (const std::exception& error) {
          ADD_FAILURE() << form.name << " of " << sample.name << ", " << damages[which] << " at byte "
                        << position << ": " << error.what();
        } catch (...) {
          ADD_FAILURE() << form.name << " of " << sample.name << ", " << damages[which] << " at byte "
                        << position << ": an exception of no known kind";
        }
        ++figures.inputs;
      }
    }
  }
  figures.more = ", " + std::to_string(messages) + " messages read";
  EXPECT_NE(messages, 0u);
}

INSTANTIATE_TEST_SUITE_P(Of, Damage, testing::ValuesIn(forms), nameOf);
