// Passage between the 16-bit unit of our interfaces (unsigned short) and that of the XML library (XMLCh).
// Used wherever a text crosses into or out of the XML library. Not installed.
#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include <type_traits>

namespace kwxml {

// Both are unsigned 16-bit integers with one representation, so an array of the one is read as an array of
// the other. The compilers' aliasing rules do not know that, which is harmless here: no function reads and
// writes one buffer through both types; the XML library's code, which sees only its own type, is compiled
// apart.
static_assert(std::is_unsigned_v<XMLCh> && sizeof(XMLCh) == sizeof(unsigned short));
static_assert(alignof(XMLCh) == alignof(unsigned short));

inline const XMLCh* toXmlCh(const unsigned short* text) noexcept
{
  return reinterpret_cast<const XMLCh*>(text);
}
inline XMLCh* toXmlCh(unsigned short* text) noexcept
{
  return reinterpret_cast<XMLCh*>(text);
}
inline const unsigned short* fromXmlCh(const XMLCh* text) noexcept
{
  return reinterpret_cast<const unsigned short*>(text);
}

}  // namespace kwxml
