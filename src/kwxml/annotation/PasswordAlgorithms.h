// The algorithms that turn passwords into the protected forms of their types and back. The program supplies
// them: it registers functions at start-up, before threads encode or decode. The tables are plain and not
// locked.
//
// What an algorithm gets and gives:
//
// - Encryption: the text of a password value in, its wire text out. For the types 2 to 11 except
//   PASS_THROUGH the wire text is base64, since readers undo base64 before they decrypt.
// - Decryption: the protected text in (base64 undone), the plain text out.
// - An algorithm that cannot do it gives an empty text for one that is not empty: the value then counts as
//   one without an algorithm. An empty password stays empty. Exceptions count as that failure too.
// - The context is the one of the call and may carry the algorithm's own parameters, such as "MessageInfo"
//   for session types; an encryption algorithm that needs it looks for it itself and fails without. While it
//   is called from the encodings these are there as well:
//     "passwordType"        const int*: the type of the text handed in (encryption; decryption of a value in
//                           memory). Absent when a received text is decrypted.
//     "passwordEncoderArg"  const int*: the member of that name of the call's EncodingFlags
//     "reEncrypt"           const bool*: the argument of XMLDecoder::ProcessPasswordAnnotation
//   They are taken away when the algorithm returns.
#pragma once

#include <kwxml/model/StringTypes.h>

#include <optional>

struct EncodingFlags;
class KwXMLContextInfo;

/// `context` may be null.
using PasswordAlgorithm = bstring (*)(bstring text, KwXMLContextInfo* context);

/// Decrypts a text by the algorithm that is registered for its type, which gets `context` as it is. 0 with
/// the algorithm's result in `out`, which is empty when it failed (base64 of received texts, BASE64's
/// included, is undone already; a text in memory is told by "passwordType"); 6
/// (kwxml::passwordHandlerMissing) without one, or with one that throws, with `out` unchanged and one error
/// line.
int DecryptPasswordString(bstring in, bstring& out, Annotation::PasswordEncryptType type,
                          KwXMLContextInfo* context);

namespace kwxml {

/// The result of password functions when no algorithm can serve a type.
inline constexpr int passwordHandlerMissing = 6;
/// The last type that can have an algorithm; the newest scheme, one above it, cannot.
inline constexpr int maxPasswordAlgorithmType = Annotation::KWPASSWORD_ENCRYPTION_VER5;

/// Names of context parameters.
inline constexpr const char* messageInfoParameter = "MessageInfo";
inline constexpr const char* passwordTypeParameter = "passwordType";
inline constexpr const char* passwordEncoderArgParameter = "passwordEncoderArg";
inline constexpr const char* reEncryptParameter = "reEncrypt";

enum class PasswordDirection
{
  Encrypt,
  Decrypt
};

/// Puts an algorithm (null: none) into the slot of a type, whatever was there. False, with a line at level
/// 10, for a type beyond maxPasswordAlgorithmType; success is logged at level 10 too.
bool registerPasswordAlgorithm(PasswordDirection direction, Annotation::PasswordEncryptType type,
                               PasswordAlgorithm algorithm);
/// The algorithm of a type; null when there is none or the type cannot have one.
PasswordAlgorithm passwordAlgorithm(PasswordDirection direction, Annotation::PasswordEncryptType type);

/// True for the types that are protected by a session, whose algorithms need the context's "MessageInfo".
constexpr bool isSessionPasswordType(int type) noexcept
{
  return type == Annotation::SESSION_ENCRYPTION || type == Annotation::SESSION_PLUS_KWPASSWORD_VER2 ||
         type == Annotation::SESSION_PLUS_KWPASSWORD_VER3;
}
/// True for the types under which a password is more than its own text: those that a reader undoes.
constexpr bool isProtectingPasswordType(int type) noexcept
{
  return type >= Annotation::SESSION_ENCRYPTION && type <= Annotation::KWPASSWORD_ENCRYPTION_VER8 &&
         type != Annotation::PASS_THROUGH;
}

/// The facts of one call that algorithms find in the context.
struct PasswordCall
{
  const int* passwordType = nullptr;
  const int* passwordEncoderArg = nullptr;
  const bool* reEncrypt = nullptr;
};

/// Runs an algorithm with the facts in the context (in one of its own where `context` is null). Empty when
/// the algorithm failed; nothing is logged.
[[nodiscard]] std::optional<bstring> runPasswordAlgorithm(PasswordAlgorithm algorithm, const bstring& text,
                                                          KwXMLContextInfo* context,
                                                          const PasswordCall& call);

}  // namespace kwxml
