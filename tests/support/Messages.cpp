#include "support/Messages.h"

#include <limits>
#include <stdexcept>

namespace kwxml::test {

YMMessageBase make(const std::string& tagName)
{
  const auto split = tagName.find('_');
  short system = 0;
  int index = 0;
  if (!YMMessageBase::getMessageSystemIndexFromName(tagName.substr(0, split).c_str(), system) ||
      !YMMessageBase::getMessageIndexFromName(tagName.c_str() + split + 1, system, index)) {
    throw std::invalid_argument(tagName);
  }
  return {system, index};
}

YMMessageBase bare(const std::string& tagName)
{
  YMMessageBase message = make(tagName);
  message.wipeBitset();
  return message;
}

const FieldDef& field(const YMMessageBase& message, const std::string& name)
{
  for (const FieldDef& def : *message.getClass()) {
    if (name == def.getName()) {
      return def;
    }
  }
  throw std::invalid_argument(name);
}

void setInt(YMMessageBase& message, const std::string& name, long long value)
{
  const FieldDef& def = field(message, name);
  message.setint64(def.fieldNumber, def.slot, value, message.getTagID(), def.hash);
}

void setText(YMMessageBase& message, const std::string& name, const std::string& value)
{
  const FieldDef& def = field(message, name);
  message.setstring(def.fieldNumber, def.slot, value, message.getTagID(), def.hash);
}

long long getInt(const YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  return message.getint64(def.slot, message.getTagID(), def.hash);
}

std::string getText(const YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  return message.getstring_const(def.fieldNumber, def.slot, message.getTagID(), def.hash);
}

bool isSet(const YMMessageBase& message, const std::string& name)
{
  const FieldDef& def = field(message, name);
  return message.isSet(def.fieldNumber, message.getTagID(), def.hash);
}

void setPassword(YMMessageBase& message, const std::string& name, const pstring& value)
{
  const FieldDef& def = field(message, name);
  const auto type = static_cast<Annotation::PasswordEncryptType>(value.getEncryptionType());
  message.setpstringobject(def.fieldNumber, def.slot, value, type, message.getTagID(), def.hash);
}

namespace {

std::string text(int variant)
{
  return "text " + std::to_string(variant) + " <&\"'> \xC3\xA9\xF0\x9F\x98\x80\x01|\t\n\r]]>";
}

YMMessageBase referenced(const FieldDef& def, int which, int variant, int depth)
{
  const auto reference = packedReference(def, which);
  YMMessageBase message(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
  if (depth > 0) {
    fillAll(message, variant, depth - 1);
  }
  return message;
}

template <class T>
T value(const FieldDef& def, int variant, int depth, int which = 0)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return referenced(def, which, variant, depth);
  } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, bstring>) {
    return T(text(variant));
  } else if constexpr (std::is_same_v<T, std::wstring>) {
    return L"wide " + std::to_wstring(variant);
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(variant * 1.25 + 0.5);
  } else if (def.type == FIELD_LIST_BOOL) {
    return static_cast<T>(variant % 2);
  } else if constexpr (std::is_signed_v<T>) {
    return std::numeric_limits<T>::min() + variant;
  } else {
    return std::numeric_limits<T>::max() - variant;
  }
}

}  // namespace

bool fill(YMMessageBase& m, const FieldDef& def, int variant, int depth)
{
  const unsigned long tag = m.getTagID();
  const short n = def.fieldNumber;
  const short s = def.slot;
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (NoStorage<Tag>) {
      return false;
    } else if constexpr (Tag::type == FIELD_BOOL) {
      m.setint64(n, s, variant % 2, tag, def.hash);
    } else if constexpr (Tag::type == FIELD_ENUM) {
      const auto reference = packedReference(def);
      const _ClassDef* cls = findClass(reference.system, reference.classIndex);
      m.setint64(n, s, static_cast<int>(cls->fields[variant % cls->numberOfFields].hash), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_LONGLONG || Tag::type == FIELD_ULONGLONG) {
      m.setint64(n, s, value<long long>(def, variant, depth), tag, def.hash);
    } else if constexpr (IntegerSlot<Tag>) {
      m.setint64(n, s, 1000 + variant, tag, def.hash);
    } else if constexpr (Tag::type == FIELD_DOUBLE) {
      m.setdouble(n, s, value<double>(def, variant, depth), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_FLOAT) {
      m.setfloat(n, s, value<float>(def, variant, depth), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_STRING) {
      m.setstring(n, s, text(variant), tag, def.hash);
    } else if constexpr (Tag::type == FIELD_WSTRING) {
      m.setwstring(n, s, value<std::wstring>(def, variant, depth), tag, def.hash);
    } else if constexpr (ByteString<Tag>) {
      m.setbstringobject(n, s, bstring(text(variant) + std::string(1, '\0') + "\xFF"), tag, def.hash);
    } else if constexpr (PasswordString<Tag>) {
      m.setpstringobject(n, s, pstring("password " + std::to_string(variant)), Annotation::PLAIN_TEXT, tag,
                         def.hash);
    } else if constexpr (MessageValue<Tag>) {
      m.setObject(n, s, new YMMessageBase(referenced(def, 0, variant, depth)), true, tag, def.hash, true);
    } else if constexpr (ListValue<Tag>) {
      auto* list = new Value;
      for (int i = 0; i < 3; ++i) {
        list->push_back(value<typename Value::value_type>(def, variant + i, depth));
      }
      m.setObject(n, s, list, true, tag, def.hash, true);
    } else if constexpr (MapValue<Tag>) {
      auto* map = new Value;
      const int last = FieldDef::packedReferences(def.type) - 1;
      for (int i = 0; i < 3; ++i) {
        map->emplace(value<typename Value::key_type>(def, variant * 10 + i, depth),
                     value<typename Value::mapped_type>(def, variant + i, depth, last > 0 ? last : 0));
      }
      m.setObject(n, s, map, true, tag, def.hash, true);
    }
    return true;
  });
}

void fillAll(YMMessageBase& message, int variant, int depth)
{
  for (const FieldDef& def : *message.getClass()) {
    fill(message, def, variant, depth);
  }
}

YMMessageBase nodeChain(int levels)
{
  YMMessageBase node = make("Types_Node");
  setText(node, "label", "level");
  if (levels > 1) {
    object<YMMessageBase>(node, "child") = nodeChain(levels - 1);
  }
  return node;
}

}  // namespace kwxml::test
