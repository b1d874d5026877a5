// Files and their errors, CRC-64, formatted texts, exceptions and the critical section.
#include <gtest/gtest.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/FXString.h>
#include <kwxml/platform/KwCriticalSectionH.h>
#include <kwxml/platform/KwException.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <random>
#include <thread>
#include <tuple>

#include "platform/TempDirectory.h"

namespace {

using Mode = CYxFile::Mode;
using Origin = CYxFile::Origin;

TEST(CYxFile, WritesSeeksAndReadsBack)
{
  const kwxml::test::TempDirectory directory;
  const std::string path = directory / "file";
  CYxError error;
  CYxFile file(path.c_str(), Mode::Truncate, &error);
  ASSERT_TRUE(file.IsValid()) << error.AsString();
  EXPECT_TRUE(file.IsEOF());
  EXPECT_EQ(file.Write("0123456789", 10), 10);
  EXPECT_EQ(file.Size(), 10);
  EXPECT_EQ(file.Seek(-4, Origin::End), 6);
  EXPECT_FALSE(file.IsEOF());
  char data[8] = {};
  EXPECT_EQ(file.Read(data, sizeof data), 4);  // short at the end only
  EXPECT_STREQ(data, "6789");
  EXPECT_TRUE(file.IsEOF());
  EXPECT_EQ(file.Read(data, sizeof data), 0);
  EXPECT_EQ(file.Seek(2), 2);
  EXPECT_EQ(file.Seek(3, Origin::Current), 5);
  EXPECT_EQ(file.Tell(), 5);
  EXPECT_TRUE(file.Flush(&error)) << error.AsString();

  CYxFile moved(std::move(file));
  EXPECT_FALSE(file.IsValid());
  EXPECT_EQ(moved.Tell(), 5);
  CYxFile other(path.c_str(), Mode::Read);
  other = std::move(moved);
  EXPECT_TRUE(!moved.IsValid() && other.Tell() == 5);
  moved = std::move(other);
  EXPECT_TRUE(moved.Close());

  // What each mode does to an existing file.
  ASSERT_TRUE(moved.Open(path.c_str(), Mode::Update));
  EXPECT_EQ(moved.Size(), 10);
  ASSERT_TRUE(moved.Open(path.c_str(), Mode::Read));
  EXPECT_EQ(moved.Write("x", 1, &error), -1);
  EXPECT_EQ(error.GetCode(), EBADF);
  ASSERT_TRUE(moved.Open(path.c_str(), Mode::Truncate, &error));
  EXPECT_FALSE(error.IsError()) << "success clears the error";
  EXPECT_EQ(moved.Size(), 0);
}

TEST(CYxFile, ErrorsHaveTheSystemsTexts)
{
  const std::tuple<const char*, Mode, const char*> refused[] = {
      {"/nonexistent-directory/file", Mode::Truncate, "No such file or directory"},
      {"/nonexistent-directory/file", Mode::Read, "No such file or directory"},
      {"/", Mode::Read, "Is a directory"},
      {"/dev/null/file", Mode::Update, "Not a directory"},
      {nullptr, Mode::Read, "Invalid argument"},
  };
  for (const auto& [path, mode, text] : refused) {
    CYxError error;
    EXPECT_FALSE(CYxFile(path, mode, &error).IsValid());
    EXPECT_STREQ(error.AsString(), text) << (path ? path : "null");
  }

  CYxError error;
  CYxFile full("/dev/full", Mode::Write, &error);
  ASSERT_TRUE(full.IsValid()) << error.AsString();
  EXPECT_EQ(full.Write("x", 1, &error), -1);
  EXPECT_EQ(error.GetCode(), ENOSPC);
  EXPECT_STREQ(error.AsString(), "No space left on device");

  CYxFile closed;
  char byte;
  EXPECT_TRUE(closed.IsEOF());
  for (const long long result : {closed.Read(&byte, 1, &error), closed.Write("x", 1), closed.Seek(0),
                                 closed.Tell(), closed.Size(), static_cast<long long>(closed.Flush()) - 1}) {
    EXPECT_EQ(result, -1);
  }
  EXPECT_STREQ(error.AsString(), "Bad file descriptor");
}

TEST(CYxFile, ReadsAPipeWholeAndFindsItsEnd)
{
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::string sent(300000, 'a');  // more than a pipe holds at once: reads come short
  std::thread writer([&] {
    for (size_t at = 0; at < sent.size(); at += 1000) {
      ASSERT_EQ(write(ends[1], sent.data() + at, 1000), 1000);
    }
    close(ends[1]);
  });
  CYxFile file(("/proc/self/fd/" + std::to_string(ends[0])).c_str(), Mode::Read);
  close(ends[0]);
  ASSERT_TRUE(file.IsValid());
  std::string got(sent.size(), '\0');
  EXPECT_EQ(file.Read(got.data(), got.size()), static_cast<long long>(sent.size()));
  writer.join();
  EXPECT_EQ(got, sent);
  EXPECT_FALSE(file.IsEOF());
  EXPECT_EQ(file.Read(got.data(), 1), 0);
  EXPECT_TRUE(file.IsEOF());
  CYxError error;
  EXPECT_EQ(file.Seek(0, Origin::Begin, &error), -1);
  EXPECT_EQ(error.GetCode(), ESPIPE);
  CYxFile memory("/proc/self/mem", Mode::Read);
  EXPECT_EQ(memory.Read(got.data(), 1, &error), -1) << "nothing is mapped at its beginning";
  EXPECT_EQ(error.GetCode(), EIO);
}

TEST(CYxCRC64, CheckValueAndAnyDivisionIntoCalls)
{
  CYxCRC64 crc;
  EXPECT_EQ(crc.value(), 0u);
  crc.UpdateCRC64("123456789", 9);
  EXPECT_EQ(crc.value(), 0x995DC9BBDF1939FAu);

  std::vector<unsigned char> bytes(1000);
  std::generate(bytes.begin(), bytes.end(), std::mt19937(64));
  // Bit by bit, as the definition has it.
  uint64_t expected = ~uint64_t{0};
  for (const unsigned char byte : bytes) {
    for (int bit = 0; bit < 8; ++bit) {
      const bool one = (((byte >> bit) ^ expected) & 1) != 0;
      expected = (expected >> 1) ^ (one ? 0xC96C5795D7870F42u : 0);
    }
  }
  for (size_t step : {1u, 3u, 7u, 8u, 9u, 64u, 1000u}) {
    crc.reset();
    for (size_t at = 0; at < bytes.size(); at += step) {
      crc.UpdateCRC64(bytes.data() + at, std::min(step, bytes.size() - at));
      crc.UpdateCRC64(nullptr, 0);
    }
    EXPECT_EQ(crc.value(), ~expected) << step;
  }
}

TEST(FXString, FormatsAnyLengthAndItself)
{
  FXString text;
  EXPECT_TRUE(text.Format("%d|%s|%lld", -7, "abc", 5LL));
  EXPECT_EQ(text.str(), "-7|abc|5");
  for (size_t size : {1022u, 1023u, 1024u, 100000u}) {  // around the internal buffer's size
    FXString part(std::string(size, 'x'));
    EXPECT_TRUE(part.Format("%s%d", part.c_str(), 12));
    EXPECT_EQ(part.str(), std::string(size, 'x') + "12");
  }
  const wchar_t bad[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_FALSE(text.Format("%ls", bad));
  EXPECT_EQ(text.str(), "-7|abc|5");
}

TEST(KwException, CarriesFunctionAndText)
{
  const KwException thrown("YMMessageBase::getObject", "does not exist");
  EXPECT_STREQ(static_cast<const std::exception&>(thrown).what(), "does not exist");
  EXPECT_EQ(thrown.getFunction(), "YMMessageBase::getObject");
}

TEST(KwCriticalSectionH, ExcludesOthersUntilTheLastLeave)
{
  static constinit KwCriticalSectionH section;
  const auto othersMayEnter = [] {
    const auto enter = [] { return section.tryEnter() && (section.leave(), true); };
    return std::async(std::launch::async, enter).get();
  };
  section.enter();
  section.enter();
  section.leave();
  EXPECT_FALSE(othersMayEnter());
  section.leave();
  EXPECT_TRUE(othersMayEnter());

  long sum = 0;
  std::vector<std::jthread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 5000; ++i) {
        std::lock_guard outer(section);
        std::lock_guard inner(section);
        ++sum;
      }
    });
  }
  threads.clear();  // all are done
  EXPECT_EQ(sum, 8 * 5000);
}

}  // namespace
