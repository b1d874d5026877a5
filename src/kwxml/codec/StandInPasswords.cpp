#include <kwxml/codec/StandInPasswords.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/model/SecretBuffer.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPassword.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <kwxml/text/Base64.h>

namespace kwxml {

namespace {

/// The type of the text that an algorithm was given; plain when its caller does not say.
int typeOfText(const KwXMLContextInfo* context)
{
  const void* type = context != nullptr ? context->getParam(passwordTypeParameter) : nullptr;
  return type != nullptr ? *static_cast<const int*>(type) : static_cast<int>(Annotation::PLAIN_TEXT);
}

using PlainBuffer = SecretBuffer<KWPassword::maxPlainLength + 1>;

/// The plain password of a text of one generation, or nothing when it is none under the key.
bool openText(char generation, const bstring& text, PlainBuffer& plain, unsigned int& length)
{
  if (text.empty() || text.text().front() != generation || text.text().find('\0') != std::string::npos) {
    return false;
  }
  length = KWPassword::maxPlainLength;
  KWPassword library;
  const bool old = generation == '1' || generation == '2';
  return (old ? library.decrypt(text.c_str(), plain.bytes, &length)
              : library.decrypt(text.c_str(), plain.bytes, &length, nullptr)) != 0;
}

template <int Type, int Generation>
struct Scheme
{
  static bstring encrypt(bstring text, KwXMLContextInfo* context)
  {
    const WipedText wiped(text.text());
    const int type = typeOfText(context);
    if (type == Type) {
      PlainBuffer plain;
      unsigned int length = 0;
      return openText('0' + Generation, text, plain, length) ? bstring(base64_encode(text)) : bstring();
    }
    if (type != Annotation::PLAIN_TEXT || text.empty() || text.text().find('\0') != std::string::npos) {
      return bstring();  // the library would take a password up to a zero byte for the whole
    }
    char sealed[KWPassword::maxTextLength + 1];
    unsigned int length = sizeof sealed;
    if (KWPassword().encrypt(Generation, text.c_str(), sealed, &length) == 0) {
      return bstring();
    }
    return bstring(base64_encode(std::string(sealed, length)));
  }

  static bstring decrypt(bstring text, KwXMLContextInfo*)
  {
    PlainBuffer plain;
    unsigned int length = 0;
    return openText('0' + Generation, text, plain, length) ? bstring(plain.bytes, length) : bstring();
  }

  static bool registerBoth()
  {
    constexpr auto type = static_cast<Annotation::PasswordEncryptType>(Type);
    return XMLDecoder::registerPasswordEncAlgo(type, encrypt) &&
           XMLDecoder::registerPasswordDecAlgo(type, decrypt);
  }
};

bstring encryptBase64(bstring text, KwXMLContextInfo* context)
{
  std::string decoded;
  switch (typeOfText(context)) {
    case Annotation::PLAIN_TEXT:
      return bstring(base64_encode(text));
    case Annotation::BASE64:  // a value of this type holds the base64 text
      return base64Decode(text, decoded) ? text : bstring();
    default:
      return bstring();
  }
}

bstring decryptBase64(bstring text, KwXMLContextInfo* context)
{
  if (typeOfText(context) != Annotation::BASE64) {
    return text;  // received, and base64 undone already
  }
  std::string decoded;
  return base64Decode(text, decoded) ? bstring(std::move(decoded)) : bstring();
}

bstring passThrough(bstring text, KwXMLContextInfo* context)
{
  const int type = typeOfText(context);
  return type == Annotation::PASS_THROUGH || type == Annotation::PLAIN_TEXT ? text : bstring();
}

}  // namespace

bool registerPasswordAlgorithms()
{
  return Scheme<Annotation::KWPASSWORD_ENCRYPTION_VER1, 1>::registerBoth() &&
         Scheme<Annotation::KWPASSWORD_ENCRYPTION_VER2, 2>::registerBoth() &&
         Scheme<Annotation::KWPASSWORD_ENCRYPTION_VER3, 3>::registerBoth() &&
         Scheme<Annotation::KWPASSWORD_ENCRYPTION_VER5, 5>::registerBoth() &&
         XMLDecoder::registerPasswordEncAlgo(Annotation::BASE64, encryptBase64) &&
         XMLDecoder::registerPasswordDecAlgo(Annotation::BASE64, decryptBase64) &&
         XMLDecoder::registerPasswordEncAlgo(Annotation::PASS_THROUGH, passThrough) &&
         isPasswordKeyConfigured();
}

bool isPasswordKeyConfigured()
{
  KWPlatformInfo settings;
  settings.setFocus(KWPI_Focus::getFocus());
  std::string path;
  return settings.getString("Password", "keyfile", path);
}

}  // namespace kwxml
