// Reading into a message that keeps the memory of its former values.
#include <kwxml/xml/MessageReader.h>

#include <kwxml/model/MessageLife.h>
#include <kwxml/model/MessageReuse.h>

namespace kwxml {

/// Whether what a field of the current message holds is left from a former one.
bool MessageReader::isOld(const FieldDef& def) const
{
  return reuses_.back().message != nullptr && !MessageAccess::isSet(*current_, def);
}

/// The old item that stands where a list's next one comes; null when there is none. Then the next one has
/// been counted, and is to be stored over it or appended.
template <class Item>
Item* MessageReader::oldItem(const FieldDef& def, std::vector<Item>& list)
{
  if (reuses_.empty() || reuses_.back().message == nullptr) {
    return nullptr;
  }
  Reuse& reuse = reuses_.back();
  if (reuse.list != &def) {
    endList(reuse);
    reuse.list = &def;
    reuse.filled = MessageAccess::isSet(*current_, def) ? list.size() : 0;
  }
  const std::size_t next = reuse.filled++;
  return next < list.size() ? &list[next] : nullptr;
}
template std::string* MessageReader::oldItem(const FieldDef& def, std::vector<std::string>& list);

/// Adds an empty message of a class that is there; `reused` is whether it keeps an old one's memory.
YMMessageBase& MessageReader::addMessage(const FieldDef& def, std::vector<YMMessageBase>& list,
                                         const PackedReference& reference, bool& reused)
{
  YMMessageBase* const old = oldItem(def, list);
  reused = old != nullptr && MessageReuse::canBegin(*old, findClass(reference));
  if (reused) {
    return *old;
  }
  if (old != nullptr) {
    MessageLife::restart(*old, reference);
  }
  YMMessageBase& message =
      old != nullptr ? *old
                     : list.emplace_back(registryOf(reference), reference.system, reference.classIndex);
  prepare(message);
  return message;
}

/// Drops the old items that the list's new ones did not reach.
void MessageReader::endList(Reuse& reuse) noexcept
{
  const auto end = [&reuse](auto* list) {
    while (list != nullptr && list->size() > reuse.filled) {
      list->pop_back();
    }
  };
  if (reuse.list != nullptr && reuse.list->type == FIELD_LIST_STRING) {
    end(MessageAccess::pointer<std::vector<std::string>>(*reuse.message, reuse.list->slot));
  } else if (reuse.list != nullptr) {
    end(MessageAccess::pointer<std::vector<YMMessageBase>>(*reuse.message, reuse.list->slot));
  }
  reuse.list = nullptr;
}

/// What follows until endReuse() is about a new message where there is none.
void MessageReader::beginReuse(YMMessageBase* message)
{
  reuses_.push_back({message});
  if (message != nullptr) {
    MessageReuse::begin(*message);
  }
}

void MessageReader::endReuse() noexcept
{
  if (Reuse& reuse = reuses_.back(); reuse.message != nullptr) {
    endList(reuse);
    MessageReuse::finish(*reuse.message);
  }
  reuses_.pop_back();
}

}  // namespace kwxml
