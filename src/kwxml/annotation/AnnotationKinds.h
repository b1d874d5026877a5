// The kinds of annotation that a schema can attach to a field or an enumerator, and the identifiers by which
// records and listeners name them.
#pragma once

#include <kwxml/model/Metadata.h>

#include <optional>
#include <string_view>

namespace kwxml {

/// The tag identifier of a kind: the hash of its name. Its system byte is 0, an empty row of the registry, so
/// that it never equals a message's tag.
constexpr unsigned long annotationTag(std::string_view kind) noexcept
{
  return nameHash(kind.data(), kind.size());
}

/// What the members of a kind may be.
enum class AnnotationMembers
{
  None,  ///< its presence says all
  Bool,  ///< the member that is named beside it, a truth value
  Text,  ///< the member that is named beside it, any text
  Any,   ///< names and values as the schema's author needs them
};

/// The truth value of a member; empty when the text is none.
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

struct AnnotationKind
{
  const char* name;
  AnnotationMembers members;
  const char* member;  ///< null unless there is one
};

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
