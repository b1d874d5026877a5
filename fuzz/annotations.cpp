// Fuzzes the reader of annotation records, and the annotations that are filled from them: nothing is read
// beyond a record, its parts lie in it one behind the other, and whoever asks is told the same.
#include "Fuzz.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/Annotations.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/metadata/XMLMetaData.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace kwxml;
using namespace kwxml::fuzz;

namespace {

using Attached = std::vector<std::pair<unsigned long, std::string_view>>;

void append(std::string& out, std::size_t number, int bytes)
{
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    out += static_cast<char>(number >> shift & 0xFF);
  }
}

/// The members of an annotation, and whether they are whole. Written again they are what they were read from:
/// all of it, or the part before the cut.
bool readMembers(std::string_view encoded, AnnotationBase::Members& members)
{
  std::string written;
  const bool whole =
      AnnotationRecord::forEachMember(encoded, [&](std::string_view name, std::string_view value) {
        members.emplace_back(name, value);
        append(written, name.size(), 1);
        written += name;
        append(written, value.size(), 2);
        written += value;
      });
  if (!encoded.starts_with(written) || whole != (written.size() == encoded.size())) {
    wrong("the members are not those of the annotation");
  }
  return whole;
}

/// All that a record has attached, likewise: it announces how many.
bool readAttached(const AnnotationRecord& record, std::string_view bytes, Attached& attached)
{
  std::string written(bytes.substr(0, 6));
  const bool whole = record.forEachAttached([&](unsigned long tag, std::string_view members) {
    attached.emplace_back(tag, members);
    append(written, tag, 4);
    append(written, members.size(), 2);
    written += members;
  });
  const std::size_t announced = bytes.size() > 5 ? static_cast<unsigned char>(bytes[5]) : 0;
  if (!bytes.starts_with(written) || attached.size() > announced || whole != (attached.size() == announced)) {
    wrong("the annotations are not those of the record");
  }
  return whole;
}

std::optional<std::string_view> first(const Attached& attached, unsigned long tag)
{
  const auto found =
      std::find_if(attached.begin(), attached.end(), [tag](const auto& one) { return one.first == tag; });
  return found != attached.end() ? std::optional(found->second) : std::nullopt;
}

/// Whether the typed member of an annotation is the last one of its name.
bool isTyped(const AnnotationBase&)
{
  return true;
}

std::string lastMember(const AnnotationBase& annotation, std::string_view name)
{
  std::string value;
  for (const auto& [member, text] : annotation.members()) {
    value = member == name ? text : value;
  }
  return value;
}

bool isTyped(const Annotation::CommandParam& annotation)
{
  return annotation.useDefault == parseAnnotationBool(lastMember(annotation, "useDefault"));
}

bool isTyped(const Annotation::Text& annotation)
{
  return annotation.text == lastMember(annotation, "text");
}

/// An annotation is filled when the record has it whole, and else keeps what it held.
template <class Kind>
void fillFrom(const FieldDef& def, const Attached& attached, bool isWhole)
{
  Kind filled;
  const std::optional<std::string_view> encoded = first(attached, filled.getTagID());
  std::optional<std::string_view> found;
  const bool isKnown = AnnotationRecord(def.annotations).find(filled.getTagID(), found);
  if (found != encoded || isKnown != (isWhole || encoded) ||
      AnnotationRecord(def.annotations).has(filled.getTagID()) != encoded.has_value()) {
    wrong("an annotation is there or not");
  }
  const _ClassDef cls{"Own", &def, 1, -1, 1, 1};
  const bool taken = XMLDecoder::FillAnnotation(&cls, filled, def.getName());
  AnnotationBase::Members members;
  const bool isFillable = encoded && readMembers(*encoded, members);
  if (taken ? !isFillable || filled.members() != members || !isTyped(filled) : !filled.members().empty()) {
    wrong("an annotation holds something else than its record");
  }
  if (taken && !(filled.fill(*encoded) && filled.members() == members && isTyped(filled))) {
    wrong("filled twice it is another");
  }
  // Behind a damaged one or without it the former members stay.
  for (const auto& [tag, other] : attached) {
    const AnnotationBase::Members before = filled.members();
    if (!filled.fill(other) && (filled.members() != before || !isTyped(filled))) {
      wrong("a failure has changed the annotation");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  // A record has its two bytes of length, and no byte more than that says.
  const std::size_t claimed = size >= 2 ? std::size_t{data[0]} << 8 | data[1] : 0;
  const std::size_t length = std::min(claimed, size);
  const std::size_t block = std::max<std::size_t>(length, 2);
  const auto exact = std::make_unique<unsigned char[]>(block);
  std::copy_n(data, std::min(block, size), exact.get());
  exact[0] = static_cast<unsigned char>(length >> 8);
  exact[1] = static_cast<unsigned char>(length);

  const AnnotationRecord record(exact.get());
  if (length >= 4 && XMLMetaData::hasXPath(reinterpret_cast<const char*>(exact.get())) != record.isXPath()) {
    wrong("the XPath mark is seen otherwise");
  }
  if (record.dateForm() > 3 || record.passwordType() > 15 || (length <= 4 && record.isCdata()) ||
      (length <= 2 && record.isTimeOfDay())) {
    wrong("a mark that is none");
  }
  const std::string_view bytes(reinterpret_cast<const char*>(exact.get()), length);
  Attached attached;
  const bool isWhole = readAttached(record, bytes, attached);
  FieldDef def{};
  def.name = "field";
  def.type = FIELD_STRING;
  def.annotations = exact.get();
  fillFrom<Annotation::CommandParam>(def, attached, isWhole);
  fillFrom<Annotation::Text>(def, attached, isWhole);
  fillFrom<Annotation::Password>(def, attached, isWhole);
  fillFrom<Annotation::SearchCriteriaDef>(def, attached, isWhole);
  std::vector<unsigned long> ids;
  XMLDecoder::FillAnnotationIds(def, ids);
  if (!std::equal(ids.begin(), ids.end(), attached.begin(), attached.end(),
                  [](unsigned long id, const auto& one) { return id == one.first; })) {
    wrong("other identifiers than those of the record");
  }
  return 0;
}
