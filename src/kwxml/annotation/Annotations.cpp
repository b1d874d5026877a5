#include <kwxml/annotation/Annotations.h>

#include <kwxml/annotation/AnnotationRecord.h>

AnnotationBase::~AnnotationBase() = default;

const std::string* AnnotationBase::findMember(std::string_view name) const noexcept
{
  for (const auto& [member, value] : members_) {
    if (member == name) {
      return &value;
    }
  }
  return nullptr;
}

bool AnnotationBase::fill(std::string_view encodedMembers)
{
  Members members;
  const bool whole = kwxml::AnnotationRecord::forEachMember(
      encodedMembers,
      [&](std::string_view name, std::string_view value) { members.emplace_back(name, value); });
  if (!whole || !take(members)) {
    return false;
  }
  members_ = std::move(members);
  return true;
}

bool AnnotationBase::take(const Members&)
{
  return true;
}

namespace Annotation {

bool CommandParam::take(const Members& members)
{
  std::optional<bool> found;
  for (const auto& [name, value] : members) {
    if (name == "useDefault") {
      found = kwxml::parseAnnotationBool(value);
      if (!found) {
        return false;
      }
    }
  }
  useDefault = found;
  return true;
}

bool Text::take(const Members& members)
{
  std::string found;
  for (const auto& [name, value] : members) {
    if (name == "text") {
      found = value;
    }
  }
  text = std::move(found);
  return true;
}

}  // namespace Annotation
