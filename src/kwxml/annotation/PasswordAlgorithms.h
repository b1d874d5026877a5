// The algorithms that turn passwords into the protected forms of their types and back. The program supplies
// them: it registers functions at start-up, before threads encode or decode. The tables are plain and not
// locked.
//
// What an algorithm gets and gives:
//
// - Encryption: the text of a password value in, its wire text out. For the types 2 to 11 except
//   PASS_THROUGH the wire text is base64, since readers undo base64 before they decrypt.
// - Decryption: the protected text in (base64 undone), the plain text out.
// - An algorithm that fails gives an empty text for a text that is not empty, or throws: the value then is
//   treated as if its type had no algorithm. An empty password stays empty.
// - The context is that of the call and may carry the algorithm's own parameters, such as "MessageInfo" for
//   session types. An encryption algorithm that needs a parameter looks for it itself and fails without it.
//   While encoding and decoding call an algorithm, the context has these parameters as well:
//   - "passwordType", a pointer to const int: the type of the text handed in. There in encryption and in
//     decryption of a value in memory.
//   - "passwordEncoderArg", a pointer to const int: the member of that name of the call's EncodingFlags.
//     There in encryption and in decryption of a received text.
//   - "reEncrypt", a pointer to const bool: the argument of XMLDecoder::ProcessPasswordAnnotation, else
//     false. There in decryption of a received text.
//
// When the algorithm returns, the context has again the parameters that it had before.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/platform/Export.h>

#include <optional>

struct EncodingFlags;
class KwXMLContextInfo;

/// An algorithm: takes a text and the call's context, and gives the other form of the text. `context` may be
/// null where a program calls DecryptPasswordString() so.
using PasswordAlgorithm = bstring (*)(bstring text, KwXMLContextInfo* context);

/// Decrypts a text, whose base64 is undone already, by the algorithm that is registered for the type. The
/// algorithm gets `context` as it is. Returns 0 with the algorithm's result in `out`; an empty result of a
/// text that is not empty is a failure of the algorithm. Returns kwxml::passwordHandlerMissing (6), with
/// `out` unchanged and an error in the log, when the type has no algorithm or the algorithm throws.
KWXML_API int DecryptPasswordString(bstring in, bstring& out, Annotation::PasswordEncryptType type,
                                    KwXMLContextInfo* context);

namespace kwxml {

/// The result of password functions when no algorithm can serve a type.
inline constexpr int passwordHandlerMissing = 6;
/// The last type that can have an algorithm; the newest type, KWPASSWORD_ENCRYPTION_VER8, cannot.
inline constexpr int maxPasswordAlgorithmType = Annotation::KWPASSWORD_ENCRYPTION_VER5;

/// The name of the context parameter with the session; the program adds it for session types.
inline constexpr const char* messageInfoParameter = "MessageInfo";
/// The name of the context parameter with the type of the text.
inline constexpr const char* passwordTypeParameter = "passwordType";
/// The name of the context parameter with EncodingFlags::passwordEncoderArg.
inline constexpr const char* passwordEncoderArgParameter = "passwordEncoderArg";
/// The name of the context parameter with the argument of XMLDecoder::ProcessPasswordAnnotation.
inline constexpr const char* reEncryptParameter = "reEncrypt";

/// What an algorithm does.
enum class PasswordDirection
{
  Encrypt,  ///< makes the wire text of a password
  Decrypt   ///< makes the password of a protected text
};

/// Sets the algorithm of a type in place of an earlier one; null takes the algorithm away. False, with a line
/// at level 10, for a negative type and one beyond maxPasswordAlgorithmType; success is logged at level 10
/// too. To be called before threads encode or decode.
[[nodiscard]] KWXML_API bool registerPasswordAlgorithm(PasswordDirection direction,
                                                       Annotation::PasswordEncryptType type,
                                                       PasswordAlgorithm algorithm);
/// The algorithm of a type; null when none is registered or the type cannot have one.
KWXML_API PasswordAlgorithm passwordAlgorithm(PasswordDirection direction,
                                              Annotation::PasswordEncryptType type);

/// True for the types that are protected by a session, whose algorithms need the context's "MessageInfo".
constexpr bool isSessionPasswordType(int type) noexcept
{
  return type == Annotation::SESSION_ENCRYPTION || type == Annotation::SESSION_PLUS_KWPASSWORD_VER2 ||
         type == Annotation::SESSION_PLUS_KWPASSWORD_VER3;
}
/// True for the types under which the text of a password is not the password itself, so that readers decrypt
/// it.
constexpr bool isProtectingPasswordType(int type) noexcept
{
  return type >= Annotation::SESSION_ENCRYPTION && type <= Annotation::KWPASSWORD_ENCRYPTION_VER8 &&
         type != Annotation::PASS_THROUGH;
}

/// What an algorithm finds in the context while it runs. A null pointer adds no parameter.
struct PasswordCall
{
  const int* passwordType = nullptr;        ///< the parameter "passwordType"
  const int* passwordEncoderArg = nullptr;  ///< the parameter "passwordEncoderArg"
  const bool* reEncrypt = nullptr;          ///< the parameter "reEncrypt"
};

/// Runs an algorithm, which is not null, with the parameters of `call` in the context; where `context` is
/// null the algorithm gets a context of the call's own. Gives the algorithm's result, or nullopt when the
/// algorithm failed; nothing is logged.
[[nodiscard]] KWXML_API std::optional<bstring> runPasswordAlgorithm(PasswordAlgorithm algorithm,
                                                                    const bstring& text,
                                                                    KwXMLContextInfo* context,
                                                                    const PasswordCall& call);

}  // namespace kwxml
