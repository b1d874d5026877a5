#include <kwxml/annotation/PasswordFields.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Metadata.h>
#include <kwxml/model/SecretBuffer.h>
#include <kwxml/text/Base64.h>

namespace kwxml {

namespace {

constexpr int remarkLevel = 10;

PasswordAlgorithm algorithmFor(PasswordDirection direction, int type)
{
  return passwordAlgorithm(direction, static_cast<Annotation::PasswordEncryptType>(type));
}

int callType(const PasswordSettings& settings)
{
  return settings.context != nullptr ? settings.context->getPasswordEncType() : Annotation::UNKNOWN;
}

/// Decrypts a value in memory by the algorithm of its own type.
bool decryptValue(const PasswordSettings& settings, int type, bstring& text)
{
  // The algorithm gets what the call has (a session's parameters), under the type of this value.
  KwXMLContextInfo temporary = settings.context != nullptr ? *settings.context : KwXMLContextInfo();
  temporary.setPasswordEncType(static_cast<Annotation::PasswordEncryptType>(type));
  temporary.addParam(passwordTypeParameter, &type);
  bstring plain;
  const WipedText wiped(plain.text());
  if (DecryptPasswordString(text, plain, static_cast<Annotation::PasswordEncryptType>(type), &temporary) !=
          0 ||
      (plain.empty() && !text.empty())) {
    return false;
  }
  text = plain;
  return true;
}

bool hasSession(const PasswordSettings& settings, int type)
{
  return !isSessionPasswordType(type) ||
         (settings.context != nullptr && settings.context->getParam(messageInfoParameter) != nullptr);
}

/// False, with an error line, where a session type lacks its session.
bool hasSession(const PasswordSettings& settings, const char* function, int type)
{
  if (hasSession(settings, type)) {
    return true;
  }
  log().logError(function,
                 "Password Encryption Type is SESSION_ENCRYPTION. Context Object Not "
                 "Passed.Exiting Decryption");
  return false;
}

std::optional<bstring> encryptWith(const PasswordSettings& settings, PasswordAlgorithm algorithm,
                                   const bstring& text, int typeOfText)
{
  return runPasswordAlgorithm(algorithm, text, settings.context,
                              {&typeOfText, &settings.flags.passwordEncoderArg, nullptr});
}

std::optional<bstring> decryptWith(const PasswordSettings& settings, PasswordAlgorithm algorithm,
                                   const bstring& text, bool reEncrypt)
{
  return runPasswordAlgorithm(algorithm, text, settings.context,
                              {nullptr, &settings.flags.passwordEncoderArg, &reEncrypt});
}

/// A plain password under a type as values in memory have it: its wire text without base64.
std::optional<pstring> protect(const PasswordSettings& settings, const bstring& plain, int type)
{
  const PasswordAlgorithm algorithm = algorithmFor(PasswordDirection::Encrypt, type);
  const auto wire =
      algorithm != nullptr ? encryptWith(settings, algorithm, plain, Annotation::PLAIN_TEXT) : std::nullopt;
  std::string text;
  if (!wire || !base64Decode(wire->text(), text)) {
    return std::nullopt;
  }
  return pstring(text, type);
}

}  // namespace

int encryptPassword(const PasswordSettings& settings, int type, const pstring& value, std::string& out)
{
  out.clear();
  const int own = value.getEncryptionType();
  int target = settings.flags.targetPasswordType != 0 ? settings.flags.targetPasswordType : type;
  if (target < 0 || target >= passwordEncryptTypeCount) {
    return passwordHandlerMissing;  // nobody knows what protection that would be
  }
  const auto served = [](int one) { return algorithmFor(PasswordDirection::Encrypt, one) != nullptr; };
  if (own == Annotation::PLAIN_TEXT && isProtectingPasswordType(type) && served(type) &&
      !(isProtectingPasswordType(target) && served(target))) {
    target = type;  // asking for no protection, or for one that nobody can give, does not take away this one
  }
  bstring text(value.text());
  const WipedText wiped(text.text());
  int typeOfText = own;
  // A protected value is not laid open for a target under which it would stay open.
  if (isProtectingPasswordType(target) && own != target && own != Annotation::PLAIN_TEXT &&
      settings.flags.keepPasswordForm == 0 && decryptValue(settings, own, text)) {
    typeOfText = Annotation::PLAIN_TEXT;
  }
  if (const PasswordAlgorithm algorithm = algorithmFor(PasswordDirection::Encrypt, target)) {
    const auto wire = encryptWith(settings, algorithm, text, typeOfText);
    if (!wire) {
      return passwordHandlerMissing;
    }
    out = wire->text();
    return 0;
  }
  if (own != Annotation::PLAIN_TEXT) {
    return passwordHandlerMissing;
  }
  out = value.text();
  return 0;
}

std::optional<pstring> decryptPassword(const PasswordSettings& settings, const FieldDef& field,
                                       const std::string& received)
{
  constexpr const char* function = "XMLDecoder::decryptPassword";
  const int type = AnnotationRecord(field.annotations).passwordType();
  const int wanted = callType(settings);
  bstring text(received);
  if (isProtectingPasswordType(type) && !base64Decode(received, text.text())) {
    return std::nullopt;
  }
  if (wanted == Annotation::PASS_THROUGH && type < passwordEncryptTypeCount) {
    log().debug(function, remarkLevel, "Password Encryption Type Marked as PassThrough");
    if (type == Annotation::PLAIN_TEXT) {
      return pstring(received);
    }
    if (type != Annotation::UNKNOWN) {
      return pstring(received, Annotation::PASS_THROUGH);
    }
  }
  if (type == Annotation::UNKNOWN) {
    log().debug(function, remarkLevel, "Encryption Type Not Found for Pstring Field %s. Marking it As Plain ",
                field.getName());
    return pstring(received);
  }
  if (type == Annotation::PASS_THROUGH) {
    return pstring(received, Annotation::PASS_THROUGH);
  }
  if (!hasSession(settings, function, type)) {
    return std::nullopt;
  }
  const bool keeps = isProtectingPasswordType(type) && (wanted == Annotation::KWPASSWORD_ENCRYPTION_VER2 ||
                                                        wanted == Annotation::KWPASSWORD_ENCRYPTION_VER3);
  if (keeps && wanted == type) {
    return pstring(text.text(), type);
  }
  const PasswordAlgorithm algorithm = algorithmFor(PasswordDirection::Decrypt, type);
  if (algorithm == nullptr) {
    if (type == Annotation::PLAIN_TEXT) {
      return pstring(received);
    }
    log().logError(function, "Password Decryption Handler Not Found for Type %d", type);
    return std::nullopt;
  }
  auto plain = decryptWith(settings, algorithm, text, false);
  if (!plain) {
    log().debug(function, remarkLevel, "The password of field [%s] cannot be decrypted", field.getName());
    return std::nullopt;
  }
  const WipedText wiped(plain->text());
  if (!keeps) {
    return pstring(plain->text());
  }
  auto kept = protect(settings, *plain, wanted);
  if (!kept) {
    log().debug(function, remarkLevel, "The password of field [%s] cannot be encrypted again",
                field.getName());
  }
  return kept;
}

bool isSecret(const FieldDef& field)
{
  std::optional<std::string_view> members;
  return field.type == FIELD_PSTRING ||
         !AnnotationRecord(field.annotations).find(annotationTag("Password"), members) || members.has_value();
}

const char* passwordObstacle(const PasswordSettings& settings, const FieldDef& field)
{
  const int type = AnnotationRecord(field.annotations).passwordType();
  if (!hasSession(settings, type)) {
    return "needs a session, which is not there";
  }
  return algorithmFor(PasswordDirection::Decrypt, type) == nullptr
             ? "cannot be decrypted: there is no algorithm, or no key, for its type"
             : "cannot be decrypted: it is damaged, or the key is another one or of no use";
}

int processPassword(const PasswordSettings& settings, bstring& value, bool reEncrypt)
{
  constexpr const char* function = "XMLDecoder::ProcessPasswordAnnotation";
  constexpr int refused = 1;
  const int type =
      callType(settings) != Annotation::UNKNOWN ? callType(settings) : settings.flags.targetPasswordType;
  if (value.empty()) {
    log().logError(function, "Empty Password Input String");
    return refused;
  }
  if (type < Annotation::SESSION_ENCRYPTION || type > Annotation::KWPASSWORD_ENCRYPTION_VER8) {
    log().logError(function, "Password Encryption Type[%d] is not Valid. Exiting Decoding", type);
    return refused;
  }
  if (!hasSession(settings, function, type)) {
    return refused;
  }
  const PasswordAlgorithm algorithm = algorithmFor(PasswordDirection::Decrypt, type);
  if (algorithm == nullptr) {
    log().logError(function, "Password Decryption Handler Not Found for type [%d]", type);
    return passwordHandlerMissing;
  }
  auto plain = decryptWith(settings, algorithm, value, reEncrypt);
  if (!plain) {
    log().logError(function, "A password of type [%d] cannot be decrypted", type);
    return refused;
  }
  value = std::move(*plain);
  return 0;
}

}  // namespace kwxml
