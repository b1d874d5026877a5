#include <kwxml/xml/InvalidChars.h>

#include <algorithm>
#include <cassert>
#include <utility>
#include <vector>

namespace {

constexpr unsigned short bar = '|';
constexpr unsigned short hash = '#';
constexpr unsigned short endMark = '!';
/// The farthest that "!" may stand after the bar: "|#", four digits, "!".
constexpr std::size_t maxEscapeSpan = 6;
constexpr std::size_t maxDigits = maxEscapeSpan - 2;
constexpr unsigned short emptyText[] = {0};

constexpr bool isControl(unsigned unit)
{
  return unit < 0x20 && unit != 0x9 && unit != 0xA && unit != 0xD;
}
constexpr bool isValid(unsigned short unit)
{
  return unit >= 0x20 ? unit <= 0xD7FF || (unit >= 0xE000 && unit <= 0xFFFD) : !isControl(unit);
}

std::size_t countUnits(const unsigned short* text) noexcept
{
  std::size_t length = 0;
  while (text[length] != 0) {
    ++length;
  }
  return length;
}

constexpr std::size_t digitCount(unsigned value)
{
  std::size_t digits = 1;
  while ((value >>= 4) != 0) {
    ++digits;
  }
  return digits;
}

}  // namespace

const unsigned short* XmlInvalidCharHandler::keep(const unsigned short* text, std::size_t length) noexcept
{
  result_ = text;
  length_ = length;
  return result_;
}

const unsigned short* XmlInvalidCharHandler::encodeInvalidChars(const unsigned short* text)
{
  return encodeInvalidChars(text, text != nullptr ? countUnits(text) : 0);
}

const unsigned short* XmlInvalidCharHandler::encodeInvalidChars(const unsigned short* text,
                                                                std::size_t length)
{
  if (text == nullptr) {
    return keep(emptyText, 0);
  }
  std::size_t encodedLength = 1 + length;
  for (std::size_t i = 0; i < length; ++i) {
    if (!isValid(text[i])) {
      encodedLength += digitCount(text[i]) + 2;  // "|#" and "!" less the unit itself
    }
  }
  if (encodedLength == 1 + length) {
    return keep(text, length);
  }

  // The input may be the handler's own last result, so that lives until the new one stands.
  XMLChstring encoded;
  unsigned short* out = encoded.allocate(encodedLength);
  [[maybe_unused]] const unsigned short* end = out + encodedLength;
  *out++ = bar;
  for (std::size_t i = 0; i < length; ++i) {
    if (isValid(text[i])) {
      *out++ = text[i];
      continue;
    }
    *out++ = bar;
    *out++ = hash;
    const std::string digits = convertToHexString(text[i], 4);
    out = std::copy(digits.begin(), digits.end(), out);
    *out++ = endMark;
  }
  assert(out == end);
  owner_ = std::move(encoded);
  return keep(owner_.c_str(), owner_.length());
}

const unsigned short* XmlInvalidCharHandler::decodeInvalidChars(const unsigned short* text)
{
  return decodeInvalidChars(text, text != nullptr ? countUnits(text) : 0);
}

const unsigned short* XmlInvalidCharHandler::decodeInvalidChars(const unsigned short* text,
                                                                std::size_t length)
{
  if (text == nullptr || length == 0 || text[0] != bar) {
    return keep(text, length);
  }
  return ParseAndReplaceUtil(text, length);
}

const unsigned short* XmlInvalidCharHandler::ParseAndReplaceUtil(const unsigned short* text,
                                                                 std::size_t length)
{
  if (length <= 1) {
    return keep(nullptr, 0);
  }
  std::vector<unsigned short> restored;
  restored.reserve(length - 1);
  std::size_t copied = 1;
  std::size_t begin = 1;
  while ((begin = findBeginPat(text, length, begin)) != npos) {
    const std::size_t end = findEndpat(text, length, begin);
    if (end == npos) {
      begin += 2;  // not an escape: another may begin right behind its "|#"
      continue;
    }
    unsigned short value = 0;
    if (parseForInteger(text + begin + 2, end - begin - 2, value)) {
      restored.insert(restored.end(), text + copied, text + begin);
      restored.push_back(value);
      copied = end + 1;
    }
    begin = end + 1;
  }
  restored.insert(restored.end(), text + copied, text + length);

  // Assigned only now: the input may be the handler's own last result.
  owner_.assign(restored.data(), restored.size());
  return keep(owner_.c_str(), owner_.length());
}

std::size_t XmlInvalidCharHandler::findBeginPat(const unsigned short* text, std::size_t length,
                                                std::size_t from) noexcept
{
  for (std::size_t i = from; i + 1 < length; ++i) {
    if (text[i] == bar && text[i + 1] == hash) {
      return i;
    }
  }
  return npos;
}

std::size_t XmlInvalidCharHandler::findEndpat(const unsigned short* text, std::size_t length,
                                              std::size_t begin) noexcept
{
  for (std::size_t i = begin + 2; i < length && i - begin <= maxEscapeSpan; ++i) {
    if (text[i] == endMark) {
      return i;
    }
  }
  return npos;
}

bool XmlInvalidCharHandler::parseForInteger(const unsigned short* digits, std::size_t count,
                                            unsigned short& value) noexcept
{
  if (count == 0 || count > maxDigits) {
    return false;
  }
  unsigned result = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int digit = getIntVal(digits[i]);
    if (digit < 0) {
      return false;
    }
    result = result << 4 | static_cast<unsigned>(digit);
  }
  value = static_cast<unsigned short>(result);
  return true;
}

int XmlInvalidCharHandler::getIntVal(unsigned short unit) noexcept
{
  if (unit >= '0' && unit <= '9') {
    return unit - '0';
  }
  if (unit >= 'A' && unit <= 'F') {
    return unit - 'A' + 10;
  }
  if (unit >= 'a' && unit <= 'f') {
    return unit - 'a' + 10;
  }
  return -1;
}

std::string XmlInvalidCharHandler::convertToHexString(unsigned int value, int bitsPerDigit)
{
  assert(bitsPerDigit >= 1 && bitsPerDigit <= 4);
  std::string digits;
  do {
    digits += "0123456789ABCDEF"[value & ((1u << bitsPerDigit) - 1)];
    value >>= bitsPerDigit;
  } while (value != 0);
  std::reverse(digits.begin(), digits.end());
  return digits;
}

bool XmlInvalidCharHandler::hasXmlInvalidChar(const std::string& text) noexcept
{
  const auto byteAt = [&text](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : static_cast<unsigned char>(0);
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned char byte = byteAt(i);
    // In UTF-8 the forbidden units show as control bytes, as any lead byte of a character that needs two
    // units, as ED A0..BF (a surrogate) and as EF BF BE and EF BF BF (U+FFFE and U+FFFF).
    if (isControl(byte) || byte >= 0xF0 || (byte == 0xED && byteAt(i + 1) >= 0xA0) ||
        (byte == 0xEF && byteAt(i + 1) == 0xBF && byteAt(i + 2) >= 0xBE)) {
      return true;
    }
  }
  return false;
}

bool XmlInvalidCharHandler::hasXmlInvalidChar(const XMLChstring& text) noexcept
{
  return !std::all_of(text.c_str(), text.c_str() + text.length(), isValid);
}

bool XmlInvalidCharHandler::hasControlChar(const std::string& text) noexcept
{
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return isControl(static_cast<unsigned char>(c)); });
}

bool XmlInvalidCharHandler::hasControlChar(const XMLChstring& text) noexcept
{
  return std::any_of(text.c_str(), text.c_str() + text.length(), isControl);
}
