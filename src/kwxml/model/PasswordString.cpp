// The members of pstring that need the password library; every call to it from the value types is here.
#include <kwxml/model/StringTypes.h>

#include <kwxml/model/SecretBuffer.h>
#include <kwxml/platform/KWPassword.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using kwxml::SecretBuffer;

constexpr std::size_t inputLimit = 2048;
constexpr std::size_t plainLimit = 512;
constexpr std::size_t v8Limit = 2048;

}  // namespace

bstring pstring::getPlainPassword() const
{
  // As an unsigned number, so that negative types count among those that are not known.
  const auto type = static_cast<unsigned int>(encryptionType_);
  if (type == Annotation::UNKNOWN) {
    return bstring();
  }
  if (type == Annotation::PLAIN_TEXT) {
    return bstring(text());
  }

  // The limit is 2048 bytes of text; a zero byte stands behind it because the password library reads up to
  // one.
  SecretBuffer<inputLimit + 1> input;
  std::memcpy(input.bytes, text().data(), std::min(text().size(), inputLimit));
  SecretBuffer<plainLimit> output;
  unsigned int outputLength = plainLimit - 1;
  KWPassword password;
  switch (type) {
    case Annotation::KWPASSWORD_ENCRYPTION_VER1:
      if (password.decrypt(input.bytes, output.bytes, &outputLength) != 0) {
        return bstring(output.text());
      }
      break;
    case Annotation::KWPASSWORD_ENCRYPTION_VER2:
      // Deliberately empty whether or not the text can be decrypted, unlike its neighbours.
      (void)password.decrypt(input.bytes, output.bytes, &outputLength);
      break;
    case Annotation::KWPASSWORD_ENCRYPTION_VER3:
      if (password.decrypt(input.bytes, output.bytes, &outputLength, nullptr) != 0) {
        return bstring(output.text());
      }
      break;
    default:
      break;
  }
  return bstring();
}

void pstring::setEncryptedPassword(const std::string&)
{
  bstring plain = getPlainPassword();
  const kwxml::WipedText wiped(plain.text());
}

pstring pstring::getV8Password() const
{
  KWPassword password;
  SecretBuffer<v8Limit> output;
  unsigned int outputLength = v8Limit;
  if (empty()) {
    return *this;
  }
  switch (encryptionType_) {
    case Annotation::KWPASSWORD_ENCRYPTION_VER8:
      if (size() >= 2 && text()[0] == '8') {
        return *this;
      }
      break;
    case Annotation::KWPASSWORD_ENCRYPTION_VER1:
    case Annotation::KWPASSWORD_ENCRYPTION_VER2:
    case Annotation::KWPASSWORD_ENCRYPTION_VER3:
    case Annotation::KWPASSWORD_ENCRYPTION_VER5:
      break;
    default:
      return pstring();
  }
  if (password.ConvertToV8(c_str(), output.bytes, &outputLength) == 0) {
    return pstring();
  }
  return pstring(output.text(), Annotation::KWPASSWORD_ENCRYPTION_VER8);
}
