// The accessors of lists and maps; see Accessors.cpp.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/AccessorRules.h>

using Access = kwxml::AccessorRules;

#define KWXML_COLLECTION(family, text, ...)                                                                \
  __VA_ARGS__*& YMMessageBase::get##family(short field, short slot, unsigned long tag, unsigned int hash,  \
                                           bool markSet)                                                   \
  {                                                                                                        \
    return Access::collection<__VA_ARGS__>(*this,                                                          \
                                           text "*& YMMessageBase::get" #family                            \
                                                "(short int, short int, long unsigned int, unsigned int, " \
                                                "bool)",                                                   \
                                           {field, slot, tag, hash}, markSet);                             \
  }                                                                                                        \
  const __VA_ARGS__* YMMessageBase::get##family##_const(short field, short slot, unsigned long tag,        \
                                                        unsigned int hash) const                           \
  {                                                                                                        \
    return Access::object<__VA_ARGS__>(                                                                    \
        *this,                                                                                             \
        "const " text "* YMMessageBase::get" #family                                                       \
        "_const(short int, short int, long unsigned int, unsigned int) const",                             \
        {field, slot, tag, hash});                                                                         \
  }                                                                                                        \
  void YMMessageBase::set##family(short field, short slot, const __VA_ARGS__* values, unsigned long tag,   \
                                  unsigned int hash)                                                       \
  {                                                                                                        \
    Access::replaceCollection(*this,                                                                       \
                              "void YMMessageBase::set" #family "(short int, short int, const " text       \
                              "*, long unsigned int, unsigned int)",                                       \
                              {field, slot, tag, hash}, values);                                           \
  }
#include <kwxml/model/CollectionAccessors.def>
#undef KWXML_COLLECTION
