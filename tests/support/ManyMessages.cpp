#include "support/ManyMessages.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

namespace kwxml::test {

std::vector<PackedReference> everyMessageClass()
{
  std::vector<PackedReference> places;
  for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
    const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
    for (int i = 0; i < row.numberOfClasses; ++i) {
      if (row.classes[i].name != nullptr && !row.classes[i].isEnum()) {
        places.push_back({system, i});
      }
    }
  }
  return places;
}

namespace {

/// Filled lists of enumerations hold numbers that no enumerator has.
void mendEnumerations(YMMessageBase& m)
{
  for (const FieldDef& def : *m.getClass()) {
    visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (ObjectValue<Tag>) {
        auto* value = MessageAccess::pointer<typename Tag::Value>(m, def.slot);
        if (value == nullptr) {
          return;
        }
        if constexpr (Tag::type == FIELD_LIST_ENUM) {
          const _ClassDef* cls = findClass(packedReference(def));
          value->assign({cls->begin()->hash, (cls->end() - 1)->hash});
        } else if constexpr (MessageValue<Tag>) {
          mendEnumerations(*value);
        } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
          std::for_each(value->begin(), value->end(), mendEnumerations);
        } else if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
          std::for_each(value->begin(), value->end(), [](auto& entry) { mendEnumerations(entry.second); });
        }
      }
    });
  }
}

}  // namespace

std::vector<YMMessageBase> randomMessages()
{
  std::mt19937 random(11);
  std::vector<YMMessageBase> messages;
  for (const auto& place : everyMessageClass()) {
    for (int i = 0; i < 4; ++i) {
      YMMessageBase& m = messages.emplace_back(place.system, place.classIndex);
      for (const FieldDef& def : *m.getClass()) {
        if (i == 0 || random() % 2 == 0) {
          fill(m, def, static_cast<int>(random() % 90) + 1, 1);
        }
      }
      mendEnumerations(m);
    }
  }
  return messages;
}

std::vector<YMMessageBase> borders()
{
  std::vector<YMMessageBase> messages;
  using Double = std::numeric_limits<double>;
  using Float = std::numeric_limits<float>;
  for (const double real :
       {Double::infinity(), -Double::infinity(), Double::quiet_NaN(), -Double::quiet_NaN(), Double::max(),
        Double::lowest(), Double::denorm_min(), 0.0, -0.0}) {
    YMMessageBase& m = messages.emplace_back(make("Types_AllTypes"));
    object<std::vector<double>>(m, "doubleList") = {real};
    object<std::vector<float>>(m, "floatList") = {
        std::isfinite(real) ? Float::denorm_min() : static_cast<float>(real), Float::max(), Float::lowest()};
  }
  for (const bool isLeast : {true, false}) {
    YMMessageBase& m = messages.emplace_back(make("Types_AllTypes"));
    setInt(m, "intValue", isLeast ? INT_MIN : INT_MAX);
    setInt(m, "time32Value", isLeast ? INT_MIN : INT_MAX);
    setInt(m, "uintValue", isLeast ? INT_MIN : UINT_MAX);
    setInt(m, "enumValue", isLeast ? -3 : INT_MAX);
    for (const char* name : {"longValue", "ulongValue", "longlongValue", "ulonglongValue", "time64Value"}) {
      setInt(m, name, isLeast ? LLONG_MIN : LLONG_MAX);
    }
    object<std::vector<unsigned long>>(m, "ulongList") = {0, ULONG_MAX};
    object<std::vector<unsigned int>>(m, "boolList") = {0, 1, UINT_MAX};
    object<std::vector<std::string>>(m, "stringList") = {"", " ", "a\nb"};
    object<bstring>(m, "bstringValue") = bstring(std::string(isLeast ? 0 : 200, '\xFF'));
  }
  for (const int time :
       {INT_MIN, -86400, -45005, -5, 0, 1, 36000, 36001, 45005, 86400, 8640000, 1700000000, INT_MAX}) {
    YMMessageBase& m = messages.emplace_back(make("Types_Annotated"));
    for (const char* name : {"dateTime", "dateOnly", "intDateTime", "daySeconds"}) {
      setInt(m, name, time);
    }
  }
  return messages;
}

}  // namespace kwxml::test
