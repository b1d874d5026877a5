// The collections of messages and of enumerators as wrappers give them.
//
// All are views, which own nothing. A view holds as long as the message keeps the collection; an iterator or
// a reference out of the view holds until the collection is changed. messages() and numbers() give the
// collection itself.
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
/// enumerators as enumerators. A random access iterator over the elements of a vector; it holds as long as
/// that vector's own would.
template <class Value, class Stored>
class ElementIterator
{
public:
  /// True where elements are given as values (enumerators), false where references are given (messages).
  static constexpr bool givesValues = std::is_enum_v<Value>;
  /// That of any random access iterator; <iterator> would take a tenth of a wrapper header's compile time.
  using iterator_concept = std::vector<YMMessageBase>::iterator::iterator_category;
  using iterator_category = iterator_concept;                             ///< the same
  using value_type = std::remove_cv_t<Value>;                             ///< wrapper or enumeration
  using difference_type = std::ptrdiff_t;                                 ///< a count of elements
  using pointer = Value*;                                                 ///< of messages alone
  using reference = std::conditional_t<givesValues, value_type, Value&>;  ///< what `*` gives

  /// An iterator of no list.
  ElementIterator() = default;
  /// At the element that `at` points to.
  explicit ElementIterator(Stored* at) : at_(at) {}

  /// The element. There must be one.
  reference operator*() const
  {
    if constexpr (givesValues) {
      return static_cast<Value>(*at_);
    } else {
      return as<value_type>(*at_);
    }
  }
  /// A member of the message. There must be one.
  pointer operator->() const requires(!givesValues) { return &**this; }
  /// The element `n` places further on.
  reference operator[](difference_type n) const { return *(*this + n); }
  /// One element on.
  ElementIterator& operator++() { return *this += 1; }
  /// One element back.
  ElementIterator& operator--() { return *this += -1; }
  /// One element on; gives the place before that.
  ElementIterator operator++(int) { return ElementIterator(at_++); }
  /// One element back; gives the place before that.
  ElementIterator operator--(int) { return ElementIterator(at_--); }
  /// `n` elements on, or back for a negative number.
  ElementIterator& operator+=(difference_type n)
  {
    at_ += n;
    return *this;
  }
  /// `n` elements back.
  ElementIterator& operator-=(difference_type n) { return *this += -n; }
  /// The place `n` elements further on.
  friend ElementIterator operator+(ElementIterator i, difference_type n) { return i += n; }
  friend ElementIterator operator+(difference_type n, ElementIterator i) { return i += n; }
  /// The place `n` elements before, or the number of elements from `b` to `a`.
  friend ElementIterator operator-(ElementIterator i, difference_type n) { return i -= n; }
  friend difference_type operator-(ElementIterator a, ElementIterator b) { return a.at_ - b.at_; }
  /// By the places in one list.
  friend auto operator<=>(ElementIterator, ElementIterator) = default;

private:
  Stored* at_ = nullptr;
};

/// What the views of lists share: elements of `Value` that stand as `Stored` in the list `Values`, which is
/// constant where the view is to read. A view is a pointer: copies of it see the same list.
template <class Value, class Stored, class Values>
class ListView
{
public:
  using value_type = std::remove_cv_t<Value>;       ///< wrapper or enumeration
  using iterator = ElementIterator<Value, Stored>;  ///< of random access
  using const_iterator = iterator;                 ///< the same: the view's own type says what may be changed
  using reference = typename iterator::reference;  ///< a wrapper's reference, or an enumerator

  /// Whether the list has no element.
  bool empty() const noexcept { return values_->empty(); }
  /// Number of elements.
  std::size_t size() const noexcept { return values_->size(); }
  /// The element at `i`, which there must be.
  reference operator[](std::size_t i) const { return *iterator(&(*values_)[i]); }
  /// The element at `i`. Throws std::out_of_range where there is none.
  reference at(std::size_t i) const { return *iterator(&values_->at(i)); }
  /// The first element, which there must be.
  reference front() const { return (*this)[0]; }
  /// The last element, which there must be.
  reference back() const { return (*this)[size() - 1]; }
  /// The first element.
  iterator begin() const { return iterator(values_->data()); }
  /// The end behind the last element.
  iterator end() const { return iterator(values_->data() + values_->size()); }

  /// The same as begin().
  iterator cbegin() const { return begin(); }
  /// The same as end().
  iterator cend() const { return end(); }
  /// Whether both lists have equal elements in one order.
  friend bool operator==(const ListView& a, const ListView& b) { return *a.values_ == *b.values_; }

protected:
  /// A view of `values`, which must outlive it.
  explicit ListView(Values& values) : values_(&values) {}

  Values* values_;  ///< the list itself
};

/// What the views of lists that may be changed have besides.
template <class Value, class Stored>
class ChangingListView : public ListView<Value, Stored, std::vector<Stored>>
{
public:
  using typename ListView<Value, Stored, std::vector<Stored>>::iterator;

  /// Removes the last element, which there must be.
  void pop_back() { this->values_->pop_back(); }
  /// Removes the element at a position, where there must be one. With an iterator: gives the place behind.
  void erase(std::size_t i) { erase(this->begin() + static_cast<std::ptrdiff_t>(i)); }
  iterator erase(iterator at) { return erase(at, at + 1); }
  /// Removes the elements from `first` up to `last`, without that one; gives the place behind them.
  iterator erase(iterator first, iterator last)
  {
    const auto at = first - this->begin();
    this->values_->erase(place(at), place(last - this->begin()));
    return this->begin() + at;
  }
  /// Removes all elements.
  void clear() { this->values_->clear(); }
  /// Makes room for `count` elements, so that adding them moves none.
  void reserve(std::size_t count) { this->values_->reserve(count); }

protected:
  using ListView<Value, Stored, std::vector<Stored>>::ListView;

  /// The list's own iterator at a position.
  auto place(std::ptrdiff_t at) const { return this->values_->begin() + at; }
};

/// The messages of a list field as their wrappers, to read, each given as kwxml::as() does.
template <class Wrapper>
class ConstMessageList : public ListView<const Wrapper, const YMMessageBase, const std::vector<YMMessageBase>>
{
public:
  using Messages = std::vector<YMMessageBase>;  ///< what the message holds
  using value_type = Wrapper;                   ///< the wrapper

  /// A view of `messages`, which must outlive it. Null is an empty list.
  ConstMessageList(const Messages* messages) : ConstMessageList::ListView(orEmpty(messages)) {}

  /// The list itself.
  const Messages& messages() const noexcept { return *this->values_; }
};

/// The messages of a list field as their wrappers, to change.
template <class Wrapper>
class MessageList : public ChangingListView<Wrapper, YMMessageBase>
{
public:
  using Messages = std::vector<YMMessageBase>;  ///< what the message holds
  using typename ChangingListView<Wrapper, YMMessageBase>::iterator;

  /// A view of `messages`, which must outlive it. Null is a list that is never read again.
  MessageList(Messages* messages) : MessageList::ChangingListView(orScratch(messages)) {}
  /// The same list, to read.
  operator ConstMessageList<Wrapper>() const { return this->values_; }

  /// Adds a copy of the message at the end, or the message itself where it is given away.
  void push_back(const Wrapper& message) { this->values_->push_back(message); }
  void push_back(Wrapper&& message) { this->values_->push_back(static_cast<YMMessageBase&&>(message)); }
  /// Adds a new message with its defaults at the end, and gives it.
  Wrapper& emplace_back()
  {
    this->values_->push_back(Wrapper());
    return this->back();
  }
  /// Adds a copy of the message at the end, or the message itself where it is given away, and gives it.
  Wrapper& emplace_back(Wrapper message)
  {
    push_back(std::move(message));
    return this->back();
  }
  /// Adds the message before the one at `before`, or at the end; gives the place of the added one.
  iterator insert(iterator before, Wrapper message)
  {
    const auto at = before - this->begin();
    this->values_->insert(this->place(at), static_cast<YMMessageBase&&>(message));
    return this->begin() + at;
  }
  /// Adds copies of the messages from `first` up to `last`, which are none of this list, before the one at
  /// `before`, or at the end; gives the place of the first of them.
  template <class Iterator>
  iterator insert(iterator before, Iterator first, Iterator last)
  {
    const auto at = before - this->begin();
    this->values_->insert(this->place(at), first, last);
    return this->begin() + at;
  }
  iterator insert(iterator before, std::initializer_list<Wrapper> messages)
  {
    return insert(before, messages.begin(), messages.end());
  }
  /// Removes the messages for which `predicate(const Wrapper&)` is true, and gives their number.
  template <class Predicate>
  friend std::size_t erase_if(MessageList list, Predicate predicate)
  {
    return std::erase_if(*list.values_, [&predicate](const YMMessageBase& message) {
      return predicate(as<Wrapper>(message));
    });
  }
  /// The list itself.
  Messages& messages() const noexcept { return *this->values_; }
};

/// The enumerators of a list field, to read. The message holds their numbers, and any number may stand there.
template <class Enum>
class ConstEnumList : public ListView<Enum, const unsigned int, const std::vector<unsigned int>>
{
public:
  using Numbers = std::vector<unsigned int>;  ///< what the message holds

  /// A view of `numbers`, which must outlive it. Null is an empty list.
  ConstEnumList(const Numbers* numbers) : ConstEnumList::ListView(orEmpty(numbers)) {}
  /// The list itself.
  operator const Numbers&() const noexcept { return *this->values_; }
  /// The list itself.
  const Numbers& numbers() const noexcept { return *this->values_; }
  /// Whether the list has these numbers, in this order.
  friend bool operator==(const ConstEnumList& list, const Numbers& numbers)
  {
    return *list.values_ == numbers;
  }
};

/// The enumerators of a list field, to change.
template <class Enum>
class EnumList : public ChangingListView<Enum, unsigned int>
{
public:
  using Numbers = std::vector<unsigned int>;  ///< what the message holds

  /// A view of `numbers`, which must outlive it. Null is a list that is never read again.
  EnumList(Numbers* numbers) : EnumList::ChangingListView(orScratch(numbers)) {}
  /// The same list, to read.
  operator ConstEnumList<Enum>() const { return this->values_; }
  /// The list itself.
  operator Numbers&() const noexcept { return *this->values_; }
  /// The list itself.
  Numbers& numbers() const noexcept { return *this->values_; }

  /// The element at `i`, which there must be, becomes `value`.
  void set(std::size_t i, Enum value) { (*this->values_)[i] = static_cast<unsigned int>(value); }
  /// Adds the enumerator before the one at `before`, or at the end; gives the place of the added one.
  typename EnumList::iterator insert(typename EnumList::iterator before, Enum value)
  {
    const auto at = before - this->begin();
    this->values_->insert(this->place(at), static_cast<unsigned int>(value));
    return this->begin() + at;
  }
  /// Removes the enumerators for which `predicate(Enum)` is true, and gives their number.
  template <class Predicate>
  friend std::size_t erase_if(EnumList list, Predicate predicate)
  {
    return std::erase_if(*list.values_,
                         [&predicate](unsigned int number) { return predicate(static_cast<Enum>(number)); });
  }
  /// Adds an enumerator at the end.
  void push_back(Enum value) { this->values_->push_back(static_cast<unsigned int>(value)); }
};

/// Moves the messages of `from` into `to`, in place of the former ones.
template <class List>
void assignMessages(std::vector<YMMessageBase>& to, List&& from)
{
  to.clear();
  to.reserve(from.size());
  for (YMMessageBase& message : from) {
    to.push_back(std::move(message));
  }
}
/// Copies the numbers of the enumerators of `from` into `to`, in place of the former ones.
template <class List>
void assignEnumerators(std::vector<unsigned int>& to, const List& from)
{
  to.clear();
  to.reserve(from.size());
  for (const auto enumerator : from) {
    to.push_back(static_cast<unsigned int>(enumerator));
  }
}

/// Copies the entries of `from`, a map of wrappers, into `to`, in place of the former ones.
template <class Key, class Map>
void assignEntries(std::map<Key, YMMessageBase>& to, const Map& from)
{
  to.clear();
  for (const auto& [key, message] : from) {
    to.emplace(key, message);
  }
}

/// Steps through a map of messages; gives pairs of a constant reference to the key and one to the wrapper. It
/// goes in both directions, and holds as long as the map's own iterator would.
template <class Key, class Wrapper, class Place>
class MapIterator
{
public:
  using iterator_concept = typename Place::iterator_category;  ///< that of the map's iterators
  using iterator_category = iterator_concept;                  ///< the same
  using value_type = std::pair<const Key&, Wrapper&>;          ///< key and message
  using difference_type = std::ptrdiff_t;                      ///< a count of entries
  using reference = value_type;                                ///< what `*` gives
  /// What `->` points to, for as long as it takes.
  struct pointer
  {
    value_type pair;  ///< key and message
    /// The pair.
    const value_type* operator->() const { return &pair; }
  };

  /// An iterator of no map.
  MapIterator() = default;
  /// At the entry that the map's own iterator `at` is at.
  explicit MapIterator(Place at) : at_(at) {}

  /// Key and message. There must be an entry.
  reference operator*() const { return {at_->first, as<std::remove_cv_t<Wrapper>>(at_->second)}; }
  /// `first` or `second` of them.
  pointer operator->() const { return {**this}; }
  /// One entry on.
  MapIterator& operator++()
  {
    ++at_;
    return *this;
  }
  /// One entry back.
  MapIterator& operator--()
  {
    --at_;
    return *this;
  }
  /// One entry on; gives the place before that.
  MapIterator operator++(int) { return MapIterator(at_++); }
  /// One entry back; gives the place before that.
  MapIterator operator--(int) { return MapIterator(at_--); }
  /// The map's own iterator.
  Place place() const { return at_; }
  /// Whether both are at one entry of one map.
  friend bool operator==(const MapIterator&, const MapIterator&) = default;

private:
  Place at_{};
};

/// What the views of maps share; `Messages` is constant where the view is to read. A view is a pointer:
/// copies of it see the same map.
template <class Key, class Wrapper, class Messages, class Place>
class MapView
{
public:
  using key_type = Key;  ///< a number, a text or a message
  using value_type =
      typename MapIterator<Key, Wrapper, Place>::value_type;  ///< key and message, by reference
  using mapped_type = std::remove_cv_t<Wrapper>;              ///< the wrapper
  using iterator = MapIterator<Key, Wrapper, Place>;          ///< of both directions
  using const_iterator = iterator;  ///< the same: the view's own type says what may be changed

  /// Whether the map has no entry.
  bool empty() const noexcept { return messages_->empty(); }
  /// Number of entries.
  std::size_t size() const noexcept { return messages_->size(); }
  /// Whether there is a message under the key.
  bool contains(const Key& key) const { return messages_->contains(key); }
  /// 1 where there is a message under the key, else 0.
  std::size_t count(const Key& key) const { return messages_->count(key); }
  /// The entry of the key, or end().
  iterator find(const Key& key) const { return iterator(messages_->find(key)); }
  /// The message under the key. Throws std::out_of_range where there is none.
  Wrapper& at(const Key& key) const { return as<mapped_type>(messages_->at(key)); }
  /// The first entry, in the order of keys.
  iterator begin() const { return iterator(messages_->begin()); }
  /// The end behind the last entry.
  iterator end() const { return iterator(messages_->end()); }
  /// The map itself.
  operator Messages&() const noexcept { return *messages_; }
  /// The map itself.
  Messages& messages() const noexcept { return *messages_; }

protected:
  /// A view of `messages`, which must outlive it.
  explicit MapView(Messages& messages) : messages_(&messages) {}

  Messages* messages_;  ///< the map itself
};

/// The messages of a map field as their wrappers, to read, each given as kwxml::as() does.
template <class Key, class Wrapper>
class ConstMessageMap : public MapView<Key, const Wrapper, const std::map<Key, YMMessageBase>,
                                       typename std::map<Key, YMMessageBase>::const_iterator>
{
public:
  using Messages = std::map<Key, YMMessageBase>;  ///< what the message holds

  /// A view of `messages`, which must outlive it. Null is an empty map.
  ConstMessageMap(const Messages* messages) : ConstMessageMap::MapView(orEmpty(messages)) {}
  /// Whether the map has these messages under these keys.
  friend bool operator==(const ConstMessageMap& map, const Messages& messages)
  {
    return *map.messages_ == messages;
  }
};

/// The messages of a map field as their wrappers, to change.
template <class Key, class Wrapper>
class MessageMap : public MapView<Key, Wrapper, std::map<Key, YMMessageBase>,
                                  typename std::map<Key, YMMessageBase>::iterator>
{
public:
  using Messages = std::map<Key, YMMessageBase>;  ///< what the message holds
  using typename MessageMap::MapView::iterator;

  /// A view of `messages`, which must outlive it. Null is a map that is never read again.
  MessageMap(Messages* messages) : MessageMap::MapView(orScratch(messages)) {}
  /// The same map, to read.
  operator ConstMessageMap<Key, Wrapper>() const { return this->messages_; }

  /// The message under the key, a new one with its defaults where there was none.
  Wrapper& operator[](const Key& key) const
  {
    const auto found = this->messages_->find(key);
    return as<Wrapper>(found != this->messages_->end()
                           ? found->second
                           : this->messages_->emplace(key, Wrapper()).first->second);
  }
  /// Adds the message under the key; one that is there stays. Gives its place, and whether it was added.
  std::pair<iterator, bool> emplace(const Key& key, Wrapper message) const
  {
    const auto [at, made] = this->messages_->emplace(key, static_cast<YMMessageBase&&>(message));
    return {iterator(at), made};
  }
  /// Puts the message under the key, in place of one that is there.
  void insert_or_assign(const Key& key, Wrapper message) const
  {
    this->messages_->insert_or_assign(key, static_cast<YMMessageBase&&>(message));
  }
  /// Removes the entry of the key; gives how many were removed: 1 or 0.
  std::size_t erase(const Key& key) const { return this->messages_->erase(key); }
  /// Removes the entry at a place, where there must be one; gives the next one.
  iterator erase(iterator at) const { return iterator(this->messages_->erase(at.place())); }
  /// Removes the entries for which `predicate` is true of the pair that iterators give; gives their number.
  template <class Predicate>
  friend std::size_t erase_if(MessageMap map, Predicate predicate)
  {
    const std::size_t before = map.size();
    for (iterator at = map.begin(); at != map.end();) {
      if (predicate(*at)) {
        at = map.erase(at);
      } else {
        ++at;
      }
    }
    return before - map.size();
  }
  /// Removes all entries.
  void clear() const { this->messages_->clear(); }
};

}  // namespace kwxml

// The views own nothing: iterators outlive them.
template <class Wrapper>
inline constexpr bool std::ranges::enable_borrowed_range<kwxml::ConstMessageList<Wrapper>> = true;
template <class Wrapper>
inline constexpr bool std::ranges::enable_borrowed_range<kwxml::MessageList<Wrapper>> = true;
template <class Enum>
inline constexpr bool std::ranges::enable_borrowed_range<kwxml::ConstEnumList<Enum>> = true;
template <class Enum>
inline constexpr bool std::ranges::enable_borrowed_range<kwxml::EnumList<Enum>> = true;
