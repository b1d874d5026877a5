// The collections of messages and of enumerators as wrappers give them.
//
// All are views: they hold while the collection is neither destroyed nor, for what they have pointed to,
// changed. What a view is of stands behind it: messages() or numbers().
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <kwxml/model/TypedMessage.h>

#include <cstddef>
#include <initializer_list>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

namespace kwxml {

/// Steps through messages as their wrappers, which it gives as kwxml::as() does, or through the numbers of
/// enumerators as enumerators.
template <class Value, class Stored>
class ElementIterator
{
public:
  static constexpr bool givesValues = std::is_enum_v<Value>;
  // That of any random access iterator; <iterator> would take a tenth of a wrapper header's compile time.
  using iterator_concept = std::vector<YMMessageBase>::iterator::iterator_category;
  using iterator_category = iterator_concept;
  using value_type = std::remove_cv_t<Value>;
  using difference_type = std::ptrdiff_t;
  using pointer = Value*;
  using reference = std::conditional_t<givesValues, value_type, Value&>;

  ElementIterator() = default;
  explicit ElementIterator(Stored* at) : at_(at) {}

  reference operator*() const
  {
    if constexpr (givesValues) {
      return static_cast<Value>(*at_);
    } else {
      return as<value_type>(*at_);
    }
  }
  pointer operator->() const requires(!givesValues) { return &**this; }
  reference operator[](difference_type n) const { return *(*this + n); }
  ElementIterator& operator++() { return *this += 1; }
  ElementIterator& operator--() { return *this += -1; }
  ElementIterator operator++(int) { return ElementIterator(at_++); }
  ElementIterator operator--(int) { return ElementIterator(at_--); }
  ElementIterator& operator+=(difference_type n)
  {
    at_ += n;
    return *this;
  }
  ElementIterator& operator-=(difference_type n) { return *this += -n; }
  friend ElementIterator operator+(ElementIterator i, difference_type n) { return i += n; }
  friend ElementIterator operator+(difference_type n, ElementIterator i) { return i += n; }
  friend ElementIterator operator-(ElementIterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(ElementIterator a, ElementIterator b) { return a.at_ - b.at_; }
  friend auto operator<=>(ElementIterator, ElementIterator) = default;

private:
  Stored* at_ = nullptr;
};

/// The messages of a list field as their wrappers, to read, each given as kwxml::as() does.
template <class Wrapper>
class ConstMessageList
{
public:
  using Messages = std::vector<YMMessageBase>;
  using value_type = Wrapper;
  using const_iterator = ElementIterator<const Wrapper, const YMMessageBase>;
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
  using iterator = ElementIterator<Wrapper, YMMessageBase>;

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
  /// Before the message that has stood at `before`, or at the end; gives the one that has been inserted.
  iterator insert(iterator before, Wrapper message)
  {
    const auto at = before - begin();
    messages_->insert(messages_->begin() + at, static_cast<YMMessageBase&&>(message));
    return begin() + at;
  }
  void pop_back() { messages_->pop_back(); }
  void erase(std::size_t i) { messages_->erase(messages_->begin() + static_cast<std::ptrdiff_t>(i)); }
  /// Gives what stands behind what has been erased.
  iterator erase(iterator at) { return erase(at, at + 1); }
  iterator erase(iterator first, iterator last)
  {
    const auto at = first - begin();
    messages_->erase(messages_->begin() + at, messages_->begin() + (last - begin()));
    return begin() + at;
  }
  /// Erases the messages for which `predicate(const Wrapper&)` is true, and gives their number.
  template <class Predicate>
  friend std::size_t erase_if(MessageList list, Predicate predicate)
  {
    return std::erase_if(*list.messages_, [&predicate](const YMMessageBase& message) {
      return predicate(as<Wrapper>(message));
    });
  }
  void clear() { messages_->clear(); }
  void reserve(std::size_t count) { messages_->reserve(count); }
  Messages& messages() const noexcept { return *messages_; }

private:
  Messages* messages_;
};

/// The enumerators of a list field, to read. The message holds their numbers, which any may be.
template <class Enum>
class ConstEnumList
{
public:
  using Numbers = std::vector<unsigned int>;
  using value_type = Enum;
  using const_iterator = ElementIterator<Enum, const unsigned int>;
  using iterator = const_iterator;

  /// Null is an empty list.
  ConstEnumList(const Numbers* numbers) : numbers_(&orEmpty(numbers)) {}
  operator const Numbers&() const noexcept { return *numbers_; }

  bool empty() const noexcept { return numbers_->empty(); }
  std::size_t size() const noexcept { return numbers_->size(); }
  Enum operator[](std::size_t i) const { return static_cast<Enum>((*numbers_)[i]); }
  /// Throws std::out_of_range.
  Enum at(std::size_t i) const { return static_cast<Enum>(numbers_->at(i)); }
  Enum front() const { return (*this)[0]; }
  Enum back() const { return (*this)[size() - 1]; }
  const_iterator begin() const { return const_iterator(numbers_->data()); }
  const_iterator end() const { return const_iterator(numbers_->data() + numbers_->size()); }
  const Numbers& numbers() const noexcept { return *numbers_; }
  friend bool operator==(const ConstEnumList& list, const Numbers& numbers)
  {
    return *list.numbers_ == numbers;
  }

private:
  const Numbers* numbers_;
};

/// The same, to change.
template <class Enum>
class EnumList
{
public:
  using Numbers = std::vector<unsigned int>;
  using value_type = Enum;
  using const_iterator = ElementIterator<Enum, const unsigned int>;
  using iterator = const_iterator;

  /// Null is a list that is never read again.
  EnumList(Numbers* numbers) : numbers_(&orScratch(numbers)) {}
  operator ConstEnumList<Enum>() const { return numbers_; }
  operator Numbers&() const noexcept { return *numbers_; }

  bool empty() const noexcept { return numbers_->empty(); }
  std::size_t size() const noexcept { return numbers_->size(); }
  Enum operator[](std::size_t i) const { return static_cast<Enum>((*numbers_)[i]); }
  /// Throws std::out_of_range.
  Enum at(std::size_t i) const { return static_cast<Enum>(numbers_->at(i)); }
  const_iterator begin() const { return const_iterator(numbers_->data()); }
  const_iterator end() const { return const_iterator(numbers_->data() + numbers_->size()); }

  /// The element at `i`, which there must be, becomes `value`.
  void set(std::size_t i, Enum value) { (*numbers_)[i] = static_cast<unsigned int>(value); }
  void push_back(Enum value) { numbers_->push_back(static_cast<unsigned int>(value)); }
  void pop_back() { numbers_->pop_back(); }
  void erase(std::size_t i) { numbers_->erase(numbers_->begin() + static_cast<std::ptrdiff_t>(i)); }
  void clear() { numbers_->clear(); }
  void reserve(std::size_t count) { numbers_->reserve(count); }
  Numbers& numbers() const noexcept { return *numbers_; }

private:
  Numbers* numbers_;
};

/// These messages in place of the former ones.
template <class List>
void assignMessages(std::vector<YMMessageBase>& to, List&& from)
{
  to.clear();
  to.reserve(from.size());
  for (YMMessageBase& message : from) {
    to.push_back(std::move(message));
  }
}
/// The numbers of these enumerators in place of the former ones.
template <class List>
void assignEnumerators(std::vector<unsigned int>& to, const List& from)
{
  to.clear();
  to.reserve(from.size());
  for (const auto enumerator : from) {
    to.push_back(static_cast<unsigned int>(enumerator));
  }
}

/// Steps through a map of messages; gives pairs of a constant reference to the key and one to the wrapper.
template <class Key, class Wrapper, class Place>
class MapIterator
{
public:
  using iterator_concept = typename Place::iterator_category;
  using iterator_category = iterator_concept;
  using value_type = std::pair<const Key&, Wrapper&>;
  using difference_type = std::ptrdiff_t;
  using reference = value_type;
  /// What `->` points to, for as long as it takes.
  struct pointer
  {
    value_type pair;
    const value_type* operator->() const { return &pair; }
  };

  MapIterator() = default;
  explicit MapIterator(Place at) : at_(at) {}

  reference operator*() const { return {at_->first, as<std::remove_cv_t<Wrapper>>(at_->second)}; }
  pointer operator->() const { return {**this}; }
  MapIterator& operator++()
  {
    ++at_;
    return *this;
  }
  MapIterator& operator--()
  {
    --at_;
    return *this;
  }
  MapIterator operator++(int) { return MapIterator(at_++); }
  MapIterator operator--(int) { return MapIterator(at_--); }
  friend bool operator==(const MapIterator&, const MapIterator&) = default;

private:
  Place at_{};
};

/// The messages of a map field as their wrappers, to read, each given as kwxml::as() does.
template <class Key, class Wrapper>
class ConstMessageMap
{
public:
  using Messages = std::map<Key, YMMessageBase>;
  using key_type = Key;
  using mapped_type = Wrapper;
  using const_iterator = MapIterator<Key, const Wrapper, typename Messages::const_iterator>;
  using iterator = const_iterator;

  /// Null is an empty map.
  ConstMessageMap(const Messages* messages) : messages_(&orEmpty(messages)) {}
  operator const Messages&() const noexcept { return *messages_; }

  bool empty() const noexcept { return messages_->empty(); }
  std::size_t size() const noexcept { return messages_->size(); }
  bool contains(const Key& key) const { return messages_->contains(key); }
  const_iterator find(const Key& key) const { return const_iterator(messages_->find(key)); }
  /// Throws std::out_of_range as well.
  const Wrapper& at(const Key& key) const { return as<Wrapper>(messages_->at(key)); }
  const_iterator begin() const { return const_iterator(messages_->begin()); }
  const_iterator end() const { return const_iterator(messages_->end()); }
  const Messages& messages() const noexcept { return *messages_; }
  friend bool operator==(const ConstMessageMap& map, const Messages& messages)
  {
    return *map.messages_ == messages;
  }

private:
  const Messages* messages_;
};

/// The same, to change.
template <class Key, class Wrapper>
class MessageMap
{
public:
  using Messages = std::map<Key, YMMessageBase>;
  using key_type = Key;
  using mapped_type = Wrapper;
  using iterator = MapIterator<Key, Wrapper, typename Messages::iterator>;

  /// Null is a map that is never read again.
  MessageMap(Messages* messages) : messages_(&orScratch(messages)) {}
  operator ConstMessageMap<Key, Wrapper>() const { return messages_; }
  operator Messages&() const noexcept { return *messages_; }

  bool empty() const noexcept { return messages_->empty(); }
  std::size_t size() const noexcept { return messages_->size(); }
  bool contains(const Key& key) const { return messages_->contains(key); }
  iterator find(const Key& key) const { return iterator(messages_->find(key)); }
  /// Throws std::out_of_range as well.
  Wrapper& at(const Key& key) const { return as<Wrapper>(messages_->at(key)); }
  /// The message under the key, a new one where there was none.
  Wrapper& operator[](const Key& key) const
  {
    const auto found = messages_->find(key);
    return as<Wrapper>(found != messages_->end() ? found->second
                                                 : messages_->emplace(key, Wrapper()).first->second);
  }
  /// As std::map has it: a message that is there stays.
  std::pair<iterator, bool> emplace(const Key& key, Wrapper message) const
  {
    const auto [at, made] = messages_->emplace(key, static_cast<YMMessageBase&&>(message));
    return {iterator(at), made};
  }
  void insert_or_assign(const Key& key, Wrapper message) const
  {
    messages_->insert_or_assign(key, static_cast<YMMessageBase&&>(message));
  }
  iterator begin() const { return iterator(messages_->begin()); }
  iterator end() const { return iterator(messages_->end()); }
  /// How many were erased: 1 or 0.
  std::size_t erase(const Key& key) const { return messages_->erase(key); }
  void clear() const { messages_->clear(); }
  Messages& messages() const noexcept { return *messages_; }

private:
  Messages* messages_;
};

}  // namespace kwxml
