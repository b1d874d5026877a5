// Fuzzes the reader of the binary form, and the writer with what the reader let through: a message that was
// read is written, read again and written again; the two texts must agree.
#include "Fuzz.h"

#include "support/DomWriting.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/Base64.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

using namespace kwxml;
using namespace kwxml::fuzz;

namespace {

using Message = std::unique_ptr<YMMessageBase>;

/// A message that held the former input of its class, and a new one, read the same.
void readAgain(const YMMessageBase& message, BinaryBuffer& buffer)
{
  static std::map<unsigned long, YMMessageBase> former;
  YMMessageBase fresh(message.getSubsysID(), message.getClassIndex());
  YMMessageBase& used = former.try_emplace(message.getTagID(), fresh).first->second;
  const bool same = BinarySerializer::unserialize(used, buffer, nullptr, false) ==
                    BinarySerializer::unserialize(fresh, buffer, nullptr, false);
  YMMessageBase marked = used;
  marked.setEveryPrimitiveBitset(true);
  YMMessageBase other = fresh;
  other.setEveryPrimitiveBitset(true);
  if (!same || !areSame(used, fresh) || !areSame(marked, other)) {
    wrong("a used message reads otherwise than a new one");
  }
}

/// The input in a block of exactly its size, so that a read past the end is seen.
Message decode(const void* data, std::size_t size)
{
  const auto exact = std::make_unique<char[]>(size);
  std::memcpy(exact.get(), data, size);
  BinaryBuffer buffer;
  buffer.SetReadBuffer(exact.get(), size, true);
  Message message(BinarySerializer::unserialize(buffer, nullptr, false));
  if (message) {  // and once more, laid over what is there
    YMMessageBase merged(*message);
    if (BinarySerializer::unserialize(merged, buffer, nullptr, true) != 0) {
      wrong("a message that was read cannot be read over itself");
    }
    readAgain(*message, buffer);
  }
  return message;
}

bool survives(const YMMessageBase& message);

/// Whether a value comes back from its binary form as it was.
template <class T>
bool partSurvives(const T& part, [[maybe_unused]] bool isKey)
{
  if constexpr (std::is_same_v<T, YMMessageBase>) {
    return survives(part);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return !isKey || part.find('\0') == std::string::npos;  // cut there, two keys may become one
  } else {
    return true;
  }
}

template <class Tag>
bool valueSurvives(Tag, const YMMessageBase& message, const FieldDef& def)
{
  using Value = typename Tag::Value;
  if constexpr (Tag::type == FIELD_ULONGLONG || Tag::type == FIELD_LIST_ULONGLONG) {
    return false;  // written unlike they are read
  } else if constexpr (PasswordString<Tag>) {
    // One without an algorithm is written plain and not read back.
    return AnnotationRecord(def.annotations).passwordType() <= Annotation::PLAIN_TEXT;
  } else if constexpr (MessageValue<Tag>) {
    return survives(*MessageAccess::pointer<YMMessageBase>(message, def.slot));
  } else if constexpr (ListValue<Tag>) {
    const Value& list = *MessageAccess::pointer<Value>(message, def.slot);
    if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
      return true;
    } else {  // an empty one is written without its key
      return !list.empty() && std::all_of(list.begin(), list.end(),
                                          [](const auto& item) { return partSurvives(item, false); });
    }
  } else if constexpr (MapValue<Tag>) {
    const Value& map = *MessageAccess::pointer<Value>(message, def.slot);
    return std::all_of(map.begin(), map.end(), [](const auto& entry) {
      return partSurvives(entry.first, true) && partSurvives(entry.second, false);
    });
  } else {
    return true;
  }
}

bool survives(const YMMessageBase& message)
{
  const _ClassDef& cls = *message.getClass();
  return std::all_of(cls.begin(), cls.end(), [&](const FieldDef& def) {
    return !MessageAccess::isSet(message, def) ||
           visitFieldType(def.type, [&](auto tag) { return valueSurvives(tag, message, def); });
  });
}

bstring toBase64(bstring text, KwXMLContextInfo*)
{
  std::string wire;
  base64Encode(text.text(), wire);
  return wire;
}

bstring asItIs(bstring text, KwXMLContextInfo*)
{
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  logToNowhere();
  for (const auto type : {Annotation::BASE64, Annotation::KWPASSWORD_ENCRYPTION_VER1}) {
    registerPasswordAlgorithm(PasswordDirection::Encrypt, type, toBase64);
    registerPasswordAlgorithm(PasswordDirection::Decrypt, type, asItIs);
  }
  return 0;
}

/// Hostile values are written alike with and without a DOM.
void writeByBoth(YMMessageBase& message, unsigned number)
{
  const EncodingFlags flags = kwxml::test::form(number % kwxml::test::forms);
  std::string byDom;
  std::string text;
  if (kwxml::test::writeByDom(message, flags, byDom) != XMLSerializer(flags).serialize(message, text) ||
      text != byDom) {
    wrong("the text is another one than that of the DOM");
  }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  // Some inputs with all traces: those of whole messages write what was read as XML.
  setLogLevel(size % 8 == 0 ? 25 : 0);
  const Message first = decode(data, size);
  if (!first) {
    return 0;
  }
  BinaryBuffer once;
  if (BinarySerializer::serialize(*first, once) == 0) {
    wrong("a message that was read cannot be written");
  }
  if (size % 8 != 0) {
    writeByBoth(*first, static_cast<unsigned>(data[size - 1]));
  }
  const Message second = decode(once.data(), once.length());
  if (!survives(*first)) {
    return 0;
  }
  if (!second) {
    if (once.length() < size) {
      return 0;  // what may be built goes by the number of bytes, which has shrunk
    }
    wrong("a message that was written cannot be read");
  }
  BinaryBuffer twice;
  BinarySerializer::serialize(*second, twice);
  if (twice.length() != once.length() || std::memcmp(twice.data(), once.data(), once.length()) != 0) {
    wrong("a message changed on its way out and back");
  }
  return 0;
}
