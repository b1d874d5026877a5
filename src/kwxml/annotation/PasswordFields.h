// What the encodings do with the value of a password field. The algorithms are those that the program
// registered (PasswordAlgorithms.h); here stands which one is called when, and what happens without it.
// Not installed.
//
// The type of a field is that of its annotation record; the type of a value is the pstring's own. Two rules
// hold whatever the types, the flags and the context say: a protected value is never written in another form
// than a protected one, and no line that is logged for a field holds its password, plain or protected.
//
// The plain password of a value whose own type is PLAIN_TEXT has no protection to lose: where no algorithm
// serves the type of its field it is written as it is. A program that wants its passwords protected registers
// the algorithms before it writes.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/model/StringTypes.h>

#include <optional>
#include <string>

struct FieldDef;
class KwXMLContextInfo;

namespace kwxml {

/// The flags and the context of the call; the context may be null.
struct PasswordSettings
{
  const EncodingFlags& flags;
  KwXMLContextInfo* context;
};

/// The wire text of a password for a field of type `type`. 0, or passwordHandlerMissing with `out` empty.
///
/// The target is the flags' targetPasswordType, or `type` where that is 0. A plain value stays with `type`,
/// when that protects and has an algorithm, if the flags' target has none or protects nothing (PLAIN_TEXT,
/// PASS_THROUGH). A protected value of another type is first decrypted by the algorithm of its own type, also
/// where the target is that of the field; where there is none it stays as it is. It also stays when the
/// target protects nothing, lest it be laid open, and when the flags say keepPasswordForm. Then the target's
/// encryption algorithm makes the wire text; one that fails refuses the value. Without an algorithm a plain
/// value is written as it is and every other refused. A target beyond the known types refuses all.
[[nodiscard]] int encryptPassword(const PasswordSettings& settings, int type, const pstring& value,
                                  std::string& out);

/// The value of a password field from its received text (UTF-8, escapes undone). Empty when the text is no
/// base64 where the field's type wants it, or when nothing can decrypt it.
///
///   field's type          value
///   0                     plain, with a line at level 10
///   1                     plain; through the decryption algorithm for type 1 if one is registered
///   6 PASS_THROUGH        the text as received, under that type
///   2 to 11 otherwise     decrypted by the algorithm of the type, plain then; an error line without one
///   12 to 15              none: an error line
///
/// The context's password type changes that for the types that protect:
///
///   PASS_THROUGH                     the text as received, under that type; it must be base64 all the same.
///                                    (Texts of type 0 and 1 stay as received too, as plain values.)
///   KWPASSWORD_ENCRYPTION_VER2, 3    the value is kept under that type: as received (base64 undone) when it
///                                    is the field's own, else decrypted and encrypted again
///   any other (PLAIN_TEXT too)       nothing: the type of the field counts
///
/// Session types are refused, with an error line, without a context that has "MessageInfo".
[[nodiscard]] std::optional<pstring> decryptPassword(const PasswordSettings& settings, const FieldDef& field,
                                                     const std::string& received);

/// Whether values of the field are for nobody's eyes: it is a password, or marked as one (or its annotations
/// are damaged).
bool isSecret(const FieldDef& field);

/// Why decryptPassword() has given nothing, for people: words that follow "the password".
const char* passwordObstacle(const PasswordSettings& settings, const FieldDef& field);

/// Decrypts a received password (base64 undone) in place. The type is that of the context, or the flags'
/// targetPasswordType where that is 0. 0; 1, or passwordHandlerMissing without an algorithm, with `value`
/// unchanged (one error line).
[[nodiscard]] int processPassword(const PasswordSettings& settings, bstring& value, bool reEncrypt);

}  // namespace kwxml
