#include <kwxml/platform/CYxCRC64.h>

#include <array>

namespace {

// 0x42F0E1EBA9EA3693 with its bits reversed, for a register that is shifted to the right.
constexpr uint64_t kPolynomial = 0xC96C5795D7870F42;

using Table = std::array<std::array<uint64_t, 256>, 8>;

// table[k][b] is what byte b contributes when k more bytes follow it: with eight of them, eight bytes take
// one step.
constexpr Table makeTable()
{
  Table table{};
  for (unsigned b = 0; b < 256; ++b) {
    uint64_t sum = b;
    for (int bit = 0; bit < 8; ++bit) {
      sum = (sum >> 1) ^ ((sum & 1) ? kPolynomial : 0);
    }
    table[0][b] = sum;
  }
  for (unsigned k = 1; k < 8; ++k) {
    for (unsigned b = 0; b < 256; ++b) {
      const uint64_t before = table[k - 1][b];
      table[k][b] = (before >> 8) ^ table[0][before & 0xFF];
    }
  }
  return table;
}

constexpr Table kTable = makeTable();

}  // namespace

void CYxCRC64::UpdateCRC64(const void* data, size_t size)
{
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  uint64_t sum = state_;
  for (; size >= 8; size -= 8, bytes += 8) {
    uint64_t next = 0;
    for (unsigned k = 0; k < 8; ++k) {
      next ^= kTable[7 - k][((sum >> (8 * k)) & 0xFF) ^ bytes[k]];
    }
    sum = next;
  }
  for (; size > 0; --size, ++bytes) {
    sum = (sum >> 8) ^ kTable[0][(sum ^ *bytes) & 0xFF];
  }
  state_ = sum;
}
