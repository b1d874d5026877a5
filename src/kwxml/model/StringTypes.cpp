#include <kwxml/model/StringTypes.h>

#include <cstring>
#include <ostream>

namespace {

// Unformatted, so that a stream's width and fill never mix with opaque bytes.
std::ostream& writeBytes(std::ostream& out, const std::string& text)
{
  return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

bstring::~bstring() = default;
cdata::~cdata() = default;
pstring::~pstring()
{
  explicit_bzero(text().data(), text().size());  // what it held does not stay in freed memory
}

std::ostream& operator<<(std::ostream& out, const bstring& value)
{
  return writeBytes(out, value.text());
}
std::string operator+(const std::string& a, const bstring& b)
{
  return a + b.text();
}
std::string operator+(const bstring& a, const std::string& b)
{
  return a.text() + b;
}
std::string operator+(const bstring& a, const bstring& b)
{
  return a.text() + b.text();
}

std::ostream& operator<<(std::ostream& out, const cdata& value)
{
  return writeBytes(out, value.text());
}
std::string operator+(const std::string& a, const cdata& b)
{
  return a + b.text();
}
std::string operator+(const cdata& a, const std::string& b)
{
  return a.text() + b;
}
std::string operator+(const cdata& a, const cdata& b)
{
  return a.text() + b.text();
}
