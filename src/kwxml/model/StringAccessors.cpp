// The accessors of texts, byte strings and passwords; see Accessors.cpp.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/AccessorRules.h>

using Access = kwxml::AccessorRules;

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
  if (auto* text = Access::markedString<std::string>(
          *this,
          "void YMMessageBase::setstring(short int, short int, const std::string&, long "
          "unsigned int, unsigned int)",
          {field, slot, tag, hash})) {
    *text = value;
  }
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
  if (auto* text = Access::markedString<std::wstring>(
          *this,
          "void YMMessageBase::setwstring(short int, short int, const std::wstring&, "
          "long unsigned int, unsigned int)",
          {field, slot, tag, hash})) {
    *text = value;
  }
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
  bstring* target = Access::markedObject<bstring>(*this,
                                                  "void YMMessageBase::setbstringobject(short int, short "
                                                  "int, const bstring&, long unsigned int, unsigned int)",
                                                  {field, slot, tag, hash});
  if (auto* password = dynamic_cast<pstring*>(target)) {
    *password = value;  // a plain text again
  } else if (target != nullptr) {
    *target = value;
  }
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
