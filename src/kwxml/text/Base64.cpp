#include <kwxml/text/Base64.h>

#include <kwxml/diagnostics/XMLDebug.h>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/Base64.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>

namespace {

/// Memory of the XML library's coder. Given a manager, it allocates and frees by the same pair on every path;
/// without one its failure path frees in another way than it allocated.
class CoderMemory final : public xercesc::MemoryManager
{
public:
  MemoryManager* getExceptionMemoryManager() override { return this; }
  void* allocate(XMLSize_t size) override { return ::operator new(size); }
  void deallocate(void* memory) override { ::operator delete(memory); }
  void operator()(XMLByte* bytes) { deallocate(bytes); }
};
using CoderResult = std::unique_ptr<XMLByte, CoderMemory>;

void take(const CoderResult& result, XMLSize_t length, std::string& out)
{
  out.assign(reinterpret_cast<const char*>(result.get()), length);
}

/// The decoder reads up to a zero byte, and its table ends before the highest byte: what it must not see is
/// refused here.
bool decodeAscii(const char* function, const std::string& in, std::string& out)
{
  if (in.empty()) {
    out.clear();
    return true;
  }
  const bool plain = std::all_of(in.begin(), in.end(), [](char c) { return c > 0 && c < 0x7F; });
  XMLSize_t length = 0;
  CoderMemory memory;
  const CoderResult result(plain ? xercesc::Base64::decode(reinterpret_cast<const XMLByte*>(in.c_str()),
                                                           &length, &memory, xercesc::Base64::Conf_RFC2045)
                                 : nullptr);
  if (result == nullptr) {
    XMLDebug::getInstance()->debug(function, "The text of %zu characters is not base64", in.size());
    return false;
  }
  take(result, length, out);
  return true;
}

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<signed char, 256> sextets = [] {
  std::array<signed char, 256> table{};
  table.fill(-1);
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    table[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
  }
  return table;
}();

/// The coder of the XML library breaks its text into lines of 60 characters.
constexpr std::size_t groupsPerLine = 15;

/// Four characters for up to three bytes; `length`, how many there are, is above 0.
char* encodeGroup(char* to, const char* bytes, std::size_t length)
{
  const auto byteAt = [&](std::size_t i) { return i < length ? static_cast<unsigned char>(bytes[i]) : 0u; };
  const unsigned group = byteAt(0) << 16 | byteAt(1) << 8 | byteAt(2);
  to[0] = alphabet[group >> 18];
  to[1] = alphabet[group >> 12 & 63];
  to[2] = length > 1 ? alphabet[group >> 6 & 63] : '=';
  to[3] = length > 2 ? alphabet[group & 63] : '=';
  return to + 4;
}

}  // namespace

std::size_t base64EncodedLength(std::size_t length) noexcept
{
  const std::size_t groups = (length + 2) / 3;
  return groups * 4 + (groups + groupsPerLine - 1) / groupsPerLine;
}

char* base64EncodeTo(char* to, const char* bytes, std::size_t length) noexcept
{
  for (std::size_t i = 0, group = 1; i < length; i += 3, ++group) {
    to = encodeGroup(to, bytes + i, length - i);
    if (group % groupsPerLine == 0 || i + 3 >= length) {
      *to++ = '\n';
    }
  }
  return to;
}

bool base64Encode(const std::string& in, std::string& out)
{
  std::string text(base64EncodedLength(in.size()), '\0');
  base64EncodeTo(text.data(), in.data(), in.size());
  out = std::move(text);
  return true;
}

bool base64Decode(const std::string& in, std::string& out)
{
  return decodeAscii("base64Decode", in, out);
}

bool base64DecodeXmlCh(const unsigned short* in, std::string& out)
{
  if (in == nullptr) {
    XMLDebug::getInstance()->debug("base64DecodeXmlCh", "Received NULL string");
    return false;
  }
  // Narrowed here rather than by the XML library, which would drop the upper byte of each unit; a unit that
  // is not ASCII becomes a byte that decodeAscii refuses.
  std::string narrow;
  for (; *in != 0; ++in) {
    narrow += *in < 0x80 ? static_cast<char>(*in) : '\x7F';
  }
  return decodeAscii("base64DecodeXmlCh", narrow, out);
}

std::string base64_encode(const std::string& in)
{
  std::string out((in.size() + 2) / 3 * 4, '\0');
  char* to = out.data();
  for (std::size_t i = 0; i < in.size(); i += 3) {
    to = encodeGroup(to, in.data() + i, in.size() - i);
  }
  return out;
}

std::string base64_decode(const std::string& in)
{
  const auto refuse = [&in](std::size_t position) {
    XMLDebug::getInstance()->logError(
        "base64_decode", "Invalid base64 text of %zu characters at position %zu", in.size(), position);
    return std::string();
  };
  if (in.size() % 4 != 0) {
    return refuse(in.size());
  }
  std::size_t digits = in.size();
  for (int padding = 0; padding < 2 && digits > 0 && in[digits - 1] == '='; ++padding) {
    --digits;
  }
  std::string out;
  out.reserve(in.size() / 4 * 3);
  unsigned group = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    const signed char sextet = sextets[static_cast<unsigned char>(in[i])];
    if (sextet < 0) {
      return refuse(i);
    }
    group = group << 6 | static_cast<unsigned>(sextet);
    switch (i % 4) {  // from its second on, each digit completes a byte
      case 1:
        out += static_cast<char>(group >> 4);
        break;
      case 2:
        out += static_cast<char>(group >> 2);
        break;
      case 3:
        out += static_cast<char>(group);
        break;
      default:
        break;
    }
  }
  return out;
}
