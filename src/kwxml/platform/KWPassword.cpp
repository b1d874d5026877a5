#include <kwxml/platform/KWPassword.h>

#include <kwxml/platform/PasswordInternal.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

using kwxml::OpenSslErrorScope;
using kwxml::PasswordKey;
using kwxml::SecretBytes;

constexpr size_t kNonceSize = 12;
constexpr size_t kTagSize = 16;
constexpr size_t kMaxPlain = KWPassword::maxPlainLength;
constexpr size_t kMaxText = KWPassword::maxTextLength;
constexpr size_t kMaxSealed = kNonceSize + kMaxPlain + kTagSize;
// With padding, as OpenSSL codes it; a text leaves it out.
constexpr size_t kMaxBase64 = (kMaxSealed + 2) / 3 * 4;
static_assert(1 + (kMaxSealed * 4 + 2) / 3 <= kMaxText, "the longest password has a text");

constexpr std::string_view kGenerations = "12358";

template <auto Free>
struct Freer
{
  template <class T>
  void operator()(T* object) const
  {
    Free(object);
  }
};
using Kdf = std::unique_ptr<EVP_KDF, Freer<EVP_KDF_free>>;
using KdfContext = std::unique_ptr<EVP_KDF_CTX, Freer<EVP_KDF_CTX_free>>;
// Freeing it wipes the key in it.
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Freer<EVP_CIPHER_CTX_free>>;

/// A password in clear and its length.
struct Plain
{
  SecretBytes<kMaxPlain + 1> buffer;
  size_t length = 0;
};

/// What stands behind the generation in a text.
struct Sealed
{
  unsigned char bytes[kMaxSealed];
  size_t length = 0;
};

/// The key of one generation. A key of its own keeps a text from passing for one of another generation even
/// where the additional data are not looked at.
bool deriveKey(char generation, PasswordKey& derived)
{
  PasswordKey key;
  if (!kwxml::loadPasswordKey(key)) {
    return false;
  }
  const Kdf kdf(EVP_KDF_fetch(nullptr, "HKDF", nullptr));
  const KdfContext context(kdf ? EVP_KDF_CTX_new(kdf.get()) : nullptr);
  char digest[] = "SHA256";
  std::string info = "KWPassword generation ";
  info += generation;
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_KEY, key.bytes, sizeof key.bytes),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_INFO, info.data(), info.size()), OSSL_PARAM_END};
  return context && EVP_KDF_derive(context.get(), derived.bytes, sizeof derived.bytes, parameters) == 1;
}

/// A context keyed for one generation and nonce, the generation already authenticated; null on failure.
CipherContext startCipher(char generation, const unsigned char* nonce, bool encrypt)
{
  PasswordKey key;
  CipherContext context(EVP_CIPHER_CTX_new());
  const auto* additional = reinterpret_cast<const unsigned char*>(&generation);
  int count = 0;
  // The nonce has the cipher's default length.
  if (!context || !deriveKey(generation, key) ||
      EVP_CipherInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes, nonce, encrypt ? 1 : 0) != 1 ||
      EVP_CipherUpdate(context.get(), nullptr, &count, additional, 1) != 1) {
    return nullptr;
  }
  return context;
}

bool seal(char generation, const Plain& plain, Sealed& sealed)
{
  unsigned char* const nonce = sealed.bytes;
  unsigned char* const body = nonce + kNonceSize;
  unsigned char* const tag = body + plain.length;
  if (RAND_bytes(nonce, kNonceSize) != 1) {
    return false;
  }
  const CipherContext context = startCipher(generation, nonce, true);
  int count = 0;
  int rest = 0;
  if (!context ||
      EVP_CipherUpdate(context.get(), body, &count, plain.buffer.bytes, static_cast<int>(plain.length)) !=
          1 ||
      EVP_CipherFinal_ex(context.get(), body + count, &rest) != 1 ||
      static_cast<size_t>(count) + static_cast<size_t>(rest) != plain.length ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, kTagSize, tag) != 1) {
    return false;
  }
  sealed.length = kNonceSize + plain.length + kTagSize;
  return true;
}

bool unseal(char generation, Sealed& sealed, Plain& plain)
{
  if (sealed.length < kNonceSize + kTagSize) {
    return false;
  }
  const unsigned char* const nonce = sealed.bytes;
  const unsigned char* const body = nonce + kNonceSize;
  const size_t length = sealed.length - kNonceSize - kTagSize;
  const CipherContext context = startCipher(generation, nonce, false);
  int count = 0;
  int rest = 0;
  // Nothing that came out counts before the last call has found the tag right.
  if (!context ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, kTagSize,
                          sealed.bytes + kNonceSize + length) != 1 ||
      EVP_CipherUpdate(context.get(), plain.buffer.bytes, &count, body, static_cast<int>(length)) != 1 ||
      EVP_CipherFinal_ex(context.get(), plain.buffer.bytes + count, &rest) != 1) {
    return false;
  }
  plain.length = length;
  return true;
}

/// The generation and what is sealed, as text.
std::string toText(char generation, const Sealed& sealed)
{
  // OpenSSL adds a terminating zero.
  unsigned char base64[kMaxBase64 + 1];
  EVP_EncodeBlock(base64, sealed.bytes, static_cast<int>(sealed.length));
  std::string text(1, generation);
  text.append(reinterpret_cast<const char*>(base64), (sealed.length * 4 + 2) / 3);
  std::replace(text.begin() + 1, text.end(), '+', '-');
  std::replace(text.begin() + 1, text.end(), '/', '_');
  return text;
}

bool fromText(std::string_view text, Sealed& sealed)
{
  if (text.size() < 2 || text.size() > kMaxText || text.size() % 4 == 2) {
    return false;  // one digit in the last group of four is less than a byte
  }
  std::string base64(text.substr(1));
  std::replace(base64.begin(), base64.end(), '-', '+');
  std::replace(base64.begin(), base64.end(), '_', '/');
  base64.resize((base64.size() + 3) / 4 * 4, '=');
  unsigned char bytes[kMaxBase64 / 4 * 3] = {};
  const size_t length = (text.size() - 1) * 3 / 4;
  if (base64.size() > kMaxBase64 || length > kMaxSealed ||
      EVP_DecodeBlock(bytes, reinterpret_cast<const unsigned char*>(base64.data()),
                      static_cast<int>(base64.size())) < 0) {
    return false;
  }
  std::memcpy(sealed.bytes, bytes, length);
  sealed.length = length;
  // The decoder is generous with blanks, other alphabets and the last bits; one text has one spelling.
  return toText(text.front(), sealed) == text;
}

bool decryptText(std::string_view generations, const char* input, Plain& plain)
{
  const std::string_view text(input, strnlen(input, kMaxText + 1));
  Sealed sealed;
  return !text.empty() && generations.find(text.front()) != std::string_view::npos &&
         fromText(text, sealed) && unseal(text.front(), sealed, plain);
}

int decryptInto(std::string_view generations, const char* input, char* output, unsigned int* length)
{
  if (input == nullptr || output == nullptr || length == nullptr) {
    return 0;
  }
  const OpenSslErrorScope errors;
  Plain plain;
  if (!decryptText(generations, input, plain) || plain.length > *length) {
    return 0;
  }
  // The buffer's last byte, zero, is never a password's.
  std::memcpy(output, plain.buffer.bytes, plain.length);
  output[plain.length] = '\0';
  *length = static_cast<unsigned int>(plain.length);
  return 1;
}

int encryptInto(char generation, const Plain& plain, char* output, unsigned int* length)
{
  Sealed sealed;
  if (!seal(generation, plain, sealed)) {
    return 0;
  }
  const std::string text = toText(generation, sealed);
  if (text.size() >= *length) {
    return 0;
  }
  std::memcpy(output, text.c_str(), text.size() + 1);
  *length = static_cast<unsigned int>(text.size());
  return 1;
}

}  // namespace

KWPassword::KWPassword() = default;
KWPassword::~KWPassword() = default;

int KWPassword::decrypt(const char* input, char* output, unsigned int* length)
{
  return decryptInto("12", input, output, length);
}

int KWPassword::decrypt(const char* input, char* output, unsigned int* length, const void* extra)
{
  return extra == nullptr ? decryptInto("358", input, output, length) : 0;
}

int KWPassword::ConvertToV8(const char* input, char* output, unsigned int* length)
{
  if (input == nullptr || output == nullptr || length == nullptr) {
    return 0;
  }
  const OpenSslErrorScope errors;
  Plain plain;
  return decryptText(kGenerations, input, plain) ? encryptInto('8', plain, output, length) : 0;
}

int KWPassword::encrypt(int generation, const char* input, char* output, unsigned int* length)
{
  if (generation < 0 || generation > 9 || input == nullptr || output == nullptr || length == nullptr) {
    return 0;
  }
  const char digit = static_cast<char>('0' + generation);
  if (kGenerations.find(digit) == std::string_view::npos) {
    return 0;
  }
  const OpenSslErrorScope errors;
  Plain plain;
  plain.length = strnlen(input, kMaxPlain + 1);
  if (plain.length > kMaxPlain) {
    return 0;
  }
  std::memcpy(plain.buffer.bytes, input, plain.length);
  return encryptInto(digit, plain, output, length);
}
