// Reads a field's annotation record, the constant bytes that the catalogue compiler writes for it.
//
//   byte 0, 1  length of the whole record, big-endian
//   byte 2     bits 0-1 date form (Annotation::DateType), bit 3 time of day, bits 4-7 password encryption
//   type byte 3     bit 7 XPath mark byte 4     bit 7 CDATA mark byte 5     number of attached annotations,
//   each: 4 bytes tag identifier, 2 bytes length of its members, members
// All numbers are big-endian. A record ends where its length says; what lies behind is absent, so a short
// record has no marks. docs/formats.md draws the members.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwxml {

class AnnotationRecord
{
public:
  /// `bytes` is a FieldDef's annotation pointer, null for a field without annotations.
  explicit AnnotationRecord(const unsigned char* bytes) noexcept
      : bytes_(bytes), length_(bytes != nullptr ? static_cast<std::size_t>(bytes[0]) << 8 | bytes[1] : 0)
  {
  }

  bool present() const noexcept { return bytes_ != nullptr; }
  int dateForm() const noexcept { return length_ > 2 ? bytes_[2] & 0x03 : 0; }
  bool isTimeOfDay() const noexcept { return length_ > 2 && (bytes_[2] & 0x08) != 0; }
  int passwordType() const noexcept { return length_ > 2 ? bytes_[2] >> 4 : 0; }
  bool isCdata() const noexcept { return length_ >= 5 && (bytes_[4] & 0x80) != 0; }

  /// Calls `visit(unsigned long tag, std::string_view members)` for each attached annotation, in schema
  /// order; the members are still encoded. False when the record is cut short.
  template <class Visit>
  bool forEachAttached(Visit visit) const
  {
    std::size_t at = attachedBegin;
    for (int left = length_ >= attachedBegin ? bytes_[5] : 0; left > 0; --left) {
      if (length_ - at < 6) {
        return false;
      }
      const unsigned char* entry = bytes_ + at;
      const unsigned long tag = static_cast<unsigned long>(entry[0]) << 24 |
                                static_cast<unsigned long>(entry[1]) << 16 |
                                static_cast<unsigned long>(entry[2]) << 8 | entry[3];
      const std::size_t size = static_cast<std::size_t>(entry[4]) << 8 | entry[5];
      at += 6;
      if (length_ - at < size) {
        return false;
      }
      visit(tag, std::string_view(reinterpret_cast<const char*>(bytes_ + at), size));
      at += size;
    }
    return true;
  }

private:
  static constexpr std::size_t attachedBegin = 6;
  const unsigned char* bytes_;
  std::size_t length_;
};

}  // namespace kwxml
