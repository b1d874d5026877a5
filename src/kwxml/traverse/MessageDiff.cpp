#include <kwxml/traverse/MessageDiff.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/DiffText.h>
#include <kwxml/traverse/Rendering.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace kwxml {

namespace {

using Kind = MessageDifference::Kind;

constexpr const char* unknownType = "(unknown type)";
/// Two messages that nest deeper than the walk goes, and differ.
constexpr const char* tooDeep = "(nested too deep)";
constexpr int deepest = 4 * maxMessageNesting;

constexpr Kind kindOf(bool inLeft, bool inRight)
{
  return !inRight ? Kind::OnlyLeft : !inLeft ? Kind::OnlyRight : Kind::Changed;
}

// ---- The walk

/// A step of the path to a value. Steps lie on the stack of the walk, each knowing the one before.
struct Step
{
  enum class Kind : std::uint8_t
  {
    Field,
    Element,     ///< of a list, or an entry of a map keyed by messages
    NumberKey,   ///< an entry of a map
    TextKey,     ///< the same
    EntryKey,    ///< the key of an entry, a message
    EntryValue,  ///< its value
  };
  const Step* parent;
  Kind kind;
  const FieldDef* field;              ///< the field that the value is in or part of
  std::size_t position = 0;           ///< among elements or among the keys of both sides
  long long number = 0;               ///< NumberKey
  const std::string* text = nullptr;  ///< TextKey
};

/// Every value has two sides, a pointer each, null where it is absent; at least one is there. The functions
/// that call each other are kept apart per type, so that a level of nesting costs the stack of one of them.
class Walk
{
public:
  Walk(MessageDiffVisitor& visitor, DiffExtent extent)
      : visitor_(visitor), showsEqual_(extent == DiffExtent::Everything)
  {
  }

  std::size_t count() const { return count_; }

  void messages(const YMMessageBase* left, const YMMessageBase* right, const Step* at);

private:
  /// `left` and `right` are the messages in which the field is set.
  template <class Tag>
  [[gnu::noinline]] void field(Tag, const YMMessageBase* left, const YMMessageBase* right, const Step& at);
  template <FieldDataType Element, class List>
  void list(const List* left, const List* right, const Step& at);
  template <class Tag, class Map>
  void map(const Map* left, const Map* right, const Step& at);
  template <FieldDataType T, class Value>
  void value(const Value* left, const Value* right, const Step& at);

  template <FieldDataType T, class Value>
  [[gnu::noinline]] void report(const Value* left, const Value* right, const Step& at, bool equal = false);
  /// Reports what has no value but a text of its own, null where it is absent. Where both sides have it they
  /// are equal, but for a field of a type that nobody knows, and for tooDeep.
  [[gnu::noinline]] void reportText(const char* left, const char* right, const Step* at);
  [[gnu::noinline]] void reportClasses(const YMMessageBase& left, const YMMessageBase& right, const Step* at);
  /// Makes path_, clears the texts; true when the path leads into a field whose values are for nobody's eyes.
  bool begin(const Step* at);
  void show(Kind kind);

  MessageDiffVisitor& visitor_;
  const bool showsEqual_;
  std::size_t count_ = 0;
  int depth_ = 0;
  std::vector<const Step*> steps_;
  std::string path_;
  std::string left_;
  std::string right_;
};

void Walk::messages(const YMMessageBase* left, const YMMessageBase* right, const Step* at)
{
  const _ClassDef* const cls = (left != nullptr ? left : right)->getClass();
  const bool both = left != nullptr && right != nullptr;
  if (both && (cls == nullptr || cls != right->getClass())) {
    reportClasses(*left, *right, at);
    return;
  }
  if (cls == nullptr) {
    constexpr const char* text = "(no class)";
    reportText(left != nullptr ? text : nullptr, right != nullptr ? text : nullptr, at);
    return;
  }
  if (depth_ == deepest) {
    const char* const text = both && *left == *right ? "(equal)" : tooDeep;
    if (text == tooDeep || showsEqual_) {
      reportText(left != nullptr ? text : nullptr, right != nullptr ? text : nullptr, at);
    }
    return;
  }
  ++depth_;
  bool empty = true;
  for (const FieldDef& def : *cls) {
    if (def.hash == 0) {
      continue;
    }
    const bool inLeft = left != nullptr && MessageAccess::isSet(*left, def);
    const bool inRight = right != nullptr && MessageAccess::isSet(*right, def);
    if (inLeft || inRight) {
      empty = false;
      const Step step{at, Step::Kind::Field, &def};
      visitFieldType(def.type,
                     [&](auto tag) { field(tag, inLeft ? left : nullptr, inRight ? right : nullptr, step); });
    }
  }
  if (empty && (!both || showsEqual_)) {
    reportText(left != nullptr ? "{}" : nullptr, right != nullptr ? "{}" : nullptr, at);
  }
  --depth_;
}

template <class Tag>
void Walk::field(Tag, const YMMessageBase* left, const YMMessageBase* right, const Step& at)
{
  using Value = typename Tag::Value;
  const FieldDef& def = *at.field;
  const bool both = left != nullptr && right != nullptr;
  const auto reportSides = [&](const char* text) {
    reportText(left != nullptr ? text : nullptr, right != nullptr ? text : nullptr, &at);
  };
  if constexpr (Tag::type == FIELD_INVALID) {
    reportSides(unknownType);  // what it holds cannot be compared
  } else if constexpr (NoStorage<Tag>) {
    // A record without a type has the bit of field 0; that one has been reported where it is not hidden.
    const FieldDef& owner = (left != nullptr ? left : right)->getClass()->fields[def.fieldNumber];
    if ((!both || showsEqual_) && (&owner == &def || owner.hash == 0)) {
      reportSides("(set)");
    }
  } else if constexpr (InPlaceValue<Tag> && !StringSlot<Tag>) {
    const long long leftSlot = left != nullptr ? MessageAccess::raw(*left, def.slot) : 0;
    const long long rightSlot = right != nullptr ? MessageAccess::raw(*right, def.slot) : 0;
    value<Tag::type>(left != nullptr ? &leftSlot : nullptr, right != nullptr ? &rightSlot : nullptr, at);
  } else if constexpr (StringSlot<Tag>) {
    value<Tag::type>(left != nullptr ? &MessageAccess::inPlace<Value>(*left, def.slot) : nullptr,
                     right != nullptr ? &MessageAccess::inPlace<Value>(*right, def.slot) : nullptr, at);
  } else {
    const Value* const leftValue = left != nullptr ? MessageAccess::pointer<Value>(*left, def.slot) : nullptr;
    const Value* const rightValue =
        right != nullptr ? MessageAccess::pointer<Value>(*right, def.slot) : nullptr;
    if constexpr (MessageValue<Tag>) {
      if (leftValue != nullptr || rightValue != nullptr) {
        messages(leftValue, rightValue, &at);
      } else if (!both || showsEqual_) {
        reportSides("null");
      }
    } else if constexpr (ByteString<Tag> || PasswordString<Tag>) {
      const bstring none;  // one that was never made is an empty one
      const bstring* const leftBytes = leftValue != nullptr ? leftValue : &none;
      const bstring* const rightBytes = rightValue != nullptr ? rightValue : &none;
      value<Tag::type>(left != nullptr ? leftBytes : nullptr, right != nullptr ? rightBytes : nullptr, at);
    } else {
      const bool empty =
          (leftValue == nullptr || leftValue->empty()) && (rightValue == nullptr || rightValue->empty());
      if (empty) {
        if (!both || showsEqual_) {
          reportSides(MapValue<Tag> ? "{}" : "[]");
        }
      } else if constexpr (MapValue<Tag>) {
        map<Tag>(leftValue, rightValue, at);
      } else {
        list<Tag::info.element>(leftValue, rightValue, at);
      }
    }
  }
}

template <FieldDataType Element, class List>
void Walk::list(const List* left, const List* right, const Step& at)
{
  const std::size_t leftSize = left != nullptr ? left->size() : 0;
  const std::size_t rightSize = right != nullptr ? right->size() : 0;
  Step step{&at, Step::Kind::Element, at.field};
  for (; step.position < leftSize || step.position < rightSize; ++step.position) {
    value<Element>(step.position < leftSize ? &(*left)[step.position] : nullptr,
                   step.position < rightSize ? &(*right)[step.position] : nullptr, step);
  }
}

/// Keys ascend on both sides. Messages as keys are never less than each other, so that their entries meet by
/// position.
template <class Tag, class Map>
void Walk::map(const Map* left, const Map* right, const Step& at)
{
  const Map none;
  const Map& leftMap = left != nullptr ? *left : none;
  const Map& rightMap = right != nullptr ? *right : none;
  auto leftAt = leftMap.begin();
  auto rightAt = rightMap.begin();
  Step entry{&at, Step::Kind::Element, at.field};
  for (; leftAt != leftMap.end() || rightAt != rightMap.end(); ++entry.position) {
    const bool inLeft =
        leftAt != leftMap.end() && (rightAt == rightMap.end() || !(rightAt->first < leftAt->first));
    const bool inRight =
        rightAt != rightMap.end() && (leftAt == leftMap.end() || !(leftAt->first < rightAt->first));
    const auto& key = (inLeft ? leftAt : rightAt)->first;
    const auto* leftValue = inLeft ? &leftAt->second : nullptr;
    const auto* rightValue = inRight ? &rightAt->second : nullptr;
    if constexpr (Tag::info.mapKey == FIELD_OBJECT) {
      Step part{&entry, Step::Kind::EntryKey, at.field};
      messages(inLeft ? &leftAt->first : nullptr, inRight ? &rightAt->first : nullptr, &part);
      part.kind = Step::Kind::EntryValue;
      messages(leftValue, rightValue, &part);
    } else {
      if constexpr (Tag::info.mapKey == FIELD_STRING) {
        entry.kind = Step::Kind::TextKey;
        entry.text = &key;
      } else {
        entry.kind = Step::Kind::NumberKey;
        entry.number = key;
      }
      value<Tag::info.mapValue>(leftValue, rightValue, entry);
    }
    if (inLeft) {
      ++leftAt;
    }
    if (inRight) {
      ++rightAt;
    }
  }
}

template <FieldDataType T, class Value>
void Walk::value(const Value* left, const Value* right, const Step& at)
{
  if constexpr (std::is_same_v<Value, YMMessageBase>) {
    messages(left, right, &at);
  } else if (left == nullptr || right == nullptr || !(*left == *right)) {
    report<T>(left, right, at);
  } else if (showsEqual_) {
    report<T>(left, right, at, true);
  }
}

// ---- Reports

template <FieldDataType T, class Value>
void Walk::report(const Value* left, const Value* right, const Step& at, bool equal)
{
  const bool secret = begin(&at);
  const auto append = [&](std::string& out, const Value* value) {
    if (value != nullptr && secret) {
      out += mask;
    } else if (value != nullptr) {
      appendValue<T>(out, *value, *at.field);
    }
  };
  append(left_, left);
  append(right_, right);
  show(equal ? Kind::Equal : kindOf(left != nullptr, right != nullptr));
}

void Walk::reportText(const char* left, const char* right, const Step* at)
{
  begin(at);
  left_ += left != nullptr ? left : "";
  right_ += right != nullptr ? right : "";
  const bool both = left != nullptr && right != nullptr;
  const bool differ = both && (std::strcmp(left, unknownType) == 0 || std::strcmp(left, tooDeep) == 0);
  show(both && !differ ? Kind::Equal : kindOf(left != nullptr, right != nullptr));
}

void Walk::reportClasses(const YMMessageBase& left, const YMMessageBase& right, const Step* at)
{
  const auto name = [](const YMMessageBase& message) {
    return message.getClass() != nullptr ? message.getTagName() : std::string("(no class)");
  };
  begin(at);
  left_ = name(left);
  right_ = name(right);
  show(Kind::Changed);
}

bool Walk::begin(const Step* at)
{
  left_.clear();
  right_.clear();
  path_.clear();
  steps_.clear();
  for (; at != nullptr; at = at->parent) {
    steps_.push_back(at);
  }
  bool secret = false;
  for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
    switch ((*step)->kind) {
      case Step::Kind::Field:
        path_ += path_.empty() ? "" : ".";
        path_ += (*step)->field->getName();
        secret = secret || isSecret(*(*step)->field);
        break;
      case Step::Kind::Element:
        path_ += '[';
        appendNumber(path_, (*step)->position);
        path_ += ']';
        break;
      case Step::Kind::NumberKey:
      case Step::Kind::TextKey:
        path_ += '[';
        if (secret) {  // what a value is filed under may give it away
          path_ += '#';
          appendNumber(path_, (*step)->position);
        } else if ((*step)->kind == Step::Kind::TextKey) {
          appendString(path_, *(*step)->text);
        } else {
          appendNumber(path_, (*step)->number);
        }
        path_ += ']';
        break;
      case Step::Kind::EntryKey:
        path_ += ".key";
        break;
      case Step::Kind::EntryValue:
        path_ += ".value";
        break;
    }
  }
  return secret;
}

void Walk::show(Kind kind)
{
  count_ += kind != Kind::Equal ? 1 : 0;
  visitor_.differs({.kind = kind, .path = path_, .left = left_, .right = right_});
}

}  // namespace

std::size_t diffMessages(const YMMessageBase& left, const YMMessageBase& right, MessageDiffVisitor& visitor,
                         DiffExtent extent)
{
  Walk walk(visitor, extent);
  walk.messages(&left, &right, nullptr);
  return walk.count();
}

}  // namespace kwxml
