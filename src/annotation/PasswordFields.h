// What the encodings do with the value of a password field. A protected value travels only through an
// algorithm that the program registered for its type; without one it is refused, and never written or stored
// in another form.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/StringTypes.h>

#include <optional>
#include <string>

struct FieldDef;

namespace kwxml {

/// No algorithm is registered for a password's type.
inline constexpr int passwordHandlerMissing = 6;

/// The wire text of a password for a field of encryption type `type`. 0 on success; passwordHandlerMissing,
/// with `out` empty, when the value is protected and nothing can turn it into that type. A plain value has no
/// protection to lose and is written as it is.
[[nodiscard]] int encryptPasswordText(int type, const pstring& value, std::string& out);

/// The value of a password field from its received text. Empty when the field's type is protected and nothing
/// can read it (one log line). A field without an encryption type is stored as plain.
[[nodiscard]] std::optional<pstring> decryptPasswordText(const FieldDef& field, const std::string& text);

}  // namespace kwxml
