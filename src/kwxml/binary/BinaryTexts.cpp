// The texts of a body: byte strings and passwords.
#include <kwxml/binary/BodyReader.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/text/Base64.h>

#include <cstring>
#include <utility>

namespace kwxml {

template <class Watch>
bool BodyReader<Watch>::overruns(const FieldDef* def, std::size_t size, const char* kind)
{
  log().logError(
      readerFunction,
      "Error constructing %s field [%s]. Specified string size [%d] causes a buffer overrun. Buffer size "
      ": [%d]. CurrentPosition : [%d]",
      kind, def->getName(), static_cast<int>(size), static_cast<int>(in_.size()),
      static_cast<int>(in_.position()));
  watch_.ended(in_.position(), ProblemKind::BufferCut, def, tooLong(kind, size, in_.left()));
  return false;
}

template <class Watch>
std::string BodyReader<Watch>::bytes(std::string_view text, const FieldDef& def)
{
  std::string raw(text.data(), strnlen(text.data(), text.size()));
  const std::size_t used = raw.size();
  const bool encoded = call_.version > 1;
  std::string decoded;
  const bool good = encoded && base64Decode(raw, decoded);
  watch_.bytes(in_.position(), def, {text, used, encoded, good, decoded.size()});
  return good ? decoded : raw;
}

template <class Watch>
bool BodyReader<Watch>::readPassword(YMMessageBase& message, const FieldDef& def)
{
  std::string_view raw;
  if (!text(raw, def, "pstring")) {
    return false;
  }
  const AnnotationRecord annotations(def.annotations);
  if (!annotations.present()) {
    log().logError(readerFunction, "No Password annotation found on member : %s", def.getName());
    watch_.ended(in_.position(), ProblemKind::PasswordUnreadable, &def,
                 "no annotation says how the password is protected");
    return false;
  }
  if constexpr (Watch::explains) {
    watch_.password(in_.position(), raw, annotations.passwordType());
    return true;  // nobody asks for it
  }
  const std::string received(raw);
  std::optional<pstring> password;
  if (annotations.passwordType() != Annotation::UNKNOWN && call_.version >= 2) {
    const EncodingFlags flags;
    password = decryptPassword({flags, call_.context}, def, received);
    if (!password) {
      log().logError(readerFunction, "Password Handler Not Found while serializing pstring field [%s]",
                     def.getName());
      if (Watch::follows) {
        watch_.met(in_.position(), ProblemKind::PasswordUnreadable, &def,
                   passwordObstacle({flags, call_.context}, def));
      }
      return true;  // the field stays unset
    }
  } else {
    password.emplace(received);
  }
  message.setpstringobject(def.fieldNumber, def.slot, *password,
                           static_cast<Annotation::PasswordEncryptType>(password->getEncryptionType()),
                           message.getTagID(), def.hash);
  return true;
}

template class BodyReader<Unwatched>;
template class BodyReader<Traced>;
template class BodyReader<Explaining>;

}  // namespace kwxml
