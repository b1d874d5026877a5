// Reading into a message that has been read into before, without giving up the memory of its strings, lists
// and nested messages. Not installed.
//
// begin() makes all values of a message stale: no bit is set, but the slots still hold them. Who reads then
// overwrites a value before the field is marked, and finish() drops what stayed stale. In between the message
// is good for destruction, assignment and reading only.
#pragma once

#include <kwxml/model/MessageLife.h>

#include <string>
#include <vector>

namespace kwxml {

struct MessageReuse : MessageLife
{
  /// A message of the class whose values may become stale: an unset field of a new one is empty, and nothing
  /// of it lies in a caller's memory.
  static bool canBegin(const YMMessageBase& message, const _ClassDef* cls)
  {
    return message.getClass() == cls && cls != nullptr && planOf(message).plain &&
           !buffer(message).isExternal();
  }
  static void begin(YMMessageBase& message) noexcept
  {
    buffer(message).wipeBits();
    destroyCaches(message);
  }
  /// Drops what is still stale: then the message is one that began as new.
  static void finish(YMMessageBase& message) noexcept;

  /// Calls finish() at its end, but for null.
  class Scope
  {
  public:
    explicit Scope(YMMessageBase* message) noexcept : message_(message) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope()
    {
      if (message_ != nullptr) {
        finish(*message_);
      }
    }

  private:
    YMMessageBase* message_;
  };
};

/// A list that is filled anew over its old items, which keep their memory. Those that were not reached go
/// with the filling.
template <class Item>
class ListFilling
{
public:
  explicit ListFilling(std::vector<Item>& list) : list_(list) {}
  ListFilling(const ListFilling&) = delete;
  ListFilling& operator=(const ListFilling&) = delete;
  ~ListFilling()
  {
    while (list_.size() > count_) {
      list_.pop_back();
    }
  }

  /// The old item that stands where the next one comes; null when there is none.
  Item* old() { return count_ < list_.size() ? &list_[count_] : nullptr; }
  /// The next item is in its place.
  void next() { ++count_; }

private:
  std::vector<Item>& list_;
  std::size_t count_ = 0;
};

}  // namespace kwxml
