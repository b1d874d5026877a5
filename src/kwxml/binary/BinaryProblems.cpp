#include <kwxml/binary/BinaryProblems.h>

#include <kwxml/binary/WireFormat.h>

#include <utility>

namespace kwxml {

std::string BinaryProblems::path(const FieldDef* field) const
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

void BinaryProblems::tell(ProblemKind kind, std::uint64_t offset, const Met& met)
{
  const std::string where = path(met.field);
  observer_.met({.kind = kind,
                 .place = {.offset = offset},
                 .path = where,
                 .field = met.field,
                 .owner = met.owner,
                 .type = met.field != nullptr ? met.field->type : FIELD_UNSET,
                 .text = met.text,
                 .remark = met.remark});
}

void BinaryProblems::tellEnd(ProblemKind kind, std::uint64_t offset, const Met& met)
{
  if (!std::exchange(ended_, true)) {
    tell(kind, offset, met);
  }
}

std::string wireCodeName(std::uint32_t code)
{
  switch (code) {
    case wire::codeVarint:
      return "varint";
    case wire::codeFixed8:
      return "fixed 8";
    case wire::codeLength:
      return "length-delimited";
    case wire::codeFixed4:
      return "fixed 4";
    case wire::codeZigzag:
      return "zigzag";
    case wire::codeNone:
      return "no encoding";
    default:
      return "code " + std::to_string(code) + ", which is none";
  }
}

}  // namespace kwxml
