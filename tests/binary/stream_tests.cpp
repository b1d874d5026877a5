// The numbers of the binary form, byte by byte, and the buffer that holds them.
#include "binary/Hex.h"

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/binary/BinaryStream.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>

using namespace kwxml::test;

namespace {

/// What one write operation leaves in a buffer of 16 bytes.
template <class Write>
std::string written(Write write)
{
  char bytes[16];
  BinaryStream out(bytes, sizeof bytes);
  const unsigned long n = write(out);
  EXPECT_EQ(n, out.position());
  BinaryStream measure(nullptr, 0);
  EXPECT_EQ(write(measure), n);
  EXPECT_EQ(measure.position(), n);
  return toHex({bytes, n});
}

/// The value that one read operation gives, and how many bytes it took.
template <class T, class Read>
std::pair<T, unsigned long> reads(const std::string& hex, Read read)
{
  std::string bytes = fromHex(hex);
  BinaryStream in(bytes.data(), bytes.size());
  T value{};
  const unsigned long n = (in.*read)(value);
  EXPECT_TRUE(in.overrun() || n == in.position());
  return {value, in.overrun() ? ~0UL : n};
}

}  // namespace

TEST(BinaryStream, VariableLengthIntegers)
{
  const struct
  {
    unsigned int value;
    const char* bytes;
  } rows[] = {
      {0, "00"},
      {1, "01"},
      {127, "7F"},
      {128, "80 01"},
      {300, "AC 02"},
      {16383, "FF 7F"},
      {16384, "80 80 01"},
      {2097151, "FF FF 7F"},
      {2097152, "80 80 80 01"},
      {268435455, "FF FF FF 7F"},
      {268435456, "80 80 80 80 01"},
      {0xFFFFFFFF, "FF FF FF FF 0F"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(written([&](BinaryStream& s) { return s.WriteVarInt(row.value); }), row.bytes);
    EXPECT_EQ(BinaryStream::SizeNeededForVarint32(row.value), fromHex(row.bytes).size());
    EXPECT_EQ(reads<unsigned>(row.bytes, &BinaryStream::ReadVarInt),
              std::make_pair(row.value, fromHex(row.bytes).size()));
  }
  const struct
  {
    int value;
    const char* bytes;
  } zigzags[] = {{0, "00"},
                 {-1, "01"},
                 {1, "02"},
                 {-2, "03"},
                 {2, "04"},
                 {-64, "7F"},
                 {64, "80 01"},
                 {std::numeric_limits<int>::max(), "FE FF FF FF 0F"},
                 {std::numeric_limits<int>::min(), "FF FF FF FF 0F"}};
  for (const auto& row : zigzags) {
    EXPECT_EQ(written([&](BinaryStream& s) { return s.WriteSVarInt(row.value); }), row.bytes);
    EXPECT_EQ(BinaryStream::SizeNeededForSVarint32(row.value), fromHex(row.bytes).size());
    EXPECT_EQ(reads<int>(row.bytes, &BinaryStream::ReadSVarInt),
              std::make_pair(row.value, fromHex(row.bytes).size()));
  }
  // Overlong: five bytes are taken, and of the fifth the low four bits.
  EXPECT_EQ(reads<unsigned>("FF FF FF FF 7F", &BinaryStream::ReadVarInt), std::make_pair(0xFFFFFFFFu, 5ul));
  EXPECT_EQ(reads<unsigned>("FF FF FF FF FF 01", &BinaryStream::ReadVarInt),
            std::make_pair(0xFFFFFFFFu, 5ul));
  EXPECT_EQ(reads<unsigned>("80 80 80 80 10", &BinaryStream::ReadVarInt), std::make_pair(0u, 5ul));
  EXPECT_EQ(reads<unsigned>("80 00", &BinaryStream::ReadVarInt), std::make_pair(0u, 2ul));
  for (const char* cut : {"", "80", "FF FF FF FF"}) {
    EXPECT_EQ(reads<unsigned>(cut, &BinaryStream::ReadVarInt), std::make_pair(0u, ~0ul)) << cut;
  }
}

TEST(BinaryStream, FixedNumbersAndBytes)
{
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteInt32(1); }), "01 00 00 00");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteInt32(-2); }), "FE FF FF FF");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteUInt32(0x7F7F7F78); }), "78 7F 7F 7F");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteInt64(-2); }), "FE FF FF FF FF FF FF FF");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteDouble(1.0); }), "00 00 00 00 00 00 F0 3F");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteFloat(-2.5F); }), "00 00 20 C0");
  EXPECT_EQ(written([](BinaryStream& s) { return s.WriteRawBytes("a\0b", 3); }), "61 00 62");
  EXPECT_EQ(reads<int>("FE FF FF FF", &BinaryStream::ReadInt32), std::make_pair(-2, 4ul));
  EXPECT_EQ(reads<unsigned>("78 7F 7F 7F", &BinaryStream::ReadUInt32), std::make_pair(0x7F7F7F78u, 4ul));
  EXPECT_EQ(reads<long long>("FE FF FF FF FF FF FF FF", &BinaryStream::ReadInt64), std::make_pair(-2ll, 8ul));
  EXPECT_EQ(reads<double>("00 00 00 00 00 00 F0 3F", &BinaryStream::ReadDouble), std::make_pair(1.0, 8ul));
  EXPECT_EQ(reads<float>("00 00 20 C0", &BinaryStream::ReadFloat), std::make_pair(-2.5F, 4ul));
  // Cut short: zero, and the stream says so.
  EXPECT_EQ(reads<int>("FE FF FF", &BinaryStream::ReadInt32), std::make_pair(0, ~0ul));
  EXPECT_EQ(reads<double>("00 00 00 00 00 00 F0", &BinaryStream::ReadDouble), std::make_pair(0.0, ~0ul));
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
