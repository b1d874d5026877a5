#include "AnnotationRecord.h"

namespace kwxml::catalogue {
namespace {

constexpr std::size_t marksSize = 5;

void appendBigEndian(std::string& out, std::size_t value, int bytes)
{
  for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
    out.push_back(static_cast<char>(value >> shift & 0xFF));
  }
}

std::size_t membersSize(const Annotation& annotation)
{
  std::size_t size = 0;
  for (const auto& [name, value] : annotation.members) {
    size += 1 + name.size() + 2 + value.size();
  }
  return size;
}

}  // namespace

std::size_t annotationRecordSize(const Field& field)
{
  const bool marked = field.dateForm || field.timeOfDay || field.passwordName || field.xpath || field.cdata;
  if (field.annotations.empty()) {
    return marked ? marksSize : 0;
  }
  std::size_t size = marksSize + 1;
  for (const Annotation& annotation : field.annotations) {
    size += 4 + 2 + membersSize(annotation);
  }
  return size;
}

std::string annotationRecord(const Field& field)
{
  std::string out;
  const std::size_t size = annotationRecordSize(field);
  if (size == 0) {
    return out;
  }
  const unsigned date = !field.dateForm ? 0 : *field.dateForm == "DATE_TIME" ? 1 : 2;
  appendBigEndian(out, size, 2);
  appendBigEndian(out, date | (field.timeOfDay ? 0x08U : 0U) | static_cast<unsigned>(field.passwordType) << 4,
                  1);
  appendBigEndian(out, field.xpath ? 0x80 : 0, 1);
  appendBigEndian(out, field.cdata ? 0x80 : 0, 1);
  if (field.annotations.empty()) {
    return out;
  }
  appendBigEndian(out, field.annotations.size(), 1);
  for (const Annotation& annotation : field.annotations) {
    appendBigEndian(out, nameHash(annotation.name.data(), annotation.name.size()), 4);
    appendBigEndian(out, membersSize(annotation), 2);
    for (const auto& [name, value] : annotation.members) {
      appendBigEndian(out, name.size(), 1);
      out += name;
      appendBigEndian(out, value.size(), 2);
      out += value;
    }
  }
  return out;
}

}  // namespace kwxml::catalogue
