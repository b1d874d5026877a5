// The numbers of the binary form, byte by byte, and the buffer that holds them.
#include "support/DataFile.h"
#include "support/Hex.h"

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryStream.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>

using namespace kwxml::test;

namespace {

/// A row of numbers: one that is written and read again gives its bytes; bytes that are read, their number.
template <class T>
std::string run(unsigned long (BinaryStream::*write)(T) noexcept,
                unsigned long (BinaryStream::*read)(T&) noexcept, const Lines& cells)
{
  const bool reads = cells[1] == "read";
  std::string bytes = reads ? fromHex(cells[2]) : std::string(16, '\0');
  if (!reads) {
    std::istringstream text(cells[1]);
    T value{};
    EXPECT_TRUE(text >> value);
    BinaryStream out(bytes.data(), bytes.size());
    const unsigned long n = (out.*write)(value);
    BinaryStream measure(nullptr, 0);
    EXPECT_EQ((measure.*write)(value), n);
    EXPECT_TRUE(out.position() == n && measure.position() == n);
    bytes.resize(n);
  }
  BinaryStream in(bytes.data(), bytes.size());
  T value{};
  const unsigned long n = (in.*read)(value);
  EXPECT_TRUE(in.overrun() || n == in.position());
  std::ostringstream back;
  back << value << ", " << (in.overrun() ? "overrun" : std::to_string(n) + " bytes");
  if (reads) {
    return back.str();
  }
  EXPECT_EQ(back.str(), cells[1] + ", " + std::to_string(bytes.size()) + " bytes");
  return toHex(bytes);
}

}  // namespace

TEST(BinaryStream, NumbersBothWays)
{
  using Stream = BinaryStream;
  const std::map<std::string, std::function<std::string(const Lines&)>> kinds = {
      {"variable", std::bind_front(run<unsigned>, &Stream::WriteVarInt, &Stream::ReadVarInt)},
      {"zigzag", std::bind_front(run<int>, &Stream::WriteSVarInt, &Stream::ReadSVarInt)},
      {"int32", std::bind_front(run<int>, &Stream::WriteInt32, &Stream::ReadInt32)},
      {"uint32", std::bind_front(run<unsigned>, &Stream::WriteUInt32, &Stream::ReadUInt32)},
      {"int64", std::bind_front(run<long long>, &Stream::WriteInt64, &Stream::ReadInt64)},
      {"double", std::bind_front(run<double>, &Stream::WriteDouble, &Stream::ReadDouble)},
      {"float", std::bind_front(run<float>, &Stream::WriteFloat, &Stream::ReadFloat)},
  };
  expectRows("binary/stream.cases", "numbers", [&](const Lines& cells) {
    const std::string result = kinds.at(cells[0])(cells);
    const std::size_t size = fromHex(cells[1] == "read" ? "" : result).size();
    if (size != 0 && cells[0] == "variable") {
      EXPECT_EQ(Stream::SizeNeededForVarint32(static_cast<unsigned>(std::stoul(cells[1]))), size);
    } else if (size != 0 && cells[0] == "zigzag") {
      EXPECT_EQ(Stream::SizeNeededForSVarint32(std::stoi(cells[1])), size);
    }
    return result;
  });
}

TEST(BinaryStream, RawBytesAndWritesThatDoNotFit)
{
  char written[3];
  BinaryStream out(written, sizeof written);
  EXPECT_EQ(out.WriteRawBytes("a\0b", 3), 3u);
  EXPECT_EQ(toHex({written, 3}), "61 00 62");
  std::string three = "abc";
  BinaryStream in(three.data(), three.size());
  char bytes[4] = {1, 1, 1, 1};
  char* to = bytes;
  EXPECT_EQ(in.ReadRawBytes(to, 4), 4u);
  EXPECT_TRUE(std::string(bytes, 4) == std::string(4, '\0') && in.overrun());
  // What does not fit is counted, and nothing is written.
  char kept[4] = {7, 7, 7, 7};
  BinaryStream full(kept, 3);
  EXPECT_TRUE(full.WriteInt32(1) == 4 && full.position() == 4);
  EXPECT_EQ(std::string(kept, 4), "\7\7\7\7");
  EXPECT_EQ(full.WriteRawBytes("x", 1), 1u);
  EXPECT_TRUE(full.position() == 5 && full.remaining() == 0);
}

TEST(BinaryBuffer, OwnsGrowsAndLends)
{
  BinaryBuffer owned;
  EXPECT_TRUE(owned.data() == nullptr && owned.capacity() == 0 && owned.length() == 0 && !owned.external());
  ASSERT_TRUE(owned.resizeBuffer(100));
  std::memset(owned.data(), 'x', 100);
  const char* before = owned.data();
  ASSERT_TRUE(owned.resizeBuffer(10));
  EXPECT_TRUE(owned.data() == before && owned.capacity() == 100 && owned.length() == 10);
  ASSERT_TRUE(owned.resizeBuffer(200));
  EXPECT_EQ(std::string(owned.data(), 100), std::string(100, 'x'));
#ifndef __SANITIZE_ADDRESS__  // which ends the program at such a size
  EXPECT_FALSE(owned.resizeBuffer(~0UL)) << "no memory";
  EXPECT_TRUE(owned.data() == nullptr && owned.capacity() == 0 && owned.length() == 0);
#endif

  char memory[8] = "caller";
  {
    BinaryBuffer lent(memory, sizeof memory);
    EXPECT_TRUE(lent.external() && lent.length() == 0 && lent.capacity() == 8);
    EXPECT_FALSE(lent.resizeBuffer(4));
    EXPECT_TRUE(lent.data() == memory && lent.capacity() == 8 && lent.length() == 0);
    lent.deepCopyBuffer("abc", 3, false);
    EXPECT_TRUE(lent.data() != memory && lent.length() == 3 && lent.capacity() == 3 && !lent.external());
    lent.deepCopyBuffer(lent.data() + 1, 2, false);  // a part of itself
    EXPECT_EQ(std::string(lent.data(), lent.length()), "bc");
    lent.SetReadBuffer(memory, 6, true);
    EXPECT_TRUE(lent.data() == memory && lent.length() == 6 && lent.capacity() == 6 && lent.external());
    lent.SetWriteBuffer(static_cast<char*>(std::malloc(5)), 5, false);
    EXPECT_TRUE(lent.length() == 0 && lent.capacity() == 5);
    lent.deepCopyBuffer("caller frees", 12, true);
    std::free(lent.data());
    lent.SetReadBuffer(memory, 6, true);
  }
  EXPECT_STREQ(memory, "caller");
}
