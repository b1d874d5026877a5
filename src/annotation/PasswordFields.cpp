#include <kwxml/annotation/PasswordFields.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Metadata.h>

namespace kwxml {

int encryptPasswordText(int, const pstring& value, std::string& out)
{
  out.clear();
  if (value.getEncryptionType() != Annotation::PLAIN_TEXT) {
    return passwordHandlerMissing;
  }
  out = value.text();
  return 0;
}

std::optional<pstring> decryptPasswordText(const FieldDef& field, const std::string& text)
{
  constexpr const char* function = "XMLDecoder::decryptPassword";
  const int type = AnnotationRecord(field.annotations).passwordType();
  switch (type) {
    case Annotation::UNKNOWN:
      XMLDebug::getInstance()->debug(function, 10,
                                     "Encryption Type Not Found for Pstring Field %s. Marking it As Plain ",
                                     field.getName());
      return pstring(text);
    case Annotation::PLAIN_TEXT:
      return pstring(text);
    case Annotation::PASS_THROUGH:
      return pstring(text, type);
    default:
      XMLDebug::getInstance()->logError(function, "Password Decryption Handler Not Found for Type %d", type);
      return std::nullopt;
  }
}

}  // namespace kwxml
