#include "Digits.h"

#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/NumberText.h>

#include <algorithm>

namespace kwxml::tool {

namespace {

class Search
{
public:
  void look(const YMMessageBase& message, const std::string& path)
  {
    if (message.getClass() == nullptr) {
      return;
    }
    MessageAccess::forEachSet(message, [&](const FieldDef& def) {
      visitFieldType(def.type, [&](auto tag) { value(tag, message, def, path); });
    });
  }
  std::string result() const
  {
    return count_ > most ? found_ + " and " + std::to_string(count_ - most) + " more" : found_;
  }

private:
  static constexpr int most = 3;

  template <class Real>
  static bool loses(Real value)
  {
    NumberBuffer digits;
    const double read = parseDouble(formatDouble(static_cast<double>(value), digits).data());
    return static_cast<Real>(read) != value && value == value;
  }

  void found(const std::string& path)
  {
    if (++count_ <= most) {
      found_ += (found_.empty() ? "" : ", ") + path;
    }
  }

  template <class Part>
  void part(const Part& part, const std::string& path)
  {
    if constexpr (std::is_same_v<Part, YMMessageBase>) {
      look(part, path + ".");
    }
  }

  template <class Tag>
  void value(Tag, const YMMessageBase& message, const FieldDef& def, const std::string& before)
  {
    using Value = typename Tag::Value;
    if constexpr (FloatingSlot<Tag>) {
      bool lost = false;
      if constexpr (Tag::type == FIELD_FLOAT) {
        lost = loses(message.getfloat(def.slot, message.getTagID(), def.hash));
      } else {
        lost = loses(message.getdouble(def.slot, message.getTagID(), def.hash));
      }
      if (lost) {
        found(before + def.getName());
      }
    } else if constexpr (ListValue<Tag> || MapValue<Tag> || MessageValue<Tag>) {
      const Value* const value = MessageAccess::pointer<Value>(message, def.slot);
      if (value != nullptr) {
        values(*value, before + def.getName());
      }
    }
  }

  void values(const YMMessageBase& message, const std::string& path) { part(message, path); }
  template <class Item>
  void values(const std::vector<Item>& list, const std::string& path)
  {
    std::size_t index = 0;
    for (const Item& item : list) {
      const auto name = [&] { return path + "[" + std::to_string(index) + "]"; };
      if constexpr (std::is_floating_point_v<Item>) {
        if (loses(item)) {
          return found(name());  // the others of the list are like it
        }
      } else if constexpr (std::is_same_v<Item, YMMessageBase>) {
        part(item, name());
      }
      ++index;
    }
  }
  template <class Key, class Mapped>
  void values(const std::map<Key, Mapped>& map, const std::string& path)
  {
    std::size_t index = 0;
    for (const auto& [key, mapped] : map) {
      const std::string entry = path + "[#" + std::to_string(index++) + "]";
      part(key, entry + ".key");
      part(mapped, entry + ".value");
    }
  }

  std::string found_;
  int count_ = 0;
};

}  // namespace

std::string fieldsThatLoseDigits(const YMMessageBase& message)
{
  Search search;
  search.look(message, "");
  return search.result();
}

}  // namespace kwxml::tool
