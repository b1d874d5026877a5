// What the password stand-in keeps secret while it works. Not installed.
#pragma once

#include <openssl/crypto.h>

#include <cstddef>

namespace kwxml {

/// Bytes on the stack that are wiped however their scope is left. Not copied, so that there is one place to
/// wipe.
template <std::size_t Size>
struct SecretBytes
{
  unsigned char bytes[Size] = {};

  SecretBytes() = default;
  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes() { OPENSSL_cleanse(bytes, Size); }

  char* text() { return reinterpret_cast<char*>(bytes); }
};

/// The generations' keys are derived from this one; it enciphers nothing itself.
using PasswordKey = SecretBytes<32>;

/// Reads the key file that the settings name. False without one (silently) and with one that is not to be
/// used (reported on standard error, once per process and reason); then `key` is unchanged.
[[nodiscard]] bool loadPasswordKey(PasswordKey& key);

/// Takes back what OpenSSL noted of failures within a scope: an embedding program that uses OpenSSL itself
/// would take the notes of this thread for its own.
class OpenSslErrorScope
{
public:
  OpenSslErrorScope();
  ~OpenSslErrorScope();
  OpenSslErrorScope(const OpenSslErrorScope&) = delete;
  OpenSslErrorScope& operator=(const OpenSslErrorScope&) = delete;
};

}  // namespace kwxml
