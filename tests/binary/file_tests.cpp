// Files of messages: their bytes, every result, torn and damaged files.
#include "binary/Bodies.h"
#include "platform/TempDirectory.h"

#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/CYxFile.h>

#include <functional>

using namespace kwxml::test;

namespace {

using Handler = YMMessageBaseFileHandler;
constexpr const char* addFunction = "YMMessageBaseFileHandler::AddObjectToFile";
constexpr const char* appendFunction = "YMMessageBaseFileHandler::appendBinaryBufferToFile";
constexpr const char* readFunction = "YMMessageBaseFileHandler::readBinaryBufferFromFile";

/// A message whose binary form takes `size` bytes (above 150).
YMMessageBase sized(std::size_t size)
{
  YMMessageBase m = make("Types_Leaf");
  const std::size_t head = 8 + 4 + (size - 8 - 4 - 2 < 16384 ? 2 : 3);
  setText(m, "text", std::string(size - head, 'x'));
  EXPECT_EQ(encode(m).size(), size);
  return m;
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
  EXPECT_EQ(bytes, fromHex("00 00 01 2C") + encode(m) + fromHex("00 00 01 2C") + encode(m));
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
  YMMessageBase m = sized(300);
  const std::string record = fromHex("00 00 01 2C") + encode(m);
  const struct
  {
    std::string bytes;
    int result;
    bool logged;
  } rows[] = {
      {"", Handler::NothingMore, false},
      {"123", Handler::ReadFailed, false},
      {record.substr(0, 4), Handler::ReadFailed, false},
      {record.substr(0, 303), Handler::ReadFailed, false},
      {fromHex("FF FF FF FF") + encode(m), Handler::ReadFailed, false},
      {fromHex("00 00 00 00"), Handler::NoMemory, false},
      {fromHex("00 00 00 03 01 02 03"), Handler::Success, true},
      {fromHex("00 00 00 08 02 00 01 00 00 00 00 3F"), Handler::Success, true},
  };
  for (const auto& row : rows) {
    LogCapture log;
    directory_.write("torn", row.bytes);
    CYxFile file = open("torn", CYxFile::Mode::Read);
    YMMessageBase* read = &m;
    EXPECT_EQ(Handler(&file).GetObjectFromFile(read), row.result) << toHex(row.bytes);
    EXPECT_EQ(read, row.result == Handler::Success ? nullptr : &m) << "without a record nothing changes";
    EXPECT_EQ(log.lines().empty(), !row.logged);
  }
}

TEST_F(BinaryFiles, Batches)
{
  LogCapture log;
  YMMessageBase m = sized(300);
  YMMessageBase small = make("Types_Empty");
  EXPECT_EQ(written({&m, &small}, "batch"),
            fromHex("31 00 00 00 33 30 30 00") + encode(m) + fromHex("38 00 00 00") + encode(small));
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
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(handler.readBinaryBufferFromFile(read, 3), Handler::NothingMore);
  EXPECT_EQ(read.size(), 3u);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, readFunction, "No more data available to read"}}));
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
  YMMessageBase m = sized(300);
  const std::string batch = fromHex("31 00 00 00 33 30 30 00") + encode(m);
  const auto unknown = [](const std::string& version) {
    return "Unknown Binary Buffer Version :[" + version + "]";
  };
  const std::string cut = "Failed to Read from YxFile, error=the record is cut short";
  const struct
  {
    std::string bytes;
    int result;
    std::size_t messages;
    std::string line;  // the last one
  } rows[] = {
      {"", Handler::UnknownVersion, 0, unknown("0")},
      {fromHex("32 00 00 00"), Handler::UnknownVersion, 0, unknown("2")},
      {"abc", Handler::UnknownVersion, 0, unknown("0")},
      {fromHex("31 00 00 00"), Handler::NothingMore, 0, "No more data available to read"},
      {batch, Handler::NothingMore, 1, "No more data available to read"},
      {batch + "9", Handler::NothingMore, 1, "No more data available to read"},
      {batch + std::string("0\0\0\0", 4), Handler::NothingMore, 1, "No more data available to read"},
      {batch + "zzzzzz", Handler::NothingMore, 1, "No more data available to read"},
      {batch + std::string("-1\0\0", 4) + "xx", Handler::NoMemory, 1, "Memory Allocation failed using new"},
      // Records that do not decode are passed over.
      {batch + std::string("3\0\0\0xyz", 7) + batch.substr(4), Handler::NothingMore, 2,
       "No more data available to read"},
      // One that the file cuts short is none, also where its first fields are whole.
      {batch + batch.substr(4, 100), Handler::ReadFailed, 1, cut},
      {batch + batch.substr(4, 4 + 8), Handler::ReadFailed, 1, cut},
      {batch + batch.substr(4, 4 + 9), Handler::ReadFailed, 1, cut},
  };
  for (const auto& row : rows) {
    LogCapture log;
    directory_.write("batch", row.bytes);
    CYxFile file = open("batch", CYxFile::Mode::Read);
    Messages read;
    EXPECT_EQ(Handler(&file).readBinaryBufferFromFile(read, 9), row.result) << toHex(row.bytes);
    EXPECT_EQ(read.size(), row.messages);
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines().back(), (LogLine{0, readFunction, row.line}));
    if (row.result == Handler::UnknownVersion && !row.bytes.empty()) {
      CYxFile out = open("batch");
      std::vector<YMMessageBase*> messages{&m};
      EXPECT_EQ(Handler(&out).appendBinaryBufferToFile(messages), Handler::UnknownVersion);
      EXPECT_EQ(log.lines().back(), (LogLine{0, appendFunction, row.line}));
      EXPECT_EQ(directory_.read("batch"), row.bytes);
    }
  }
}

TEST_F(BinaryFiles, WhatCannotBeWritten)
{
  LogCapture log;
  YMMessageBase m = sized(300);
  std::vector<YMMessageBase*> messages{&m};
  YMMessageBase* read = nullptr;
  CYxFile closed;
  for (CYxFile* file : {static_cast<CYxFile*>(nullptr), &closed}) {
    Handler handler(file);
    log.clear();
    EXPECT_EQ(handler.AddObjectToFile(m), Handler::InvalidFile);
    EXPECT_EQ(handler.GetObjectFromFile(read), Handler::InvalidFile);
    EXPECT_EQ(handler.appendBinaryBufferToFile(messages), Handler::InvalidFile);
    EXPECT_EQ(handler.readBinaryBufferFromFile(messages, 1), Handler::InvalidFile);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, addFunction, "Invalid File."},
                                                 {0, appendFunction, "Invalid File."},
                                                 {0, readFunction, "Invalid file ptr."}}));
  }
  log.clear();
  // A full disk.
  CYxFile full("/dev/full", CYxFile::Mode::Write);
  unsigned int count = 7;
  EXPECT_EQ(Handler(&full).AddObjectToFile(m, count), Handler::WriteFailed);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(log.lines().back(),
            (LogLine{0, addFunction, "Failed to Dump Binary Into File, error=No space left on device"}));
  CYxFile fullBatch("/dev/full", CYxFile::Mode::Write);
  EXPECT_EQ(Handler(&fullBatch).appendBinaryBufferToFile(messages), Handler::WriteFailed);
  EXPECT_EQ(log.lines().back(),
            (LogLine{0, appendFunction, "Failed to Dump Binary Into File, error=No space left on device"}));
  // A message that cannot be encoded ends a batch; those before it stay.
  log.clear();
  YMMessageBase tooDeep = nodeChain(65);
  CYxFile file = open("deep");
  EXPECT_EQ(Handler(&file).AddObjectToFile(tooDeep), Handler::NothingMore);
  EXPECT_EQ(log.lines().back(), (LogLine{0, addFunction, "Data Serialized is 0.Nothing to write."}));
  std::vector<YMMessageBase*> some{&m, &tooDeep, &m};
  EXPECT_EQ(Handler(&file).appendBinaryBufferToFile(some), Handler::NothingMore);
  EXPECT_EQ(directory_.read("deep").size(), 4 + 4 + 300u);
}
