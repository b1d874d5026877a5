// What generated wrappers stand on.
//
// A wrapper is a class derived from YMMessageBase for one class of messages. It has no data of its own, so
// that a message of the generic class can be taken for one (kwxml::as) and lists of messages for lists of
// them. Its accessors are the generic ones with constant addresses.
#pragma once

#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace kwxml {

inline namespace v2 {  // as CatalogueTables::currentVersion

/// A class as its wrapper was compiled for it. Constant, in the program that uses the wrapper.
struct WrapperClass
{
  const Registry* const*
      registry;           ///< of the wrapper's catalogue: without that catalogue the program does not link
  const char* catalogue;  ///< its name then
  const char* system;
  const char* name;
  std::uint32_t tag;
  std::int32_t classIndex;
  std::uint32_t fingerprint;  ///< over `fields`: fingerprintStep()
  std::int32_t numberOfFields;
  const char* fields;  ///< of each record its hash, number, slot and type in decimal: "9023,0,2,1;"
};

/// An enumeration as it was compiled for a program. Constant.
struct WrapperEnum
{
  const Registry* const* registry;  ///< as a WrapperClass's
  const char* catalogue;
  const char* system;
  const char* name;
  std::int32_t systemIndex;
  std::int32_t classIndex;
  std::int32_t numberOfEnumerators;
  std::uint32_t fingerprint;  ///< over the enumerators
};

}  // namespace v2

/// Throws KwException (and logs) when a message of the wrapper's tag has other fields than the wrapper was
/// compiled for: its accessors would take one field for another. A message of another tag is read by the
/// names of its fields, whatever it has.
/// (`catalogue`: the name of the wrapper's, `wrapper`: null where it is not at hand.)
void checkWrapper(const YMMessageBase& message, std::uint32_t tag, std::uint32_t fingerprint,
                  const char* catalogue, const WrapperClass* wrapper);

/// A wrapper has neither data nor virtual functions: object and wrapper are the same bytes. (To the language
/// a message of the generic class is none of the wrapper's type. All that a wrapper does is to call members
/// of the generic class, on which the compilers that this library is for act as one expects.)
template <class Wrapper>
inline constexpr bool isWrapper =
    sizeof(Wrapper) == sizeof(YMMessageBase) &&
    !std::is_polymorphic_v<Wrapper> && std::is_base_of_v<YMMessageBase, Wrapper>;

/// What no text can be made of, although a null pointer, and a 0 for one, converts to one.
template <class T>
concept NoText = std::is_null_pointer_v<T> || std::is_integral_v<T>;
/// What a whole number can be made of, but loses its fraction.
template <class T>
concept Floating = std::is_floating_point_v<T>;

/// A message as its wrapper. The message may be of another class: on a foreign tag fields are found by the
/// hashes of their names, and those that are not there read as unset. Throws KwException (and logs) when the
/// message is of the wrapper's tag, but its catalogue has other fields for it than the wrapper was compiled
/// for.
template <class Wrapper>
Wrapper& as(YMMessageBase& message)
{
  static_assert(isWrapper<Wrapper>, "a wrapper adds nothing to a message");
  checkWrapper(message, Wrapper::tag, Wrapper::kwxmlClass.fingerprint, Wrapper::kwxmlClass.catalogue,
               &Wrapper::kwxmlClass);
  return static_cast<Wrapper&>(message);
}
template <class Wrapper>
const Wrapper& as(const YMMessageBase& message)
{
  return as<Wrapper>(const_cast<YMMessageBase&>(message));
}

/// What an accessor gives for a value that is not there: an empty one, the same for all.
template <class T>
const T& orEmpty(const T* value)
{
  static const T empty{};
  return value != nullptr ? *value : empty;
}
/// And one that may be written to, when a message has no such field (logged). The next such access of the
/// thread empties it.
template <class T>
T& orScratch(T* value)
{
  thread_local T scratch;
  return value != nullptr ? *value : scratch = T();
}

/// The accessors of a nested message: those of YMMessageBase, but only for a field that holds a message in
/// the message at hand, so that no value of another kind is taken for one. Pointers are without a type
/// because a wrapper's header need not have the other wrapper's class; all are of messages.
///
/// Each that gives a message checks it as kwxml::as() does, by the tag and the fingerprint of the wrapper
/// that it is given as; `outer` is the wrapper of the message around it, whose catalogue has both.
///
/// The message in the field, set or not; null when the field holds none (one log line when it can hold none).
const void* nestedMessage(const YMMessageBase& message, short field, short slot, unsigned long tag,
                          unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                          const WrapperClass& outer);
/// Stores a copy of the message at `value`, marked set; without effect (one log line) when the field holds no
/// message.
void setNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag, unsigned int hash,
                      const void* value);
/// The message in the field, made as one of the class that the field refers to when it is missing, and marked
/// set. Throws KwException (after one log line) when the field can hold none.
void* mutableNestedMessage(YMMessageBase& message, short field, short slot, unsigned long tag,
                           unsigned int hash, std::uint32_t wrapperTag, std::uint32_t fingerprint,
                           const WrapperClass& outer);

/// Name of an enumerator; an empty text when there is none. Both functions throw KwException (and log) when
/// the tables do not begin with the enumerators that the program was compiled with, or have no such
/// enumeration: a program's constants would mean others.
const char* enumeratorName(const WrapperEnum& enumeration, int value);
/// The number of an enumerator; false, with `value` unchanged, when there is none of that name.
bool enumeratorValue(const WrapperEnum& enumeration, const std::string& name, int& value);

/// Steps through messages as their wrappers, which it gives as kwxml::as() does.
template <class Wrapper, class Message>
class MessageIterator
{
public:
  // That of any random access iterator; <iterator> would take a tenth of a wrapper header's compile time.
  using iterator_category = std::vector<YMMessageBase>::iterator::iterator_category;
  using value_type = std::remove_cv_t<Wrapper>;
  using difference_type = std::ptrdiff_t;
  using pointer = Wrapper*;
  using reference = Wrapper&;

  MessageIterator() = default;
  explicit MessageIterator(Message* at) : at_(at) {}

  reference operator*() const { return as<value_type>(*at_); }
  pointer operator->() const { return &**this; }
  reference operator[](difference_type n) const { return *(*this + n); }
  MessageIterator& operator++() { return *this += 1; }
  MessageIterator& operator--() { return *this += -1; }
  MessageIterator operator++(int) { return MessageIterator(at_++); }
  MessageIterator operator--(int) { return MessageIterator(at_--); }
  MessageIterator& operator+=(difference_type n)
  {
    at_ += n;
    return *this;
  }
  MessageIterator& operator-=(difference_type n) { return *this += -n; }
  friend MessageIterator operator+(MessageIterator i, difference_type n) { return i += n; }
  friend MessageIterator operator+(difference_type n, MessageIterator i) { return i += n; }
  friend MessageIterator operator-(MessageIterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(MessageIterator a, MessageIterator b) { return a.at_ - b.at_; }
  friend auto operator<=>(MessageIterator, MessageIterator) = default;

private:
  Message* at_ = nullptr;
};

/// The messages of a list field as their wrappers, to read, each given as kwxml::as() does. A view: it holds
/// while the list is neither changed nor destroyed.
template <class Wrapper>
class ConstMessageList
{
public:
  using Messages = std::vector<YMMessageBase>;
  using value_type = Wrapper;
  using const_iterator = MessageIterator<const Wrapper, const YMMessageBase>;
  using iterator = const_iterator;

  /// Null is an empty list.
  ConstMessageList(const Messages* messages) : messages_(&orEmpty(messages)) {}

  bool empty() const noexcept { return messages_->empty(); }
  std::size_t size() const noexcept { return messages_->size(); }
  const Wrapper& operator[](std::size_t i) const { return as<Wrapper>((*messages_)[i]); }
  /// Throws std::out_of_range as well.
  const Wrapper& at(std::size_t i) const { return as<Wrapper>(messages_->at(i)); }
  const Wrapper& front() const { return (*this)[0]; }
  const Wrapper& back() const { return (*this)[size() - 1]; }
  const_iterator begin() const { return const_iterator(messages_->data()); }
  const_iterator end() const { return const_iterator(messages_->data() + messages_->size()); }
  /// The list itself.
  const Messages& messages() const noexcept { return *messages_; }

private:
  const Messages* messages_;
};

/// The same, to change.
template <class Wrapper>
class MessageList
{
public:
  using Messages = std::vector<YMMessageBase>;
  using value_type = Wrapper;
  using iterator = MessageIterator<Wrapper, YMMessageBase>;

  /// Null is a list that is never read again.
  MessageList(Messages* messages) : messages_(&orScratch(messages)) {}
  operator ConstMessageList<Wrapper>() const { return messages_; }

  bool empty() const noexcept { return messages_->empty(); }
  std::size_t size() const noexcept { return messages_->size(); }
  Wrapper& operator[](std::size_t i) const { return as<Wrapper>((*messages_)[i]); }
  /// Throws std::out_of_range as well.
  Wrapper& at(std::size_t i) const { return as<Wrapper>(messages_->at(i)); }
  Wrapper& front() const { return (*this)[0]; }
  Wrapper& back() const { return (*this)[size() - 1]; }
  iterator begin() const { return iterator(messages_->data()); }
  iterator end() const { return iterator(messages_->data() + messages_->size()); }

  void push_back(const Wrapper& message) { messages_->push_back(message); }
  void push_back(Wrapper&& message) { messages_->push_back(static_cast<YMMessageBase&&>(message)); }
  /// A new message at the end.
  Wrapper& emplace_back()
  {
    messages_->push_back(Wrapper());
    return back();
  }
  void pop_back() { messages_->pop_back(); }
  void erase(std::size_t i) { messages_->erase(messages_->begin() + static_cast<std::ptrdiff_t>(i)); }
  void clear() { messages_->clear(); }
  void reserve(std::size_t count) { messages_->reserve(count); }
  Messages& messages() const noexcept { return *messages_; }

private:
  Messages* messages_;
};

}  // namespace kwxml
