#include <kwxml/events/EventConversion.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/EvMessageContainer.h>
#include <kwxml/platform/FXString.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <typeinfo>

// As the wrappers of every catalogue have them: derived from the message, with nothing added. Those have
// constructors with places of their catalogue, so none is used here.
namespace Common {

class EventArgument : public YMMessageBase
{
public:
  explicit EventArgument(YMMessageBase&& message) : YMMessageBase(std::move(message)) {}
};

class EventMessage : public YMMessageBase
{
};

}  // namespace Common

using kwxml::log;

namespace {

/// The class of arguments: system 20 and its ID.
constexpr unsigned long argumentTag = 20UL << 24 | 0x6C3D92;

/// Common::EventArgumentType.
enum Type : int
{
  typeInt = 0,
  typeLong = 1,
  typeLongLong = 2,
  typeString = 3,
  typeUnsignedInt = 4,
  typeUnsignedLong = 5,
  typeUnsignedLongLong = 6,
};

/// The address of a field by its name alone, whatever the class.
struct Name
{
  consteval Name(const char* name) : hash(kwxml::nameHash(name, std::char_traits<char>::length(name))) {}
  unsigned int hash;
};
constexpr unsigned long noTag = 0;

long long number(const YMMessageBase& message, Name name)
{
  return message.getint64(0, noTag, name.hash);
}

void setNumber(YMMessageBase& message, Name name, long long value)
{
  message.setint64(0, 0, value, noTag, name.hash);
}

std::vector<YMMessageBase>* arguments(YMMessageBase& message, bool markSet)
{
  return message.getlistobject(0, 0, noTag, Name("arguments").hash, markSet);
}

/// A new argument; null, logged, where the catalogue has no such class.
/// Of the catalogue in use, which callers make that of their message.
std::unique_ptr<YMMessageBase> makeArgument()
{
  return std::unique_ptr<YMMessageBase>(YMMessageBase::createObject(argumentTag));
}

void fill(YMMessageBase& argument, Type type, const std::string& data)
{
  setNumber(argument, "type", type);
  argument.setstring(0, 0, data, noTag, Name("data").hash);
}

template <class T>
std::string text(const char* format, const ArgumentInfo::Argument& argument)
{
  FXString result;
  result.Format(format, argument.as<T>());
  return result.str();
}

/// Type and text of an argument by its kind; one of another kind gets neither.
void fillFrom(YMMessageBase& message, const ArgumentInfo::Argument& argument)
{
  switch (argument.kind) {
    case ArgumentInfo::kInt:
      return fill(message, typeInt, text<int>("%d", argument));
    case ArgumentInfo::kUnsignedInt:
      return fill(message, typeUnsignedInt, text<unsigned int>("%u", argument));
    case ArgumentInfo::kLong:
      return fill(message, typeLong, text<long>("%ld", argument));
    case ArgumentInfo::kUnsignedLong:
      return fill(message, typeUnsignedLong, text<unsigned long>("%lu", argument));
    case ArgumentInfo::kLongLong:
      return fill(message, typeLongLong, text<long long>("%lld", argument));
    case ArgumentInfo::kUnsignedLongLong:  // not the unsigned type: receivers know it so
      return fill(message, typeLongLong, text<unsigned long long>("%llu", argument));
    case ArgumentInfo::kString:
      return fill(message, typeString, argument.as<std::string>());
    default:
      return;
  }
}

/// Appends an argument to a message, behind those that it has. False when it cannot be made.
bool push(YMMessageBase& message, Type type, const std::string& data)
{
  const kwxml::UsingCatalogue scope(message);
  const auto argument = makeArgument();
  std::vector<YMMessageBase>* list = argument != nullptr ? arguments(message, true) : nullptr;
  if (list == nullptr) {
    return false;
  }
  fill(*argument, type, data);
  setNumber(*argument, "position", static_cast<long long>(list->size()) + 1);
  list->push_back(std::move(*argument));
  return true;
}

void clear(EvMessageContainer& container)
{
  container = EvMessageContainer();
}

}  // namespace

// ---- To messages

void setEvMessageArgumentsToXML(const ArgumentInfo* in, std::vector<Common::EventArgument>& out)
{
  if (in == nullptr) {
    return;
  }
  int position = 0;
  for (const ArgumentInfo::Argument& argument : *in) {
    const auto message = makeArgument();
    if (message != nullptr) {
      fillFrom(*message, argument);
      setNumber(*message, "position", position);
      out.emplace_back(std::move(*message));
    }
    ++position;
  }
}

void setEvMessageContainerToXML(const EvMessageContainer& in, Common::EventMessage& out)
{
  setNumber(out, "messageId", in.getMessageId());
  if (in.arguments().NoOfArgs() == 0) {
    return;
  }
  const kwxml::UsingCatalogue scope(out);
  std::vector<Common::EventArgument> made;
  setEvMessageArgumentsToXML(&in.arguments(), made);
  if (std::vector<YMMessageBase>* list = arguments(out, true)) {
    for (Common::EventArgument& argument : made) {
      list->push_back(std::move(static_cast<YMMessageBase&>(argument)));
    }
  }
}

bool pushEventArgumentXML(Common::EventMessage& message, std::string value)
{
  return push(message, typeString, value);
}

template <class T>
requires std::is_arithmetic_v<T>
bool pushEventArgumentXML(Common::EventMessage&, T)
{
  constexpr const char* function = "pushEventArgumentXML";
  const char* name = typeid(T).name();
  name += *name == '*' ? 1 : 0;
  log().debug(function, 10, "Pushing argument of type [%s].", name);
  log().logError(function, "Unknown argument type not supported [%s].", name);
  return false;
}

template bool pushEventArgumentXML(Common::EventMessage&, int);
template bool pushEventArgumentXML(Common::EventMessage&, long);
template bool pushEventArgumentXML(Common::EventMessage&, long long);

// ---- From messages

bool eventArgumentPositionSortPredicate(Common::EventArgument& a, Common::EventArgument& b)
{
  return number(a, "position") < number(b, "position");
}

namespace {

/// Adds the argument to the container by its type; false for a type that does not exist.
bool addTo(EvMessageContainer& out, const YMMessageBase& argument, int type)
{
  const std::string& data = argument.getstring_const(0, 0, noTag, Name("data").hash);
  const char* digits = data.c_str();
  ArgumentInfo& arguments = out.arguments();
  switch (type) {
    case typeInt:
      arguments.AddArgument(static_cast<int>(std::strtol(digits, nullptr, 10)), ArgumentInfo::kInt);
      return true;
    case typeUnsignedInt:
      arguments.AddArgument(static_cast<unsigned int>(std::strtoul(digits, nullptr, 10)),
                            ArgumentInfo::kUnsignedInt);
      return true;
    case typeLong:
      arguments.AddArgument(std::strtol(digits, nullptr, 10), ArgumentInfo::kLong);
      return true;
    case typeUnsignedLong:
      arguments.AddArgument(std::strtoul(digits, nullptr, 10), ArgumentInfo::kUnsignedLong);
      return true;
    case typeLongLong:
      arguments.AddArgument(std::strtoll(digits, nullptr, 10), ArgumentInfo::kLongLong);
      return true;
    case typeUnsignedLongLong:
      arguments.AddArgument(std::strtoull(digits, nullptr, 10), ArgumentInfo::kUnsignedLongLong);
      return true;
    case typeString:
      arguments.AddArgument(data, ArgumentInfo::kString);
      return true;
    default:
      return false;
  }
}

}  // namespace

bool getEvMessageContainerArgumentsFromXML(std::vector<Common::EventArgument>& in, EvMessageContainer& out)
{
  // By number, not by element: messages are large.
  std::vector<std::pair<long long, std::size_t>> order;
  for (std::size_t i = 0; i < in.size(); ++i) {
    order.emplace_back(number(in[i], "position"), i);
  }
  std::sort(order.begin(), order.end());
  std::vector<Common::EventArgument> sorted;
  sorted.reserve(in.size());
  for (const auto& [position, index] : order) {
    sorted.emplace_back(std::move(static_cast<YMMessageBase&>(in[index])));
  }
  in.swap(sorted);
  for (const Common::EventArgument& argument : in) {
    const long long held = number(argument, "type");
    const auto type = static_cast<int>(held);
    if (held != type || !addTo(out, argument, type)) {
      log().logError("getEvMessageContainerArgumentsFromXML", "Unknown argument type not supported [%d].",
                     type);
      clear(out);
      return false;
    }
  }
  return true;
}

bool getEvMessageContainerFromXML(Common::EventMessage in, EvMessageContainer& out)
{
  clear(out);
  out.setMessageId(static_cast<int>(number(in, "messageId")));
  std::vector<Common::EventArgument> list;
  if (std::vector<YMMessageBase>* held = arguments(in, false)) {
    for (YMMessageBase& argument : *held) {
      list.emplace_back(std::move(argument));
    }
  }
  return getEvMessageContainerArgumentsFromXML(list, out);
}
