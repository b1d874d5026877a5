// JSON Schema documents (draft 2020-12) of message classes, for those who check or make JSON without this
// library.
//
// A schema accepts what the library writes, and what a strict reading takes of the same kind. A document is
// an object with one of the classes that are asked for; below "$defs" is an object for each class that is met
// within these (messages may hold themselves). A schema finds unknown names, values of another kind, numbers
// out of their range and unknown enumerators. The schema has enumerators in the case of their names; readers
// of messages take any case. Fields whose type has no values are left out.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>

#include <span>
#include <string>

namespace kwxml {

/// Replaces `out` by the schema document of some message classes, as UTF-8 with an end of line. Each class is
/// named by its place in the registry, and may be named twice. False, with `out` unchanged and an error in
/// the log, when there is no message class at a place (an enumeration is none). Threads may call the function
/// at the same time.
[[nodiscard]] KWXML_API bool jsonSchema(std::string& out, std::span<const PackedReference> classes);

}  // namespace kwxml
