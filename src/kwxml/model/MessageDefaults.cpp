// Default values of a message, what old-way messages build, and the reset to both.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/model/MessageLife.h>
#include <kwxml/text/NumberText.h>

#include <memory>

using kwxml::MessageAccess;

void YMMessageBase::setDefaults(short onlyField)
{
  if (class_ == nullptr || class_->defaultsIndex == -1) {
    return;
  }
  const kwxml::DefaultValue* entry =
      plan_->registry->row(static_cast<unsigned>(getSubsysID())).defaults + class_->defaultsIndex;
  for (short i = 0; i < class_->numberOfFields; ++i) {
    const FieldDef& def = class_->fields[i];
    if (entry->fieldNumber == kwxml::DefaultValue::noField || entry->fieldNumber != def.fieldNumber) {
      continue;
    }
    const char* text = entry++->text;
    if (def.hash == 0 || (onlyField != -1 && onlyField != i)) {
      continue;
    }
    kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (Tag::type == FIELD_BOOL) {
        setint64(i, def.slot, kwxml::asciiEqualsIgnoreCase(text, "true") ? 1 : 0, tagId_, def.hash);
      } else if constexpr (kwxml::IntegerSlot<Tag>) {
        setint64(i, def.slot, kwxml_atoll(text), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_STRING) {
        setstring(i, def.slot, text, tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_DOUBLE) {
        setdouble(i, def.slot, kwxml::parseDouble(text), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_FLOAT) {
        setfloat(i, def.slot, static_cast<float>(kwxml::parseDouble(text)), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_BSTRING) {
        setbstringobject(i, def.slot, bstring(text), tagId_, def.hash);
      }  // other types have no defaults
    });
  }
}

void YMMessageBase::constructSubObjects()
{
  if (class_ == nullptr) {
    return;
  }
  for (const FieldDef& def : *class_) {
    if (def.hash == 0) {
      continue;
    }
    kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (kwxml::ListValue<Tag>) {
        auto*& list = MessageAccess::pointer<typename Tag::Value>(*this, def.slot);
        if (list == nullptr) {
          list = new typename Tag::Value;
        }
        MessageAccess::mark(*this, def);
      } else if constexpr (kwxml::MessageValue<Tag>) {
        YMMessageBase* message =
            kwxml::createUnlessProcessingInstruction(MessageAccess::reference(*this, def));
        if (message != nullptr) {
          delete std::exchange(MessageAccess::pointer<YMMessageBase>(*this, def.slot), message);
          MessageAccess::mark(*this, def);
        }
      }
    });
  }
}

void YMMessageBase::reset()
{
  if (class_ == nullptr) {
    return;
  }
  for (const FieldDef& def : *class_) {
    kwxml::MessageLife::dropValue(*this, def, false);
  }
  buffer_.wipeBits();
  setDefaults(-1);
  if (isOldWay(tagId_)) {
    constructSubObjects();
    setEveryPrimitiveBitset(true);
  } else {
    setEveryPrimitiveBitset(false);
  }
}
