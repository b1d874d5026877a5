#include <kwxml/metadata/DummyValues.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/traverse/MsgFieldContext.h>

#include <memory>

namespace {

constexpr int repetitions = 5;

/// One filling of a message and all below it.
class Filler
{
public:
  int fill(YMMessageBase* message, int depth);

private:
  /// What the field gets; 0, or 1.
  template <class Tag>
  int fillField(Tag, MsgFieldContext& field, int depth);
  int fillList(MsgFieldContext& field, int depth);
  int fillObject(MsgFieldContext& field, int depth);
  /// A message of the class that the field refers to; null when there is none.
  std::unique_ptr<YMMessageBase> create(const FieldDef& def);

  int created_ = 0;
};

std::unique_ptr<YMMessageBase> Filler::create(const FieldDef& def)
{
  return std::unique_ptr<YMMessageBase>(kwxml::createIfThere(kwxml::packedReference(def)));
}

int Filler::fillList(MsgFieldContext& field, int depth)
{
  for (int i = 0; i < repetitions; ++i) {
    const auto element = create(field.getField());
    if (element == nullptr) {
      continue;
    }
    if (fill(element.get(), depth + 1) != 0) {
      return 1;
    }
    field.replaceValue(element.get());
  }
  return 0;
}

int Filler::fillObject(MsgFieldContext& field, int depth)
{
  const auto object = create(field.getField());
  if (object == nullptr) {
    return 0;
  }
  field.replaceValue(object.get());
  return fill(object.get(), depth + 1);
}

template <class Tag>
int Filler::fillField(Tag, MsgFieldContext& field, int depth)
{
  if constexpr (Tag::type == FIELD_STRING || kwxml::ByteString<Tag>) {
    field.replaceValue(true);
  } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
    return fillList(field, depth);
  } else if constexpr (kwxml::MessageValue<Tag>) {
    return fillObject(field, depth);
  } else if constexpr (kwxml::ListValue<Tag>) {
    using Element = typename Tag::Value::value_type;
    for (int i = 0; i < repetitions; ++i) {
      if constexpr (std::is_floating_point_v<Element>) {
        field.replaceValue(0.0F);
      } else if constexpr (std::is_integral_v<Element> && Tag::type != FIELD_LIST_ENUM) {
        field.replaceValue(0);
      }
    }
  }
  return 0;
}

int Filler::fill(YMMessageBase* message, int depth)
{
  constexpr const char* function = "recurseAndFillDummyValues";
  if (message == nullptr || message->getClass() == nullptr) {
    return 1;
  }
  if (depth > kwxml::maxMessageNesting) {
    XMLDebug::getInstance()->logError(function, "Messages nest deeper than [%d]", kwxml::maxMessageNesting);
    return 1;
  }
  if (++created_ > kwxml::maxCreatedMessages) {
    XMLDebug::getInstance()->logError(function, "A message is filled with at most [%d] messages",
                                      kwxml::maxCreatedMessages);
    return 1;
  }
  for (const FieldDef& def : *message->getClass()) {
    MsgFieldContext field(def, message);
    const int result =
        kwxml::visitFieldType(def.type, [&](auto tag) { return fillField(tag, field, depth); });
    if (result != 0) {
      return result;
    }
  }
  return 0;
}

}  // namespace

int recurseAndFillDummyValues(YMMessageBase* message)
{
  try {
    return Filler().fill(message, 1);
  } catch (const KwException&) {  // logged: a nested message was there already, and of another class
    return 1;
  }
}

int createXMLObjectWithDummyValues(YMMessageBase*& message)
{
  const int result = recurseAndFillDummyValues(message);
  if (result != 0) {
    XMLDebug::getInstance()->logError("createXMLObjectWithDummyValues",
                                      "recurseAndFillDummyValues() failed with Return Code[%d]", result);
    return 1;
  }
  return 0;
}
