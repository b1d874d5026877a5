// Characters spelled out by the tests, so that the library's own transcoding is not what checks it.
#pragma once

#include <string>
#include <vector>

namespace kwxml::test {

using Units = std::vector<unsigned short>;

inline void appendUtf8(std::string& out, char32_t c)
{
  const auto put = [&out](char32_t byte) { out += static_cast<char>(byte); };
  if (c < 0x80) {
    return put(c);
  }
  const int rest = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;  // bytes behind the first
  put((0xFF80 >> rest & 0xFF) | c >> 6 * rest);
  for (int i = rest - 1; i >= 0; --i) {
    put(0x80 | (c >> 6 * i & 63));
  }
}

inline void appendUtf16(Units& out, char32_t c)
{
  if (c >= 0x10000) {
    out.push_back(static_cast<unsigned short>(0xD800 + ((c - 0x10000) >> 10)));
    c = 0xDC00 + (c & 0x3FF);
  }
  out.push_back(static_cast<unsigned short>(c));
}

inline bool isSurrogate(char32_t c)
{
  return c >= 0xD800 && c <= 0xDFFF;
}

}  // namespace kwxml::test
