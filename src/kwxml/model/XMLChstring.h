// A length-counted, zero-terminated UTF-16 string: the wide text that passes between the transcoder, the
// escaper and the XML reader and writer.
//
// Invariants: the buffer is null or holds length() units and a zero unit behind them; there is never spare
// capacity, so each assignment and each append allocates exactly what it needs. An empty string may have a
// null buffer, and c_str() then returns null. Units of value zero inside the text are kept by everything that
// counts a length; what takes a bare pointer ends at the first of them. Not safe for concurrent change.
#pragma once

#include <kwxml/platform/Export.h>

#include <cstddef>

/// A text of UTF-16 units. Copies are deep.
class KWXML_API XMLChstring
{
public:
  /// Empty, with a null buffer.
  XMLChstring() noexcept = default;
  /// What the assignment of `text` makes.
  XMLChstring(const unsigned short* text) { *this = text; }
  XMLChstring(const char* text) { *this = text; }
  /// A copy.
  XMLChstring(const XMLChstring& other) { assign(other.m_data, other.m_length); }
  /// `other` is left empty, with a null buffer; so it is after a move assignment.
  XMLChstring(XMLChstring&& other) noexcept;
  /// Frees the buffer.
  virtual ~XMLChstring();

  /// Copies up to the first zero unit. The text must not be null; a null one is taken as clear().
  XMLChstring& operator=(const unsigned short* text);
  /// Widens byte by byte, without transcoding: only ASCII and Latin-1 survive. Null is taken as clear().
  XMLChstring& operator=(const char* text);
  XMLChstring& operator=(const unsigned char* text);
  /// Copies the other's text, or takes it over where the other is given away.
  XMLChstring& operator=(const XMLChstring& other);
  XMLChstring& operator=(XMLChstring&& other) noexcept;

  /// Copies exactly `length` units, zero units included; the text may be part of this string. A null text
  /// with length 0 clears. Throws std::bad_array_new_length beyond 2^32 - 2 units.
  XMLChstring& assign(const unsigned short* text, std::size_t length);
  /// Replaces the text by `length` zero units and returns their buffer, for a caller that fills it at once.
  unsigned short* allocate(std::size_t length);
  /// Frees the buffer: the string is empty and c_str() null.
  void clear() noexcept;

  /// Number of units, without the zero unit behind them.
  unsigned int length() const noexcept { return m_length; }
  /// The zero-terminated units, or null; valid until the next change of this string.
  const unsigned short* c_str() const noexcept { return m_data; }

  /// The unit at an index; 0 outside 0 .. length() - 1.
  unsigned short getAt(int index) const noexcept { return isInside(index) ? m_data[index] : 0; }
  /// The same as getAt().
  unsigned short operator[](int index) const noexcept { return getAt(index); }
  /// Outside 0 .. length() - 1 nothing is stored.
  void setAt(int index, unsigned short unit) noexcept
  {
    if (isInside(index)) {
      m_data[index] = unit;
    }
  }

  /// Appends a copy of the text. Appending an empty text leaves the buffer as it is, a null one too.
  XMLChstring& operator+=(const XMLChstring& other);
  XMLChstring& operator+=(const unsigned short* text) { return *this += XMLChstring(text); }
  XMLChstring& operator+=(const char* text) { return *this += XMLChstring(text); }

  /// `count` units from `start`; empty (with a null buffer) when this string is empty or when
  /// start + count - 1, as an unsigned number, is not below length(). Positions before the string, which a
  /// negative start reaches, give zero units. A count that no array can have (a negative one that passes the
  /// test above, or the greatest int) throws std::bad_array_new_length.
  XMLChstring substr(int start, int count) const;

private:
  bool isInside(int index) const noexcept
  {
    return index >= 0 && static_cast<unsigned int>(index) < m_length;
  }
  template <class Unit>
  XMLChstring& assignUnits(const Unit* text, std::size_t length);

  unsigned short* m_data = nullptr;
  unsigned int m_length = 0;
};

/// A new text of both, `a` first. A null pointer is an empty text.
KWXML_API XMLChstring operator+(const XMLChstring& a, const XMLChstring& b);
KWXML_API XMLChstring operator+(const unsigned short* a, const XMLChstring& b);
KWXML_API XMLChstring operator+(const char* a, const XMLChstring& b);

/// Equal lengths and equal units.
KWXML_API bool operator==(const XMLChstring& a, const XMLChstring& b) noexcept;
KWXML_API bool operator==(const unsigned short* a, const XMLChstring& b);
KWXML_API bool operator==(const char* a, const XMLChstring& b);
