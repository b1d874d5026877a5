// Files of messages: their bytes, every result, torn and damaged files.
#include "binary/Bodies.h"
#include "platform/TempDirectory.h"
#include "support/DataFile.h"

#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/CYxFile.h>

using namespace kwxml::test;

namespace {

using Handler = YMMessageBaseFileHandler;
const std::string rows = "binary/files.cases";

/// A message whose binary form takes `size` bytes (above 150).
YMMessageBase sized(std::size_t size)
{
  YMMessageBase m = make("Types_Leaf");
  const std::size_t head = 8 + 4 + (size - 8 - 4 - 2 < 16384 ? 2 : 3);
  setText(m, "text", std::string(size - head, 'x'));
  EXPECT_EQ(encode(m).size(), size);
  return m;
}

/// Bytes from words: hexadecimal ones, 'text', and "message", a message of 300 bytes, or its first N:
/// message:N.
std::string bytesOf(const std::string& text)
{
  YMMessageBase m = sized(300);
  const std::string message = encode(m);
  std::istringstream words(text);
  std::string bytes;
  for (std::string word; words >> word;) {
    if (word.starts_with("message")) {
      bytes += message.substr(0, word == "message" ? 300 : std::stoul(word.substr(8)));
    } else {
      bytes += word[0] == '\'' ? word.substr(1, word.size() - 2) : fromHex(word);
    }
  }
  return bytes;
}

struct Messages : std::vector<YMMessageBase*>
{
  ~Messages()
  {
    for (YMMessageBase* m : *this) {
      delete m;
    }
  }
};

class BinaryFiles : public testing::Test
{
protected:
  CYxFile open(const std::string& name, CYxFile::Mode mode = CYxFile::Mode::Update)
  {
    return CYxFile((directory_ / name).c_str(), mode);
  }
  std::string written(const std::vector<YMMessageBase*>& messages, const std::string& name)
  {
    CYxFile file = open(name, CYxFile::Mode::Truncate);
    std::vector<YMMessageBase*> all = messages;
    EXPECT_EQ(Handler(&file).appendBinaryBufferToFile(all), Handler::Success);
    return directory_.read(name);
  }
  TempDirectory directory_;
};

}  // namespace

TEST_F(BinaryFiles, SingleRecordsAndTheirChecksum)
{
  LogCapture log;
  YMMessageBase m = sized(300);
  CYxCRC64 crc;
  CYxFile file = open("records");
  Handler handler(&file, &crc);
  unsigned int count = 0;
  ASSERT_EQ(handler.AddObjectToFile(m, count), Handler::Success);
  EXPECT_EQ(count, 304u);
  file.Seek(0);  // writing goes on at the end wherever the file stands
  ASSERT_EQ(handler.AddObjectToFile(m), Handler::Success);
  const std::string bytes = directory_.read("records");
  EXPECT_EQ(bytes, bytesOf("00 00 01 2C message 00 00 01 2C message"));
  CYxCRC64 expected;
  expected.UpdateCRC64(bytes.data(), bytes.size());
  EXPECT_EQ(crc.value(), expected.value());
  file.Seek(0);
  YMMessageBase* read = nullptr;
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(handler.GetObjectFromFile(read), Handler::Success);
    EXPECT_TRUE(*read == m);
    delete read;
    read = nullptr;
  }
  EXPECT_EQ(handler.GetObjectFromFile(read), Handler::NothingMore);
  EXPECT_EQ(read, nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(BinaryFiles, TornAndForeignRecords)
{
  expectRows(rows, "records", [&](const Lines& cells) {
    directory_.write("torn", bytesOf(cells[0]));
    CYxFile file = open("torn", CYxFile::Mode::Read);
    YMMessageBase before;
    YMMessageBase* read = &before;
    const int result = Handler(&file).GetObjectFromFile(read);
    EXPECT_EQ(read, result == Handler::Success ? nullptr : &before) << "without a record nothing changes";
    return std::to_string(result);
  });
}

TEST_F(BinaryFiles, Batches)
{
  Transcript log("binary/log.cases");
  YMMessageBase m = sized(300);
  YMMessageBase small = make("Types_Empty");
  EXPECT_EQ(written({&m, &small}, "batch"),
            bytesOf("31 00 00 00 33 30 30 00 message 38 00 00 00") + encode(small));
  EXPECT_EQ(written({}, "empty"), fromHex("31 00 00 00"));
  {
    CYxFile file = open("batch");
    std::vector<YMMessageBase*> more{&m};
    EXPECT_EQ(Handler(&file).appendBinaryBufferToFile(more), Handler::Success);
  }
  // In several calls, and the file's end.
  CYxFile file = open("batch", CYxFile::Mode::Read);
  Handler handler(&file);
  Messages read;
  EXPECT_EQ(handler.readBinaryBufferFromFile(read, 0), Handler::Success);
  EXPECT_EQ(handler.readBinaryBufferFromFile(read, 2), Handler::Success);
  ASSERT_EQ(read.size(), 2u);
  EXPECT_TRUE(*read[0] == m && *read[1] == small);
  log.note("two are read");
  EXPECT_EQ(handler.readBinaryBufferFromFile(read, 3), Handler::NothingMore);
  EXPECT_EQ(read.size(), 3u);
  // 12345 bytes: the digits that fit are "1234", and what follows cannot be read.
  YMMessageBase large = sized(12345);
  YMMessageBase largest = sized(9999);
  EXPECT_EQ(written({&largest}, "largest").substr(4, 4), "9999");
  EXPECT_EQ(written({&large}, "large").substr(4, 4), "1234");
  EXPECT_EQ(directory_.read("large").size(), 8 + 12345u);
  CYxFile largeFile = open("largest", CYxFile::Mode::Read);
  Messages one;
  EXPECT_EQ(Handler(&largeFile).readBinaryBufferFromFile(one, 1), Handler::Success);
  EXPECT_EQ(one.size(), 1u);
}

TEST_F(BinaryFiles, BatchesThatCannotBeRead)
{
  expectRows(rows, "batches", [&](const Lines& cells) {
    const std::string bytes = bytesOf(cells[0]);
    directory_.write("batch", bytes);
    CYxFile file = open("batch", CYxFile::Mode::Read);
    Messages read;
    const int result = Handler(&file).readBinaryBufferFromFile(read, 9);
    if (result == Handler::UnknownVersion && !bytes.empty()) {
      CYxFile out = open("batch");
      YMMessageBase m = sized(300);
      std::vector<YMMessageBase*> messages{&m};
      EXPECT_EQ(Handler(&out).appendBinaryBufferToFile(messages), Handler::UnknownVersion);
      EXPECT_EQ(directory_.read("batch"), bytes);
    }
    return std::to_string(result) + ", messages " + std::to_string(read.size());
  });
}

TEST_F(BinaryFiles, WhatCannotBeWritten)
{
  Transcript log("binary/log.cases");
  YMMessageBase m = sized(300);
  std::vector<YMMessageBase*> messages{&m};
  YMMessageBase* read = nullptr;
  CYxFile closed;
  for (CYxFile* file : {static_cast<CYxFile*>(nullptr), &closed}) {
    Handler handler(file);
    EXPECT_EQ(handler.AddObjectToFile(m), Handler::InvalidFile);
    EXPECT_EQ(handler.GetObjectFromFile(read), Handler::InvalidFile);
    EXPECT_EQ(handler.appendBinaryBufferToFile(messages), Handler::InvalidFile);
    EXPECT_EQ(handler.readBinaryBufferFromFile(messages, 1), Handler::InvalidFile);
  }
  // A full disk.
  CYxFile full("/dev/full", CYxFile::Mode::Write);
  unsigned int count = 7;
  EXPECT_EQ(Handler(&full).AddObjectToFile(m, count), Handler::WriteFailed);
  EXPECT_EQ(count, 0u);
  CYxFile fullBatch("/dev/full", CYxFile::Mode::Write);
  EXPECT_EQ(Handler(&fullBatch).appendBinaryBufferToFile(messages), Handler::WriteFailed);
  // A message that cannot be encoded ends a batch; those before it stay.
  YMMessageBase tooDeep = nodeChain(65);
  CYxFile file = open("deep");
  EXPECT_EQ(Handler(&file).AddObjectToFile(tooDeep), Handler::NothingMore);
  std::vector<YMMessageBase*> some{&m, &tooDeep, &m};
  EXPECT_EQ(Handler(&file).appendBinaryBufferToFile(some), Handler::NothingMore);
  EXPECT_EQ(directory_.read("deep").size(), 4 + 4 + 300u);
}
