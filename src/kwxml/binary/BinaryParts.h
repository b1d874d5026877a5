// What measuring and writing a message's body have in common: how long each part is. Not installed.
#pragma once

#include <kwxml/binary/BinaryOutputs.h>
#include <kwxml/binary/BinaryWriter.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>

namespace kwxml {

/// Under which the log knows both walks.
inline constexpr const char* writerFunction = "BinarySerializer::serializeBinaryRecursive";

inline const std::string& stringAt(const long long* slot)
{
  return *std::launder(reinterpret_cast<const std::string*>(slot));
}

/// A text as lists and maps write it: up to its first zero byte.
inline std::size_t cutLength(const std::string& text)
{
  return __builtin_strlen(text.c_str());
}

inline std::uint32_t low32(long long value)
{
  return static_cast<std::uint32_t>(value);
}

template <wire::NumberForm Form, class Number>
std::size_t numberSize(Number value)
{
  if constexpr (Form == wire::NumberForm::Zigzag) {
    return varintSize(zigzag(static_cast<std::int32_t>(value)));
  } else if constexpr (Form == wire::NumberForm::Varint) {
    return varintSize(static_cast<std::uint32_t>(value));
  } else {
    return wire::smallest(Form);
  }
}

/// The bytes of all elements of a list of numbers. A sum of comparisons, which the compiler vectorizes.
template <class Number>
std::uint64_t elementsSize(const std::vector<Number>& list)
{
  constexpr wire::NumberForm form = wire::elementForm<Number>;
  if constexpr (form == wire::NumberForm::Fixed8 || form == wire::NumberForm::Fixed4) {
    return list.size() * wire::smallest(form);
  } else {
    std::uint64_t total = list.size();
    constexpr std::size_t block = 4096;  // its sum fits 32 bits
    for (std::size_t begin = 0; begin < list.size(); begin += block) {
      const std::size_t end = std::min(list.size(), begin + block);
      std::uint32_t more = 0;
      for (std::size_t i = begin; i < end; ++i) {
        const auto bits = static_cast<std::uint32_t>(list[i]);
        const std::uint32_t v =
            form == wire::NumberForm::Zigzag ? zigzag(static_cast<std::int32_t>(bits)) : bits;
        more += (v >= 1U << 7) + (v >= 1U << 14) + (v >= 1U << 21) + (v >= 1U << 28);
      }
      total += more;
    }
    return total;
  }
}

/// The bytes of a length and what it counts.
inline std::uint64_t delimited(std::uint64_t length)
{
  return varintSize(low32(static_cast<long long>(length))) + length;
}

/// What is written of a password: nothing but the key without an annotation, nothing at all when it is
/// refused.
struct PasswordText
{
  enum Kind
  {
    NoAnnotation,
    Refused,
    Written
  } kind;
  std::string text;
};
PasswordText passwordText(const FieldDef& def, const pstring* value, const EncodeCall& call);

/// Keeps the place of a size that is not known yet, where the call keeps them.
inline std::size_t reserveSize(EncodeCall& call)
{
  if (call.keepSizes) {
    call.sizes.push_back(0);
  }
  return call.sizes.size();
}
inline void storeSize(EncodeCall& call, std::size_t reserved, std::uint64_t size)
{
  if (call.keepSizes) {
    call.sizes[reserved - 1] = low32(static_cast<long long>(size));
  }
}

/// Logs, once for each call, that messages nest too deep; false.
bool refuseDepth(EncodeCall& call);

/// False, with one error line, when the message is nested too deep. The caller takes a level off the call's
/// depth afterwards, in both cases.
[[nodiscard]] inline bool enterMessage(EncodeCall& call)
{
  return (++call.depth <= maxMessageNesting && !call.tooDeep) || refuseDepth(call);
}

}  // namespace kwxml
