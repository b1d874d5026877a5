// The kinds of annotation that a schema can attach to a field or an enumerator, and the identifiers by which
// records and listeners name them.
#pragma once

#include <kwxml/model/Metadata.h>

#include <optional>
#include <string_view>

namespace kwxml {

/// The tag identifier of a kind: the hash of the kind's name. Its system byte is 0, which no message system
/// has, so that an identifier never equals a message's tag.
constexpr unsigned long annotationTag(std::string_view kind) noexcept
{
  return nameHash(kind.data(), kind.size());
}

/// What the members of a kind may be.
enum class AnnotationMembers
{
  None,  ///< no members: that the annotation is there says all
  Bool,  ///< one member, a truth value (AnnotationKind::member names it)
  Text,  ///< one member, any text (AnnotationKind::member names it)
  Any,   ///< names and values as the schema's author needs them
};

/// The truth value that a member's text says: "true" or "1", "false" or "0"; empty for any other text.
constexpr std::optional<bool> parseAnnotationBool(std::string_view text) noexcept
{
  if (text == "true" || text == "1") {
    return true;
  }
  if (text == "false" || text == "0") {
    return false;
  }
  return std::nullopt;
}

/// What a schema may write of a kind of annotation. The texts are constants.
struct AnnotationKind
{
  const char* name;           ///< of the kind, as schemas write it
  AnnotationMembers members;  ///< what its members may be
  const char* member;         ///< the name of the one member; null for kinds without or with any members
};

/// All kinds. Annotations.h has a class for each and says what the kind means.
inline constexpr AnnotationKind annotationKinds[] = {
    {"CommandParam", AnnotationMembers::Bool, "useDefault"},
    {"Text", AnnotationMembers::Text, "text"},
    {"Suppress", AnnotationMembers::None, nullptr},
    {"HideInReports", AnnotationMembers::None, nullptr},
    {"Password", AnnotationMembers::None, nullptr},
    {"SingleInstanced", AnnotationMembers::None, nullptr},
    {"SearchCriteriaDef", AnnotationMembers::Any, nullptr},
    {"StoredProcedure", AnnotationMembers::Any, nullptr},
};

}  // namespace kwxml
