// Reads a field's annotation record, the constant bytes that the catalogue compiler writes for it.
//
//     byte 0, 1  length of the whole record
//     byte 2     bits 0-1 date form (Annotation::DateType), bit 3 time of day, bits 4-7 password type
//     byte 3     bit 7 XPath mark
//     byte 4     bit 7 CDATA mark
//     byte 5     number of attached annotations, each:
//                  4 bytes tag identifier, 2 bytes length of all its members, members, each:
//                    1 byte name length, name, 2 bytes value length, value
//
// All numbers are big-endian. A record ends where its length says, and nothing behind that is read: a record
// that is too short for a mark does not have the mark. Reading allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kwxml {

/// A view of one annotation record. The bytes, which are not copied, outlive the object.
class AnnotationRecord
{
public:
  /// `bytes` is the annotation pointer of a FieldDef; null for a field without annotations.
  explicit AnnotationRecord(const unsigned char* bytes) noexcept
      : bytes_(bytes), length_(bytes != nullptr ? bigEndian(bytes, 2) : 0)
  {
  }

  /// Whether the field has a record.
  bool present() const noexcept { return bytes_ != nullptr; }
  /// How the readable form shows the field's number as a date: an Annotation::DateType, 3, which is none, or
  /// 0 where the field is no date.
  int dateForm() const noexcept { return length_ > 2 ? bytes_[2] & 0x03 : 0; }
  /// Whether the readable form shows the field's number as a time of day.
  bool isTimeOfDay() const noexcept { return length_ > 2 && (bytes_[2] & 0x08) != 0; }
  /// How the field's passwords are protected: an Annotation::PasswordEncryptType, or a number from 12 to 15,
  /// which is none.
  int passwordType() const noexcept { return length_ > 2 ? bytes_[2] >> 4 : 0; }
  /// Whether the field is marked for XPath records; see XMLMetaData::getXpathMetaData().
  bool isXPath() const noexcept { return length_ > 3 && (bytes_[3] & 0x80) != 0; }
  /// Whether XML has the field's text as an element with a CDATA section.
  bool isCdata() const noexcept { return length_ >= 5 && (bytes_[4] & 0x80) != 0; }

  /// Calls `visit(unsigned long tag, std::string_view members)` for each attached annotation, in schema
  /// order; the members are still encoded. False when the record is cut short; the annotations before the cut
  /// have been visited.
  template <class Visit>
  bool forEachAttached(Visit visit) const
  {
    constexpr std::size_t begin = 6;
    std::size_t at = begin;
    for (int left = length_ >= begin ? bytes_[5] : 0; left > 0; --left) {
      if (length_ - at < 6) {
        return false;
      }
      const auto tag = static_cast<unsigned long>(bigEndian(bytes_ + at, 4));
      const std::size_t size = bigEndian(bytes_ + at + 4, 2);
      at += 6;
      if (length_ - at < size) {
        return false;
      }
      visit(tag, std::string_view(reinterpret_cast<const char*>(bytes_ + at), size));
      at += size;
    }
    return true;
  }

  /// Looks for the attached annotation with a tag identifier (annotationTag()). `members` becomes the first
  /// one's encoded members, or nullopt when there is none. False when the record is cut short before one is
  /// found, so that nobody can tell.
  bool find(unsigned long tag, std::optional<std::string_view>& members) const
  {
    members.reset();
    const bool whole = forEachAttached([&](unsigned long attached, std::string_view encoded) {
      if (attached == tag && !members) {
        members = encoded;
      }
    });
    return whole || members.has_value();
  }
  /// Whether the annotation with a tag identifier is attached; false where find() cannot tell.
  bool has(unsigned long tag) const
  {
    std::optional<std::string_view> members;
    return find(tag, members) && members.has_value();
  }

  /// Calls `visit(std::string_view name, std::string_view value)` for each of an annotation's encoded
  /// members. False when the members are cut short; those before the cut have been visited.
  template <class Visit>
  static bool forEachMember(std::string_view members, Visit visit)
  {
    const auto piece = [&](int lengthBytes) -> std::optional<std::string_view> {
      const auto width = static_cast<std::size_t>(lengthBytes);
      if (members.size() < width) {
        return std::nullopt;
      }
      const std::size_t length =
          bigEndian(reinterpret_cast<const unsigned char*>(members.data()), lengthBytes);
      members.remove_prefix(width);
      if (members.size() < length) {
        return std::nullopt;
      }
      const std::string_view bytes = members.substr(0, length);
      members.remove_prefix(length);
      return bytes;
    };
    while (!members.empty()) {
      const auto name = piece(1);
      const auto value = name ? piece(2) : std::nullopt;
      if (!value) {
        return false;
      }
      visit(*name, *value);
    }
    return true;
  }

private:
  static std::size_t bigEndian(const unsigned char* bytes, int count) noexcept
  {
    std::size_t value = 0;
    for (int i = 0; i < count; ++i) {
      value = value << 8 | bytes[i];
    }
    return value;
  }

  const unsigned char* bytes_;
  std::size_t length_;
};

}  // namespace kwxml
