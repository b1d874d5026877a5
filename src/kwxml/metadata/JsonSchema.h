// JSON Schema documents (draft 2020-12) of message classes, for those who check or make JSON without this
// library.
//
// A schema accepts what the library writes, and what a strict reading takes of the same kind: a document is
// an object with one of the classes that are asked for; below "$defs" is an object for each class that is met
// within them (messages may hold themselves). It finds unknown names, values of another kind, numbers out of
// their range and unknown enumerators. Names of enumerators are in their own case, which readers do not mind.
// Fields without a value of their type are left out.
#pragma once

#include <kwxml/model/Metadata.h>

#include <span>
#include <string>

namespace kwxml {

/// Makes `out` the schema document of some message classes, as UTF-8 with an end of line; each is named by
/// its place in the registry, and may be named twice. False, with `out` unchanged and an error line, when
/// there is no message class at a place (an enumeration is none). Reads constant tables alone: safe for
/// concurrent use.
[[nodiscard]] bool jsonSchema(std::string& out, std::span<const PackedReference> classes);

}  // namespace kwxml
