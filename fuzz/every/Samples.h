// Messages of every class of the sample catalogue for what is done to all of them.
#pragma once

#include "support/ManyMessages.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/model/FieldTypes.h>

#include <string>
#include <vector>

namespace kwxml::test {

struct Sample
{
  std::string name;
  YMMessageBase message;
  bool isReadable;  ///< for certain, by readers of the binary form
};

/// Each `step`-th field, from the first one on. Nested messages are filled unless that makes the message so
/// large that trying all damages of all its bytes takes longer than those of all others together.
inline YMMessageBase filled(const PackedReference& place, int step)
{
  constexpr unsigned long large = 2500;
  for (int depth = 1;; --depth) {
    YMMessageBase message(static_cast<int>(place.system), static_cast<int>(place.classIndex));
    message.wipeBitset();
    int next = 0;
    for (const FieldDef& def : *message.getClass()) {
      if (next++ % step == 0) {
        fill(message, def, step, depth);
      }
    }
    if (depth == 0 || BinarySerializer::calculateReqBinStreamSize(message, 2, nullptr) < large) {
      return message;
    }
  }
}

/// Unsets what the binary form writes unlike it is read, so that reading comes to what is behind. Whether
/// anything was.
inline bool dropUnreadable(YMMessageBase& m)
{
  bool dropped = false;
  const auto also = [&dropped](YMMessageBase& nested) { dropped |= dropUnreadable(nested); };
  for (const FieldDef& def : *m.getClass()) {
    if (!MessageAccess::isSet(m, def)) {
      continue;
    }
    visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (Tag::type == FIELD_ULONGLONG || Tag::type == FIELD_LIST_ULONGLONG ||
                    Tag::type == FIELD_LIST_WSTRING) {
        m.unsetField(def.fieldNumber, m.getTagID(), def.hash);
        dropped = true;
      } else if constexpr (ObjectValue<Tag>) {
        auto* value = MessageAccess::pointer<typename Tag::Value>(m, def.slot);
        if (value == nullptr) {
          return;
        }
        if constexpr (Tag::type == FIELD_PSTRING) {
          if (def.annotations == nullptr) {
            m.unsetField(def.fieldNumber, m.getTagID(), def.hash);
            dropped = true;
          }
        } else if constexpr (MessageValue<Tag>) {
          also(*value);
        } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
          for (YMMessageBase& item : *value) {
            also(item);
          }
        } else if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
          for (auto& entry : *value) {
            also(entry.second);
          }
        }
      }
    });
  }
  return dropped;
}

/// Of each class one with all fields and one with every fifth. Where binary readers do not get through the
/// first, `forBinary` adds one that they do.
inline std::vector<Sample> samples(bool forBinary)
{
  std::vector<Sample> result;
  for (const auto& place : everyMessageClass()) {
    for (const int step : {1, 5}) {
      const YMMessageBase message = filled(place, step);
      const std::string name = message.getTagName() + (step == 1 ? std::string(", dense") : ", sparse");
      YMMessageBase readable = message;
      const bool dropped = dropUnreadable(readable);
      result.push_back({name, message, !dropped});
      if (forBinary && dropped && step == 1) {
        result.push_back({name + " but readable", readable, true});
      }
    }
  }
  return result;
}

}  // namespace kwxml::test
