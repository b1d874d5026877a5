#include <kwxml/model/XMLChstring.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace {

std::size_t countUnits(const unsigned short* text) noexcept
{
  std::size_t length = 0;
  while (text[length] != 0) {
    ++length;
  }
  return length;
}

unsigned short* newBuffer(std::size_t length)
{
  // The length is counted in 32 bits, and one more unit must be countable for the terminating zero.
  if (length >= UINT32_MAX) {
    throw std::bad_array_new_length();
  }
  auto* buffer = new unsigned short[length + 1];
  buffer[length] = 0;
  return buffer;
}

}  // namespace

XMLChstring::XMLChstring(XMLChstring&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_length(std::exchange(other.m_length, 0))
{
}

XMLChstring::~XMLChstring()
{
  delete[] m_data;
}

// The new buffer is filled before the old one is freed: the text may be part of this string, and this string
// stays as it was when memory runs out.
template <class Unit>
XMLChstring& XMLChstring::assignUnits(const Unit* text, std::size_t length)
{
  unsigned short* buffer = newBuffer(length);
  std::copy_n(text, length, buffer);
  delete[] std::exchange(m_data, buffer);
  m_length = static_cast<unsigned int>(length);
  return *this;
}

XMLChstring& XMLChstring::operator=(const unsigned short* text)
{
  return assign(text, text != nullptr ? countUnits(text) : 0);
}

XMLChstring& XMLChstring::operator=(const char* text)
{
  return *this = reinterpret_cast<const unsigned char*>(text);
}

XMLChstring& XMLChstring::operator=(const unsigned char* text)
{
  if (text == nullptr) {
    clear();
    return *this;
  }
  return assignUnits(text, std::strlen(reinterpret_cast<const char*>(text)));
}

XMLChstring& XMLChstring::operator=(const XMLChstring& other)
{
  return this != &other ? assign(other.m_data, other.m_length) : *this;
}

XMLChstring& XMLChstring::operator=(XMLChstring&& other) noexcept
{
  if (this != &other) {
    delete[] std::exchange(m_data, std::exchange(other.m_data, nullptr));
    m_length = std::exchange(other.m_length, 0);
  }
  return *this;
}

XMLChstring& XMLChstring::assign(const unsigned short* text, std::size_t length)
{
  if (text == nullptr) {
    clear();
    return *this;
  }
  return assignUnits(text, length);
}

unsigned short* XMLChstring::allocate(std::size_t length)
{
  unsigned short* buffer = newBuffer(length);
  std::fill_n(buffer, length, static_cast<unsigned short>(0));
  delete[] std::exchange(m_data, buffer);
  m_length = static_cast<unsigned int>(length);
  return m_data;
}

void XMLChstring::clear() noexcept
{
  delete[] std::exchange(m_data, nullptr);
  m_length = 0;
}

XMLChstring& XMLChstring::operator+=(const XMLChstring& other)
{
  if (other.m_length < 1) {
    return *this;
  }
  const std::size_t length = std::size_t{m_length} + other.m_length;
  unsigned short* buffer = newBuffer(length);
  std::copy_n(m_data, m_length, buffer);
  std::copy_n(other.m_data, other.m_length, buffer + m_length);
  delete[] std::exchange(m_data, buffer);
  m_length = static_cast<unsigned int>(length);
  return *this;
}

XMLChstring XMLChstring::substr(int start, int count) const
{
  XMLChstring result;
  const unsigned int last = static_cast<unsigned int>(start) + static_cast<unsigned int>(count) - 1u;
  if (m_length == 0 || m_length <= last) {
    return result;
  }
  if (count < 0 || count == INT_MAX) {
    throw std::bad_array_new_length();
  }
  unsigned short* buffer = result.allocate(static_cast<std::size_t>(count));
  // The test above bounds only the end; what lies before the string stays zero.
  const long long skipped =
      start < 0 ? std::min(-static_cast<long long>(start), static_cast<long long>(count)) : 0;
  if (count > skipped) {
    std::copy_n(m_data + (start + skipped), count - skipped, buffer + skipped);
  }
  return result;
}

XMLChstring operator+(const XMLChstring& a, const XMLChstring& b)
{
  XMLChstring result(a);
  result += b;
  return result;
}

XMLChstring operator+(const unsigned short* a, const XMLChstring& b)
{
  return XMLChstring(a) + b;
}
XMLChstring operator+(const char* a, const XMLChstring& b)
{
  return XMLChstring(a) + b;
}

bool operator==(const XMLChstring& a, const XMLChstring& b) noexcept
{
  return a.length() == b.length() && std::equal(a.c_str(), a.c_str() + a.length(), b.c_str());
}

bool operator==(const unsigned short* a, const XMLChstring& b)
{
  return XMLChstring(a) == b;
}
bool operator==(const char* a, const XMLChstring& b)
{
  return XMLChstring(a) == b;
}
