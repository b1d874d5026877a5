#include <kwxml/binary/ReadWatches.h>

#include <kwxml/binary/BodyReader.h>
#include <kwxml/diagnostics/Log.h>

#include <cstdio>
#include <utility>

namespace kwxml {

std::string tooLong(const char* what, std::size_t size, std::size_t left)
{
  const char* const article = *what == 'u' ? "an " : "a ";
  return article + std::string(what) + " of " + std::to_string(size) + (size == 1 ? " byte" : " bytes") +
         " where " + std::to_string(left) + (left == 1 ? " is left" : " are left");
}

std::string Traced::path(const FieldDef* field) const
{
  std::string path;
  for (const Step& step : steps_) {
    path += path.empty() ? "" : ".";
    path += step.field->getName();
    if (step.part != nullptr) {
      path += "[#" + std::to_string(step.index) + "]" + step.part;
    } else if (step.field->type == FIELD_LIST_OBJECT) {
      path += "[" + std::to_string(step.index) + "]";
    }
  }
  if (field != nullptr) {
    path += path.empty() ? "" : ".";
    path += field->getName();
  }
  return path;
}

void Traced::tell(std::uint64_t at, ProblemKind kind, const Met& met) const
{
  if (call_.observer == nullptr) {
    return;
  }
  const std::string where = path(met.field);
  call_.observer->met({.kind = kind,
                       .place = {.offset = at},
                       .path = where,
                       .field = met.field,
                       .owner = met.owner,
                       .type = met.field != nullptr ? met.field->type : FIELD_UNSET,
                       .text = met.text,
                       .remark = met.remark});
}

void Traced::ended(std::uint64_t at, ProblemKind kind, const FieldDef* def, std::string_view remark)
{
  if (!std::exchange(ended_, true)) {
    tell(at, kind, {.field = def, .remark = remark});
  }
}

void Traced::key(std::uint64_t at, const YMMessageBase& message, const FieldDef* def, std::uint32_t key) const
{
  const std::uint64_t position = at - wire::keySize;
  if (call_.trace && def != nullptr) {
    log().debug(readerFunction, 15, "Identified  [%s] : [%s] at buffer position : [%d]",
                message.getClass()->name, def->getName(), static_cast<int>(position));
  }
  if (call_.observer == nullptr || key == wire::collectionMarker) {
    return;
  }
  const std::uint32_t code = key & 7;
  if (def == nullptr) {
    char hash[16];
    std::snprintf(hash, sizeof hash, "0x%06X", key >> 3);
    const std::string text = std::string("with the hash ") + hash + " (" + wireCodeName(code) + ")";
    tell(position, ProblemKind::FieldUnknown, {.owner = message.getClass(), .text = text});
    return;
  }
  const std::uint32_t own = fieldTypeInfo(def->type).wireCode;
  // The values of enumerations are coded as those of ints, whatever their keys say.
  const bool isInt = def->type == FIELD_ENUM && code == fieldTypeInfo(FIELD_INT).wireCode;
  const bool mayBeEnum = def->type == FIELD_INT && code == fieldTypeInfo(FIELD_ENUM).wireCode;
  if (code != own && !isInt) {
    const std::string remark =
        "coded as " + wireCodeName(code) + ", read as " + wireCodeName(own) +
        (mayBeEnum ? ": right if it was an enumeration, another number if it was unsigned" : "");
    tell(position, mayBeEnum ? ProblemKind::WireCodeUnclear : ProblemKind::WireCodeOther,
         {.field = def, .remark = remark});
  }
  if (!call_.merges &&
      contains(scalarTypes | stringSlots | typesHolding<bstring> | typesHolding<YMMessageBase>, def->type) &&
      MessageAccess::isSet(message, *def)) {
    tell(position, ProblemKind::GivenTwice, {.field = def});
  }
}

void Traced::skipped(std::uint64_t, std::uint32_t key, std::uint32_t number) const
{
  if (call_.trace && key == wire::collectionMarker) {
    log().debug(readerFunction, 15, "Cached collection(list/map) size is : [%d]", static_cast<int>(number));
  }
}

void Traced::number(std::uint64_t at, const YMMessageBase& message, const FieldDef& def, long long slot) const
{
  if (def.type != FIELD_ENUM || call_.observer == nullptr) {
    return;
  }
  const auto number = static_cast<std::int32_t>(slot);
  // Messages of old systems are written whole, and an enumeration that nobody has set is 0 then.
  if (findEnumerator(findClass(packedReference(def)), number) == nullptr &&
      !(number == 0 && isEager(message.getSubsysID()))) {
    const std::string text = std::to_string(number);
    tell(at, ProblemKind::EnumeratorUnknown, {.field = &def, .text = text});
  }
}

void Traced::bytes(std::uint64_t at, const FieldDef& def, const BytesRead& read) const
{
  if (read.used < read.text.size()) {
    met(at, ProblemKind::TextRescued, &def, "bytes are read up to the first zero among them");
  }
  if (read.encoded && !read.decoded) {
    met(at, ProblemKind::TextRescued, &def, "bytes that are no base64 are kept as they are");
  }
}

void Traced::open(std::uint64_t at, const FieldDef& def, const YMMessageBase&, std::uint32_t size,
                  std::uint64_t bodyEnd, std::uint32_t index, const char* part)
{
  steps_.push_back({&def, index, part});
  if (at + size > bodyEnd) {  // it is read as far as it goes
    met(at, ProblemKind::BufferCut, nullptr, tooLong("message", size, bodyEnd - std::min(bodyEnd, at)));
  }
}

}  // namespace kwxml
