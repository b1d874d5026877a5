// The password library: passwords to texts protected by one of its generations, and back.
//
// The class is a stand-in for a closed library. The class has that library's calls, not its algorithms. It
// does NOT read texts that the closed library wrote, nor can the closed library read texts of this class. The
// generations are of equal strength; they differ only in that a text of one is none of another. Who holds the
// key file can read every text, and with a lost key file all texts are lost: there is no second key, no
// password behind the key and no key in special hardware. The length of a text tells the length of its
// password. Locked memory is not used, so that a core file or the swap space may hold a password while the
// class works on it.
//
// A text is its generation ("1", "2", "3", "5" or "8"), then in base64 of the URL alphabet without padding
// the nonce (12 bytes), the enciphered password and the tag (16): AES-256-GCM, with the generation
// authenticated too, under a key derived by HKDF-SHA256 from the key file's for that generation.
//
// The key file is named in the settings and made by kwxml::createKeyFile (PasswordKeyFile.h):
//
//     [Password]
//     keyfile = /etc/kwxml/password.key
//
// The file is read anew by every call, so that no key stays in memory and a new key holds at once. Without
// the setting every call silently gives 0. With a key file that is missing, not in order or open to other
// users every call gives 0 as well, and the first such call says why on standard error. Nothing else is
// reported; no message holds a part of a password, a text or a key.
//
// All functions take a zero-terminated input, of which they read 2048 bytes at most, and an output buffer,
// which may be the input's. On entry `*length` is the buffer's usable length in bytes, the terminating zero
// not counted for decrypt and counted for ConvertToV8 and encrypt. On success the functions return non-zero,
// the buffer holds a zero-terminated result, and `*length` is the result's length without the zero. On 0 (a
// null pointer, a damaged or foreign text, another key, an output too small) neither the buffer nor `*length`
// is touched. Own buffers that held a password or a key are wiped on every path. Objects have no state:
// threads may use their own or share one.
#pragma once

#include <kwxml/platform/Export.h>

/// Protects passwords as texts and gives them back. The head of this file says what the texts are, where the
/// key comes from, and what all functions take and give.
class KWXML_API KWPassword
{
public:
  /// The longest password that can be protected, in bytes without the terminating zero.
  static constexpr unsigned int maxPlainLength = 1506;
  /// The longest text, in bytes without the terminating zero.
  static constexpr unsigned int maxTextLength = 2047;

  /// The object has no state.
  KWPassword();
  /// Nothing to end.
  ~KWPassword();
  KWPassword(const KWPassword&) = delete;
  KWPassword& operator=(const KWPassword&) = delete;

  /// Gives the password of a text of generation 1 or 2; the text says which. 0 on failure.
  [[nodiscard]] int decrypt(const char* input, char* output, unsigned int* length);
  /// Gives the password of a text of generation 3, 5 or 8. `extra` is additional key material of a form that
  /// only the closed library knows: anything but null gives 0.
  [[nodiscard]] int decrypt(const char* input, char* output, unsigned int* length, const void* extra);
  /// Gives a new text of generation 8, which begins with "8", for the password of a text of any generation. 0
  /// on failure.
  [[nodiscard]] int ConvertToV8(const char* input, char* output, unsigned int* length);
  /// Gives a text of generation 1, 2, 3, 5 or 8 for a password. Two texts for one password differ. 0 for
  /// another generation, a password longer than maxPlainLength, and on failure.
  [[nodiscard]] int encrypt(int generation, const char* input, char* output, unsigned int* length);
};
