// The accessors of texts, byte strings and passwords; see Accessors.cpp.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/AccessorRules.h>

#include <utility>

using Access = kwxml::AccessorRules;

namespace {

// Under which the log knows the setters, whoever calls them.
constexpr const char* setstringFunction =
    "void YMMessageBase::setstring(short int, short int, const std::string&, long unsigned int, unsigned "
    "int)";
constexpr const char* setwstringFunction =
    "void YMMessageBase::setwstring(short int, short int, const std::wstring&, long unsigned int, unsigned "
    "int)";
constexpr const char* setbstringFunction =
    "void YMMessageBase::setbstringobject(short int, short int, const bstring&, long unsigned int, unsigned "
    "int)";

template <class String, class Text>
void setText(YMMessageBase& message, const char* function, const kwxml::FieldAddress& address, Text&& value)
{
  if (auto* text = Access::markedString<String>(message, function, address)) {
    *text = std::forward<Text>(value);
  }
}

template <class Bytes>
void setBytes(YMMessageBase& message, const kwxml::FieldAddress& address, Bytes&& value)
{
  bstring* target = Access::markedObject<bstring>(message, setbstringFunction, address);
  if (auto* password = dynamic_cast<pstring*>(target)) {
    *password = value;  // a plain text again
  } else if (target != nullptr) {
    *target = std::forward<Bytes>(value);
  }
}

}  // namespace

std::string& YMMessageBase::getstring(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::string>(
      *this, "std::string& YMMessageBase::getstring(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, false);
}

const std::string& YMMessageBase::getstring_const(short field, short slot, unsigned long tag,
                                                  unsigned int hash) const
{
  return Access::string<std::string>(*this,
                                     "const std::string& YMMessageBase::getstring_const(short int, short "
                                     "int, long unsigned int, unsigned int) const",
                                     {field, slot, tag, hash});
}

std::string& YMMessageBase::getstringByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::string>(
      *this,
      "std::string& YMMessageBase::getstringByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, true);
}

void YMMessageBase::setstring(short field, short slot, const std::string& value, unsigned long tag,
                              unsigned int hash)
{
  setText<std::string>(*this, setstringFunction, {field, slot, tag, hash}, value);
}

void YMMessageBase::setStringOwn(short field, short slot, std::string_view value, unsigned long tag,
                                 unsigned int hash)
{
  setText<std::string>(*this, setstringFunction, {ifOwn(field, tag), slot, tag, hash}, value);
}

void YMMessageBase::setStringOwn(short field, short slot, std::string&& value, unsigned long tag,
                                 unsigned int hash)
{
  setText<std::string>(*this, setstringFunction, {ifOwn(field, tag), slot, tag, hash}, std::move(value));
}

std::wstring& YMMessageBase::getwstring(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::wstring>(
      *this, "std::wstring& YMMessageBase::getwstring(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, false);
}

const std::wstring& YMMessageBase::getwstring_const(short field, short slot, unsigned long tag,
                                                    unsigned int hash) const
{
  return Access::string<std::wstring>(*this,
                                      "const std::wstring& YMMessageBase::getwstring_const(short int, short "
                                      "int, long unsigned int, unsigned int) const",
                                      {field, slot, tag, hash});
}

std::wstring& YMMessageBase::getwstringByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::string<std::wstring>(
      *this,
      "std::wstring& YMMessageBase::getwstringByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, true);
}

void YMMessageBase::setwstring(short field, short slot, const std::wstring& value, unsigned long tag,
                               unsigned int hash)
{
  setText<std::wstring>(*this, setwstringFunction, {field, slot, tag, hash}, value);
}

void YMMessageBase::setWideStringOwn(short field, short slot, std::wstring_view value, unsigned long tag,
                                     unsigned int hash)
{
  setText<std::wstring>(*this, setwstringFunction, {ifOwn(field, tag), slot, tag, hash}, value);
}

void YMMessageBase::setWideStringOwn(short field, short slot, std::wstring&& value, unsigned long tag,
                                     unsigned int hash)
{
  setText<std::wstring>(*this, setwstringFunction, {ifOwn(field, tag), slot, tag, hash}, std::move(value));
}

bstring*& YMMessageBase::getbstringobject(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::objectRef<bstring>(
      *this,
      "bstring*& YMMessageBase::getbstringobject(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
}

const bstring* YMMessageBase::getbstringobject_const(short field, short slot, unsigned long tag,
                                                     unsigned int hash) const
{
  return Access::object<bstring>(*this,
                                 "const bstring* YMMessageBase::getbstringobject_const(short int, short int, "
                                 "long unsigned int, unsigned int) const",
                                 {field, slot, tag, hash});
}

bstring& YMMessageBase::getbstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  bstring* value = Access::markedObject<bstring>(
      *this,
      "bstring& YMMessageBase::getbstringobjectByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  return value != nullptr ? *value : Access::emptyValue<bstring>();
}

void YMMessageBase::setbstringobject(short field, short slot, const bstring& value, unsigned long tag,
                                     unsigned int hash)
{
  setBytes(*this, {field, slot, tag, hash}, value);
}

void YMMessageBase::setBytesOwn(short field, short slot, bstring&& value, unsigned long tag,
                                unsigned int hash)
{
  setBytes(*this, {ifOwn(field, tag), slot, tag, hash}, std::move(value));
}

pstring*& YMMessageBase::getpstringobject(short field, short slot, unsigned long tag, unsigned int hash)
{
  return Access::objectRef<pstring>(
      *this,
      "pstring*& YMMessageBase::getpstringobject(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
}

const pstring* YMMessageBase::getpstringobject_const(short field, short slot, unsigned long tag,
                                                     unsigned int hash) const
{
  return Access::object<pstring>(*this,
                                 "const pstring* YMMessageBase::getpstringobject_const(short int, short int, "
                                 "long unsigned int, unsigned int) const",
                                 {field, slot, tag, hash});
}

pstring& YMMessageBase::getpstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash)
{
  pstring* value = Access::markedObject<pstring>(
      *this,
      "pstring& YMMessageBase::getpstringobjectByRef(short int, short int, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  return value != nullptr ? *value : Access::emptyValue<pstring>();
}

void YMMessageBase::setpstringobject(short field, short slot, const pstring& value,
                                     Annotation::PasswordEncryptType type, unsigned long tag,
                                     unsigned int hash)
{
  pstring* target = Access::markedObject<pstring>(
      *this,
      "void YMMessageBase::setpstringobject(short int, short int, const pstring&, "
      "Annotation::PasswordEncryptType, long unsigned int, unsigned int)",
      {field, slot, tag, hash});
  if (target != nullptr) {  // a secret that has no place is kept nowhere
    *target = value;
    target->setEncryptionType(type);
  }
}
