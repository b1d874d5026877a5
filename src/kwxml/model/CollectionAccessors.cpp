// The accessors of lists and maps; see Accessors.cpp. Every family is the same three members over its own
// type.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/MessageInternal.h>

using Access = kwxml::MessageAccess;

// ------------------------------------------------------------------------------------------------

std::vector<int>*& YMMessageBase::getlistint(short field, short slot, unsigned long tag, unsigned int hash,
                                             bool markSet)
{
  return Access::collection<std::vector<int>>(*this,
                                              "std::vector<int>*& YMMessageBase::getlistint(short int, short "
                                              "int, long unsigned int, unsigned int, bool)",
                                              {field, slot, tag, hash}, markSet);
}
const std::vector<int>* YMMessageBase::getlistint_const(short field, short slot, unsigned long tag,
                                                        unsigned int hash) const
{
  return Access::object<std::vector<int>>(*this,
                                          "const std::vector<int>* YMMessageBase::getlistint_const(short "
                                          "int, short int, long unsigned int, unsigned int) const",
                                          {field, slot, tag, hash});
}
void YMMessageBase::setlistint(short field, short slot, const std::vector<int>* values, unsigned long tag,
                               unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistint(short int, short int, const std::vector<int>*, "
                            "long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<unsigned int>*& YMMessageBase::getlistuint(short field, short slot, unsigned long tag,
                                                       unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<unsigned int>>(
      *this,
      "std::vector<unsigned int>*& YMMessageBase::getlistuint(short int, short int, long unsigned int, "
      "unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<unsigned int>* YMMessageBase::getlistuint_const(short field, short slot, unsigned long tag,
                                                                  unsigned int hash) const
{
  return Access::object<std::vector<unsigned int>>(
      *this,
      "const std::vector<unsigned int>* YMMessageBase::getlistuint_const(short int, short int, long unsigned "
      "int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistuint(short field, short slot, const std::vector<unsigned int>* values,
                                unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistuint(short int, short int, const "
                            "std::vector<unsigned int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<long>*& YMMessageBase::getlistlong(short field, short slot, unsigned long tag, unsigned int hash,
                                               bool markSet)
{
  return Access::collection<std::vector<long>>(*this,
                                               "std::vector<long int>*& YMMessageBase::getlistlong(short "
                                               "int, short int, long unsigned int, unsigned int, bool)",
                                               {field, slot, tag, hash}, markSet);
}
const std::vector<long>* YMMessageBase::getlistlong_const(short field, short slot, unsigned long tag,
                                                          unsigned int hash) const
{
  return Access::object<std::vector<long>>(
      *this,
      "const std::vector<long int>* YMMessageBase::getlistlong_const(short int, short int, long unsigned "
      "int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistlong(short field, short slot, const std::vector<long>* values, unsigned long tag,
                                unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistlong(short int, short int, const std::vector<long "
                            "int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<unsigned long>*& YMMessageBase::getlistulong(short field, short slot, unsigned long tag,
                                                         unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<unsigned long>>(
      *this,
      "std::vector<long unsigned int>*& YMMessageBase::getlistulong(short int, short int, long unsigned int, "
      "unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<unsigned long>* YMMessageBase::getlistulong_const(short field, short slot,
                                                                    unsigned long tag,
                                                                    unsigned int hash) const
{
  return Access::object<std::vector<unsigned long>>(
      *this,
      "const std::vector<long unsigned int>* YMMessageBase::getlistulong_const(short int, short int, long "
      "unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistulong(short field, short slot, const std::vector<unsigned long>* values,
                                 unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistulong(short int, short int, const std::vector<long "
                            "unsigned int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<long long>*& YMMessageBase::getlistlonglong(short field, short slot, unsigned long tag,
                                                        unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<long long>>(
      *this,
      "std::vector<long long int>*& YMMessageBase::getlistlonglong(short int, short int, long unsigned int, "
      "unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<long long>* YMMessageBase::getlistlonglong_const(short field, short slot, unsigned long tag,
                                                                   unsigned int hash) const
{
  return Access::object<std::vector<long long>>(
      *this,
      "const std::vector<long long int>* YMMessageBase::getlistlonglong_const(short int, short int, long "
      "unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistlonglong(short field, short slot, const std::vector<long long>* values,
                                    unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistlonglong(short int, short int, const "
                            "std::vector<long long int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<unsigned long long>*& YMMessageBase::getlistulonglong(short field, short slot, unsigned long tag,
                                                                  unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<unsigned long long>>(
      *this,
      "std::vector<long long unsigned int>*& YMMessageBase::getlistulonglong(short int, short int, long "
      "unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<unsigned long long>* YMMessageBase::getlistulonglong_const(short field, short slot,
                                                                             unsigned long tag,
                                                                             unsigned int hash) const
{
  return Access::object<std::vector<unsigned long long>>(
      *this,
      "const std::vector<long long unsigned int>* YMMessageBase::getlistulonglong_const(short int, short "
      "int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistulonglong(short field, short slot, const std::vector<unsigned long long>* values,
                                     unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistulonglong(short int, short int, const "
                            "std::vector<long long unsigned int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<float>*& YMMessageBase::getlistfloat(short field, short slot, unsigned long tag,
                                                 unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<float>>(*this,
                                                "std::vector<float>*& YMMessageBase::getlistfloat(short int, "
                                                "short int, long unsigned int, unsigned int, bool)",
                                                {field, slot, tag, hash}, markSet);
}
const std::vector<float>* YMMessageBase::getlistfloat_const(short field, short slot, unsigned long tag,
                                                            unsigned int hash) const
{
  return Access::object<std::vector<float>>(
      *this,
      "const std::vector<float>* YMMessageBase::getlistfloat_const(short int, short int, long unsigned int, "
      "unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistfloat(short field, short slot, const std::vector<float>* values, unsigned long tag,
                                 unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistfloat(short int, short int, const "
                            "std::vector<float>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<double>*& YMMessageBase::getlistdouble(short field, short slot, unsigned long tag,
                                                   unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<double>>(*this,
                                                 "std::vector<double>*& YMMessageBase::getlistdouble(short "
                                                 "int, short int, long unsigned int, unsigned int, bool)",
                                                 {field, slot, tag, hash}, markSet);
}
const std::vector<double>* YMMessageBase::getlistdouble_const(short field, short slot, unsigned long tag,
                                                              unsigned int hash) const
{
  return Access::object<std::vector<double>>(
      *this,
      "const std::vector<double>* YMMessageBase::getlistdouble_const(short int, short int, long unsigned "
      "int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistdouble(short field, short slot, const std::vector<double>* values,
                                  unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistdouble(short int, short int, const "
                            "std::vector<double>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<std::string>*& YMMessageBase::getliststring(short field, short slot, unsigned long tag,
                                                        unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<std::string>>(
      *this,
      "std::vector<std::__cxx11::basic_string<char> >*& YMMessageBase::getliststring(short int, short int, "
      "long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<std::string>* YMMessageBase::getliststring_const(short field, short slot, unsigned long tag,
                                                                   unsigned int hash) const
{
  return Access::object<std::vector<std::string>>(
      *this,
      "const std::vector<std::__cxx11::basic_string<char> >* YMMessageBase::getliststring_const(short int, "
      "short int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setliststring(short field, short slot, const std::vector<std::string>* values,
                                  unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(
      *this,
      "void YMMessageBase::setliststring(short int, short int, const "
      "std::vector<std::__cxx11::basic_string<char> >*, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, values);
}

std::vector<std::wstring>*& YMMessageBase::getlistwstring(short field, short slot, unsigned long tag,
                                                          unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<std::wstring>>(
      *this,
      "std::vector<std::__cxx11::basic_string<wchar_t> >*& YMMessageBase::getlistwstring(short int, short "
      "int, long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<std::wstring>* YMMessageBase::getlistwstring_const(short field, short slot,
                                                                     unsigned long tag,
                                                                     unsigned int hash) const
{
  return Access::object<std::vector<std::wstring>>(
      *this,
      "const std::vector<std::__cxx11::basic_string<wchar_t> >* YMMessageBase::getlistwstring_const(short "
      "int, short int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistwstring(short field, short slot, const std::vector<std::wstring>* values,
                                   unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(
      *this,
      "void YMMessageBase::setlistwstring(short int, short int, const "
      "std::vector<std::__cxx11::basic_string<wchar_t> >*, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, values);
}

std::vector<bstring>*& YMMessageBase::getlistbstring(short field, short slot, unsigned long tag,
                                                     unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<bstring>>(
      *this,
      "std::vector<bstring>*& YMMessageBase::getlistbstring(short int, short int, long unsigned int, "
      "unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<bstring>* YMMessageBase::getlistbstring_const(short field, short slot, unsigned long tag,
                                                                unsigned int hash) const
{
  return Access::object<std::vector<bstring>>(
      *this,
      "const std::vector<bstring>* YMMessageBase::getlistbstring_const(short int, short int, long unsigned "
      "int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistbstring(short field, short slot, const std::vector<bstring>* values,
                                   unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistbstring(short int, short int, const "
                            "std::vector<bstring>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::vector<YMMessageBase>*& YMMessageBase::getlistobject(short field, short slot, unsigned long tag,
                                                          unsigned int hash, bool markSet)
{
  return Access::collection<std::vector<YMMessageBase>>(
      *this,
      "std::vector<YMMessageBase>*& YMMessageBase::getlistobject(short int, short int, long unsigned int, "
      "unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::vector<YMMessageBase>* YMMessageBase::getlistobject_const(short field, short slot,
                                                                     unsigned long tag,
                                                                     unsigned int hash) const
{
  return Access::object<std::vector<YMMessageBase>>(
      *this,
      "const std::vector<YMMessageBase>* YMMessageBase::getlistobject_const(short int, short int, long "
      "unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setlistobject(short field, short slot, const std::vector<YMMessageBase>* values,
                                  unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setlistobject(short int, short int, const "
                            "std::vector<YMMessageBase>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::map<long long, long long>*& YMMessageBase::getMapInt64AndInt64(short field, short slot,
                                                                    unsigned long tag, unsigned int hash,
                                                                    bool markSet)
{
  return Access::collection<std::map<long long, long long>>(
      *this,
      "std::map<long long int, long long int>*& YMMessageBase::getMapInt64AndInt64(short int, short int, "
      "long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<long long, long long>* YMMessageBase::getMapInt64AndInt64_const(short field, short slot,
                                                                               unsigned long tag,
                                                                               unsigned int hash) const
{
  return Access::object<std::map<long long, long long>>(
      *this,
      "const std::map<long long int, long long int>* YMMessageBase::getMapInt64AndInt64_const(short int, "
      "short int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapInt64AndInt64(short field, short slot, const std::map<long long, long long>* values,
                                        unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setMapInt64AndInt64(short int, short int, const "
                            "std::map<long long int, long long int>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::map<long long, std::string>*& YMMessageBase::getMapInt64AndString(short field, short slot,
                                                                       unsigned long tag, unsigned int hash,
                                                                       bool markSet)
{
  return Access::collection<std::map<long long, std::string>>(
      *this,
      "std::map<long long int, std::__cxx11::basic_string<char> >*& "
      "YMMessageBase::getMapInt64AndString(short int, short int, long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<long long, std::string>* YMMessageBase::getMapInt64AndString_const(short field, short slot,
                                                                                  unsigned long tag,
                                                                                  unsigned int hash) const
{
  return Access::object<std::map<long long, std::string>>(
      *this,
      "const std::map<long long int, std::__cxx11::basic_string<char> >* "
      "YMMessageBase::getMapInt64AndString_const(short int, short int, long unsigned int, unsigned int) "
      "const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapInt64AndString(short field, short slot,
                                         const std::map<long long, std::string>* values, unsigned long tag,
                                         unsigned int hash)
{
  Access::replaceCollection(
      *this,
      "void YMMessageBase::setMapInt64AndString(short int, short int, const std::map<long long int, "
      "std::__cxx11::basic_string<char> >*, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, values);
}

std::map<long long, YMMessageBase>*& YMMessageBase::getMapInt64AndObject(short field, short slot,
                                                                         unsigned long tag, unsigned int hash,
                                                                         bool markSet)
{
  return Access::collection<std::map<long long, YMMessageBase>>(
      *this,
      "std::map<long long int, YMMessageBase>*& YMMessageBase::getMapInt64AndObject(short int, short int, "
      "long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<long long, YMMessageBase>* YMMessageBase::getMapInt64AndObject_const(short field, short slot,
                                                                                    unsigned long tag,
                                                                                    unsigned int hash) const
{
  return Access::object<std::map<long long, YMMessageBase>>(
      *this,
      "const std::map<long long int, YMMessageBase>* YMMessageBase::getMapInt64AndObject_const(short int, "
      "short int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapInt64AndObject(short field, short slot,
                                         const std::map<long long, YMMessageBase>* values, unsigned long tag,
                                         unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setMapInt64AndObject(short int, short int, const "
                            "std::map<long long int, YMMessageBase>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::map<std::string, long long>*& YMMessageBase::getMapStringAndInt64(short field, short slot,
                                                                       unsigned long tag, unsigned int hash,
                                                                       bool markSet)
{
  return Access::collection<std::map<std::string, long long>>(
      *this,
      "std::map<std::__cxx11::basic_string<char>, long long int>*& YMMessageBase::getMapStringAndInt64(short "
      "int, short int, long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<std::string, long long>* YMMessageBase::getMapStringAndInt64_const(short field, short slot,
                                                                                  unsigned long tag,
                                                                                  unsigned int hash) const
{
  return Access::object<std::map<std::string, long long>>(
      *this,
      "const std::map<std::__cxx11::basic_string<char>, long long int>* "
      "YMMessageBase::getMapStringAndInt64_const(short int, short int, long unsigned int, unsigned int) "
      "const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapStringAndInt64(short field, short slot,
                                         const std::map<std::string, long long>* values, unsigned long tag,
                                         unsigned int hash)
{
  Access::replaceCollection(
      *this,
      "void YMMessageBase::setMapStringAndInt64(short int, short int, const "
      "std::map<std::__cxx11::basic_string<char>, long long int>*, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, values);
}

std::map<std::string, std::string>*& YMMessageBase::getMapStringAndString(short field, short slot,
                                                                          unsigned long tag,
                                                                          unsigned int hash, bool markSet)
{
  return Access::collection<std::map<std::string, std::string>>(
      *this,
      "std::map<std::__cxx11::basic_string<char>, std::__cxx11::basic_string<char> >*& "
      "YMMessageBase::getMapStringAndString(short int, short int, long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<std::string, std::string>* YMMessageBase::getMapStringAndString_const(short field, short slot,
                                                                                     unsigned long tag,
                                                                                     unsigned int hash) const
{
  return Access::object<std::map<std::string, std::string>>(
      *this,
      "const std::map<std::__cxx11::basic_string<char>, std::__cxx11::basic_string<char> >* "
      "YMMessageBase::getMapStringAndString_const(short int, short int, long unsigned int, unsigned int) "
      "const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapStringAndString(short field, short slot,
                                          const std::map<std::string, std::string>* values, unsigned long tag,
                                          unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setMapStringAndString(short int, short int, const "
                            "std::map<std::__cxx11::basic_string<char>, std::__cxx11::basic_string<char> >*, "
                            "long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}

std::map<std::string, YMMessageBase>*& YMMessageBase::getMapStringAndObject(short field, short slot,
                                                                            unsigned long tag,
                                                                            unsigned int hash, bool markSet)
{
  return Access::collection<std::map<std::string, YMMessageBase>>(
      *this,
      "std::map<std::__cxx11::basic_string<char>, YMMessageBase>*& "
      "YMMessageBase::getMapStringAndObject(short int, short int, long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<std::string, YMMessageBase>* YMMessageBase::getMapStringAndObject_const(
    short field, short slot, unsigned long tag, unsigned int hash) const
{
  return Access::object<std::map<std::string, YMMessageBase>>(
      *this,
      "const std::map<std::__cxx11::basic_string<char>, YMMessageBase>* "
      "YMMessageBase::getMapStringAndObject_const(short int, short int, long unsigned int, unsigned int) "
      "const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapStringAndObject(short field, short slot,
                                          const std::map<std::string, YMMessageBase>* values,
                                          unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(
      *this,
      "void YMMessageBase::setMapStringAndObject(short int, short int, const "
      "std::map<std::__cxx11::basic_string<char>, YMMessageBase>*, long unsigned int, unsigned int)",
      {field, slot, tag, hash}, values);
}

std::map<YMMessageBase, YMMessageBase>*& YMMessageBase::getMapObjectAndObject(short field, short slot,
                                                                              unsigned long tag,
                                                                              unsigned int hash, bool markSet)
{
  return Access::collection<std::map<YMMessageBase, YMMessageBase>>(
      *this,
      "std::map<YMMessageBase, YMMessageBase>*& YMMessageBase::getMapObjectAndObject(short int, short int, "
      "long unsigned int, unsigned int, bool)",
      {field, slot, tag, hash}, markSet);
}
const std::map<YMMessageBase, YMMessageBase>* YMMessageBase::getMapObjectAndObject_const(
    short field, short slot, unsigned long tag, unsigned int hash) const
{
  return Access::object<std::map<YMMessageBase, YMMessageBase>>(
      *this,
      "const std::map<YMMessageBase, YMMessageBase>* YMMessageBase::getMapObjectAndObject_const(short int, "
      "short int, long unsigned int, unsigned int) const",
      {field, slot, tag, hash});
}
void YMMessageBase::setMapObjectAndObject(short field, short slot,
                                          const std::map<YMMessageBase, YMMessageBase>* values,
                                          unsigned long tag, unsigned int hash)
{
  Access::replaceCollection(*this,
                            "void YMMessageBase::setMapObjectAndObject(short int, short int, const "
                            "std::map<YMMessageBase, YMMessageBase>*, long unsigned int, unsigned int)",
                            {field, slot, tag, hash}, values);
}
