#include <kwxml/xml/WritePlan.h>

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/text/JsonText.h>
#include <kwxml/xml/RootName.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <string_view>

namespace kwxml {

namespace {

bool isPlainName(std::string_view name)
{
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
  const auto isRest = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; };
  return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), isRest) &&
         !name.starts_with("xml");
}

/// Objects, passwords and byte strings have no text of their own to protect.
constexpr TypeSet neverCdata = TypeSet{1} << FIELD_UNSET | TypeSet{1} << FIELD_LIST_OBJECT |
                               TypeSet{1} << FIELD_OBJECT | TypeSet{1} << FIELD_LIST_BSTRING |
                               typesHolding<bstring>;

template <class Tag>
constexpr bool holdsMessages = Tag::type == FIELD_OBJECT || Tag::info.element == FIELD_OBJECT ||
                               Tag::info.mapKey == FIELD_OBJECT || Tag::info.mapValue == FIELD_OBJECT;

}  // namespace

WritePlan::WritePlan(int system, const _ClassDef& cls)
    : root(rootElementName(system, cls)), rootKey{nullptr, 0}, plainNames(true), plainRoot(isPlainName(root))
{
  std::vector<std::size_t> ends;  // of the keys
  const auto addKey = [&](std::string_view name) {
    appendJsonString(keys_, name);
    keys_ += ':';
    ends.push_back(keys_.size());
  };
  addKey(root);
  fields.reserve(static_cast<std::size_t>(cls.numberOfFields));
  for (const FieldDef& def : cls) {
    const auto position = static_cast<std::uint16_t>(&def - cls.fields);
    const char* name = def.getName() != nullptr ? def.getName() : "";
    const bool cdata = AnnotationRecord(def.annotations).isCdata() && !contains(neverCdata, def.type);
    Place place = Place::None;
    visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr ((ListValue<Tag> && Tag::type != FIELD_LIST_WSTRING) || MapValue<Tag> ||
                    MessageValue<Tag>) {
        place = Place::Child;
      } else if constexpr (IntegerSlot<Tag> || FloatingSlot<Tag> || Tag::type == FIELD_STRING ||
                           ByteString<Tag> || PasswordString<Tag>) {
        place = cdata ? Place::Child : Place::Attribute;
      }
      if constexpr (holdsMessages<Tag>) {
        nested.push_back(position);
      } else if constexpr (PasswordString<Tag>) {
        secrets.push_back(position);
      }
    });
    plainNames = plainNames && (place == Place::None || isPlainName(name));
    if (place == Place::Attribute) {
      byRank.push_back(position);
    }
    fields.push_back({{name, std::strlen(name)}, 0, place, cdata, {nullptr, 0}});
    addKey(name);
  }
  std::size_t begin = 0;
  for (std::size_t i = 0; i < ends.size(); ++i) {
    (i == 0 ? rootKey : fields[i - 1].jsonKey) = {keys_.data() + begin, ends[i] - begin};
    begin = ends[i];
  }
  const auto nameAt = [this](std::uint16_t position) { return std::string_view(fields[position].name.text); };
  std::sort(byRank.begin(), byRank.end(),
            [&](std::uint16_t a, std::uint16_t b) { return nameAt(a) < nameAt(b); });
  for (std::size_t i = 0; i < byRank.size(); ++i) {
    fields[byRank[i]].rank = static_cast<std::uint16_t>(i);
    plainNames = plainNames && (i == 0 || nameAt(byRank[i - 1]) != nameAt(byRank[i]));
  }
}

const WritePlan& writePlan(const ClassPlan& plan, int system, const _ClassDef& cls)
{
  const KeptWithPlan* known = plan.writing.load(std::memory_order_acquire);
  if (known == nullptr) [[unlikely]] {
    auto made = std::make_unique<const WritePlan>(system, cls);
    if (plan.writing.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel)) {
      known = made.release();
    }
  }
  return static_cast<const WritePlan&>(*known);
}

}  // namespace kwxml
