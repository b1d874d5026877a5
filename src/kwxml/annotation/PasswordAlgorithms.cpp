#include <kwxml/annotation/PasswordAlgorithms.h>

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/diagnostics/XMLDebug.h>

namespace {

constinit PasswordAlgorithm encryptionAlgorithms[kwxml::maxPasswordAlgorithmType + 1] = {};
constinit PasswordAlgorithm decryptionAlgorithms[kwxml::maxPasswordAlgorithmType + 1] = {};

/// The slot of a type; null for a type that has none.
PasswordAlgorithm* slot(kwxml::PasswordDirection direction, int type)
{
  if (type < 0 || type > kwxml::maxPasswordAlgorithmType) {
    return nullptr;
  }
  return (direction == kwxml::PasswordDirection::Encrypt ? encryptionAlgorithms : decryptionAlgorithms) +
         type;
}

/// A parameter of a context for the length of a scope; an earlier one of that name comes back afterwards.
class ScopedParameter
{
public:
  ScopedParameter(KwXMLContextInfo& context, const char* name, const void* value)
      : context_(context), name_(name), set_(value != nullptr)
  {
    if (set_) {
      earlier_ = context.getParam(name_);
      context.addParam(name_, const_cast<void*>(value));  // algorithms read it as a constant
    }
  }
  ~ScopedParameter()
  {
    if (set_) {
      try {
        context_.addParam(name_, earlier_);
      } catch (
          ...) {  // the algorithm replaced the whole context, and there is no memory: the name is gone then
      }
    }
  }
  ScopedParameter(const ScopedParameter&) = delete;
  ScopedParameter& operator=(const ScopedParameter&) = delete;

private:
  KwXMLContextInfo& context_;
  const std::string name_;
  const bool set_;
  void* earlier_ = nullptr;
};

}  // namespace

int DecryptPasswordString(bstring in, bstring& out, Annotation::PasswordEncryptType type,
                          KwXMLContextInfo* context)
{
  const PasswordAlgorithm algorithm = kwxml::passwordAlgorithm(kwxml::PasswordDirection::Decrypt, type);
  if (algorithm != nullptr) {
    try {
      out = algorithm(std::move(in), context);
      return 0;
    } catch (...) {
      XMLDebug::getInstance()->logError("DecryptPasswordString",
                                        "Handler failed for the encryption type:[%d][%s]",
                                        static_cast<int>(type), kwxml::passwordEncryptTypeName(type));
      return kwxml::passwordHandlerMissing;
    }
  }
  XMLDebug::getInstance()->logError("DecryptPasswordString",
                                    "Handler is not Registered for the encryption type:[%d][%s]",
                                    static_cast<int>(type), kwxml::passwordEncryptTypeName(type));
  return kwxml::passwordHandlerMissing;
}

namespace kwxml {

bool registerPasswordAlgorithm(PasswordDirection direction, Annotation::PasswordEncryptType type,
                               PasswordAlgorithm algorithm)
{
  const bool encrypts = direction == PasswordDirection::Encrypt;
  const char* function =
      encrypts ? "XMLDecoder::registerPasswordEncAlgo" : "XMLDecoder::registerPasswordDecAlgo";
  constexpr int level = 10;
  PasswordAlgorithm* const place = slot(direction, type);
  if (place == nullptr) {
    XMLDebug::getInstance()->debug(function, level, "Password Encryption Algorithm type [%d] out of range",
                                   static_cast<int>(type));
    return false;
  }
  *place = algorithm;
  if (encrypts) {
    XMLDebug::getInstance()->debug(function, level,
                                   "Successfully Registered Password Encryption Algorithm for type = [%s]",
                                   passwordEncryptTypeName(type));
  } else {
    XMLDebug::getInstance()->debug(function, level,
                                   "Successfully Registered Password Encryption Algorithm for type = [%d]",
                                   static_cast<int>(type));
  }
  return true;
}

PasswordAlgorithm passwordAlgorithm(PasswordDirection direction, Annotation::PasswordEncryptType type)
{
  const PasswordAlgorithm* const place = slot(direction, type);
  return place != nullptr ? *place : nullptr;
}

std::optional<bstring> runPasswordAlgorithm(PasswordAlgorithm algorithm, const bstring& text,
                                            KwXMLContextInfo* context, const PasswordCall& call)
{
  try {
    KwXMLContextInfo own;
    KwXMLContextInfo& facts = context != nullptr ? *context : own;
    const ScopedParameter type(facts, passwordTypeParameter, call.passwordType);
    const ScopedParameter argument(facts, passwordEncoderArgParameter, call.passwordEncoderArg);
    const ScopedParameter again(facts, reEncryptParameter, call.reEncrypt);
    bstring result = algorithm(text, &facts);
    if (result.empty() && !text.empty()) {
      return std::nullopt;
    }
    return result;
  } catch (...) {
    return std::nullopt;
  }
}

}  // namespace kwxml
