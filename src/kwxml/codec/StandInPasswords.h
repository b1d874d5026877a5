// Password algorithms over the password library of this platform (KWPassword.h).
#pragma once

#include <kwxml/platform/Export.h>

namespace kwxml {

/// Registers algorithms for the types that the password library can serve, in both directions, in place of
/// those that were registered before. A program calls it at start-up, before threads encode or decode.
///
///   KWPASSWORD_ENCRYPTION_VER1, 2, 3, 5
///                  texts of generation 1, 2, 3 and 5, under the key that the settings name at the time of
///                  each call. A plain password is encrypted; a value that is of the type already is written
///                  as it is if the key opens it. Texts of another key, damaged ones, and passwords with a
///                  zero byte or of more than 1506 bytes are refused.
///   BASE64         base64, which hides nothing from a reader who decodes it
///   PASS_THROUGH   written as the password is (encryption only: nothing is decrypted)
///
/// The session types stay without: their keys belong to sessions that the library knows nothing of. The
/// newest scheme, KWPASSWORD_ENCRYPTION_VER8, cannot have an algorithm; values get to it by
/// pstring::getV8Password.
///
/// False when the settings name no key file: until they do, the types with a key refuse every password, and a
/// plain one in a field of such a type is lost where it is written. BASE64 and PASS_THROUGH need none.
[[nodiscard]] KWXML_API bool registerPasswordAlgorithms();

/// True when the settings name a key file; whether it can be used shows with each call.
KWXML_API bool isPasswordKeyConfigured();

}  // namespace kwxml
