// The numbers of the binary form, byte by byte, and the buffer that holds them.
#include "binary/Hex.h"
#include "support/Rows.h"

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

const std::string rows = "binary/stream.rows";

template <class T>
T number(const std::string& text)
{
  std::istringstream in(text);
  T value{};
  in >> value;
  EXPECT_TRUE(in.eof() && !in.fail()) << text;
  return value;
}

/// The bytes that writing a number leaves; measuring gives as many.
template <class T>
std::string written(unsigned long (BinaryStream::*write)(T) noexcept, const std::string& value)
{
  char bytes[16];
  BinaryStream out(bytes, sizeof bytes);
  const unsigned long n = (out.*write)(number<T>(value));
  EXPECT_EQ(n, out.position());
  BinaryStream measure(nullptr, 0);
  EXPECT_EQ((measure.*write)(number<T>(value)), n);
  EXPECT_EQ(measure.position(), n);
  return toHex({bytes, n});
}

/// The number that reading gives, and how many bytes it took.
template <class T>
std::string read(unsigned long (BinaryStream::*read)(T&) noexcept, const std::string& hex)
{
  std::string bytes = fromHex(hex);
  BinaryStream in(bytes.data(), bytes.size());
  T value{};
  const unsigned long n = (in.*read)(value);
  EXPECT_TRUE(in.overrun() || n == in.position());
  std::ostringstream text;
  text << value << (in.overrun() ? ", overrun" : ", " + std::to_string(n) + " bytes");
  return text.str();
}

struct Kind
{
  std::function<std::string(const std::string&)> write, read;
};

template <class T>
Kind kind(unsigned long (BinaryStream::*write)(T) noexcept, unsigned long (BinaryStream::*reads)(T&) noexcept)
{
  return {[=](const std::string& value) { return written(write, value); },
          [=](const std::string& hex) { return read(reads, hex); }};
}

const std::map<std::string, Kind>& kinds()
{
  using Stream = BinaryStream;
  static const std::map<std::string, Kind> all = {
      {"variable", kind(&Stream::WriteVarInt, &Stream::ReadVarInt)},
      {"zigzag", kind(&Stream::WriteSVarInt, &Stream::ReadSVarInt)},
      {"int32", kind(&Stream::WriteInt32, &Stream::ReadInt32)},
      {"uint32", kind(&Stream::WriteUInt32, &Stream::ReadUInt32)},
      {"int64", kind(&Stream::WriteInt64, &Stream::ReadInt64)},
      {"double", kind(&Stream::WriteDouble, &Stream::ReadDouble)},
      {"float", kind(&Stream::WriteFloat, &Stream::ReadFloat)},
  };
  return all;
}

}  // namespace

TEST(BinaryStream, NumbersBothWays)
{
  expectRows(rows, "numbers", [](const Lines& cells) -> Lines {
    const Kind& kind = kinds().at(cells[0]);
    const std::string hex = kind.write(cells[1]);
    const std::string size = std::to_string(fromHex(hex).size());
    EXPECT_EQ(kind.read(hex), cells[1] + ", " + size + " bytes");
    if (cells[0] == "variable") {
      EXPECT_EQ(std::to_string(BinaryStream::SizeNeededForVarint32(number<unsigned>(cells[1]))), size);
    } else if (cells[0] == "zigzag") {
      EXPECT_EQ(std::to_string(BinaryStream::SizeNeededForSVarint32(number<int>(cells[1]))), size);
    }
    return {hex};
  });
  expectRows(rows, "odd numbers",
             [](const Lines& cells) -> Lines { return {kinds().at(cells[0]).read(cells[1])}; });
}

TEST(BinaryStream, RawBytes)
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
  EXPECT_EQ(std::string(bytes, 4), std::string(4, '\0'));
  EXPECT_TRUE(in.overrun());
}

TEST(BinaryStream, WritesThatDoNotFitWriteNothing)
{
  char bytes[4] = {7, 7, 7, 7};
  BinaryStream out(bytes, 3);
  EXPECT_EQ(out.WriteInt32(1), 4u);
  EXPECT_EQ(out.position(), 4u);
  EXPECT_EQ(std::string(bytes, 4), "\7\7\7\7");
  EXPECT_EQ(out.WriteRawBytes("x", 1), 1u);
  EXPECT_EQ(out.position(), 5u);
  EXPECT_EQ(out.remaining(), 0u);
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
