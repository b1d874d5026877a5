#include "Collections.h"
#include "Values.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kwxml::python {

namespace {

/// The objects of messages that lie in a vector, out of the reach of their parent while the vector is
/// changed, and given the new addresses afterwards.
class LiveElements
{
public:
  /// Throws std::bad_alloc, with nothing changed.
  LiveElements(MessageObject& parent, const std::vector<YMMessageBase>& elements) : parent_(parent)
  {
    if (parent.children == nullptr) {
      return;
    }
    const YMMessageBase* const begin = elements.data();
    const auto first = parent.children->lower_bound(begin);
    const auto last = parent.children->lower_bound(begin + elements.size());
    live_.reserve(static_cast<std::size_t>(std::distance(first, last)));
    for (auto at = first; at != last;) {
      const auto index = static_cast<std::size_t>(at->first - begin);
      live_.push_back({index, parent.children->extract(at++)});
    }
  }
  /// Those that have found no new place stay at the old one.
  ~LiveElements()
  {
    for (auto& [index, child] : live_) {
      if (!child.empty()) {
        parent_.children->insert(std::move(child));
      }
    }
  }
  LiveElements(const LiveElements&) = delete;
  LiveElements& operator=(const LiveElements&) = delete;

  /// Of each: its index, and the node to move to another place.
  std::vector<std::pair<std::size_t, Children::node_type>>& all() { return live_; }
  /// Puts one under its new address.
  void move(Children::node_type& child, YMMessageBase& to)
  {
    child.key() = &to;
    child.mapped()->message = &to;
    parent_.children->insert(std::move(child));
    child = {};
  }

private:
  MessageObject& parent_;
  std::vector<std::pair<std::size_t, Children::node_type>> live_;
};

/// Gives a list of messages other elements: those of `order` are indices of present elements, and for
/// std::nullopt the next of `added` is taken. Objects of elements that are left out become those of whole
/// messages. Throws std::bad_alloc, with nothing changed. (Assignment of messages is not used: it refuses
/// other classes.)
void rebuild(MessageObject& message, std::vector<YMMessageBase>& elements,
             const std::vector<std::optional<std::size_t>>& order, std::vector<YMMessageBase>& added)
{
  std::vector<std::size_t> placeOf(elements.size(), order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (order[i]) {
      placeOf[*order[i]] = i;
    }
  }
  std::vector<YMMessageBase> next;
  next.reserve(order.size());
  LiveElements live(message, elements);
  std::vector<std::unique_ptr<YMMessageBase>> graves;
  for (const auto& [index, child] : live.all()) {
    graves.push_back(placeOf[index] == order.size() ? std::make_unique<YMMessageBase>() : nullptr);
  }
  // From here on nothing fails.
  auto fresh = added.begin();
  for (const std::optional<std::size_t>& from : order) {
    next.push_back(std::move(from ? elements[*from] : *fresh++));
  }
  for (std::size_t i = 0; i < graves.size(); ++i) {
    auto& [index, child] = live.all()[i];
    if (graves[i] != nullptr) {
      *graves[i] = std::move(elements[index]);
      setFree(std::move(child), std::move(graves[i]));
      child = {};
    } else {
      live.move(child, next[placeOf[index]]);
    }
  }
  elements.swap(next);
}

/// Appends messages. Throws std::bad_alloc, with nothing changed.
void append(MessageObject& message, std::vector<YMMessageBase>& elements, std::vector<YMMessageBase>& added)
{
  if (elements.capacity() - elements.size() < added.size()) {
    LiveElements live(message, elements);
    elements.reserve(std::max(elements.size() + added.size(), 2 * elements.size()));
    for (auto& [index, child] : live.all()) {
      live.move(child, elements[index]);
    }
  }
  for (YMMessageBase& one : added) {
    elements.push_back(std::move(one));
  }
}

template <class Element>
struct Converted final : ListAccess::Values
{
  std::vector<Element> values;
  std::size_t size() const override { return values.size(); }
};

template <FieldDataType T>
class ListOf final : public ListAccess
{
  using List = FieldValue<T>;
  using Element = typename List::value_type;
  static constexpr FieldDataType elementType = fieldTypeInfo(T).element;
  static constexpr bool ofMessages = std::is_same_v<Element, YMMessageBase>;

public:
  std::size_t size(const MessageObject& message, const FieldInfo& field) const override
  {
    const List* const list = storedIn<List>(*message.message, field);
    return list != nullptr ? list->size() : 0;
  }

  Ref item(MessageObject& message, const FieldInfo& field, std::size_t index) const override
  {
    if constexpr (ofMessages) {
      Ref found = nestedAt(message, [&]() -> YMMessageBase* {
        const List* const list = storedIn<List>(*message.message, field);
        return list != nullptr && index < list->size() ? const_cast<YMMessageBase*>(&(*list)[index])
                                                       : nullptr;
      });
      if (found == nullptr) {
        fail(PyExc_IndexError, field.path() + ": the list has changed");
      }
      return found;
    } else {
      return toPython<elementType>(field, (*storedIn<List>(*message.message, field))[index]);
    }
  }

  std::unique_ptr<Values> convert(const FieldInfo& field, PyObject* iterable) const override
  {
    auto out = std::make_unique<Converted<Element>>();
    const bool isText = PyUnicode_Check(iterable) || PyBytes_Check(iterable) || PyByteArray_Check(iterable);
    const Ref iterator(isText ? nullptr : PyObject_GetIter(iterable));
    if (iterator == nullptr) {
      if (!isText && PyErr_ExceptionMatches(PyExc_TypeError) == 0) {
        throw PythonError();
      }
      PyErr_Clear();
      failType(field, "list", iterable);
    }
    while (PyObject* const next = PyIter_Next(iterator.get())) {
      const Ref element(next);
      out->values.push_back(fromPython<elementType, Element>(field, element.get()));
    }
    if (PyErr_Occurred() != nullptr) {
      throw PythonError();
    }
    return out;
  }

  std::unique_ptr<Values> convertOne(const FieldInfo& field, PyObject* value) const override
  {
    auto out = std::make_unique<Converted<Element>>();
    out->values.push_back(fromPython<elementType, Element>(field, value));
    return out;
  }

  void put(MessageObject& message, const FieldInfo& field, std::size_t begin, std::size_t end,
           Values& values) const override
  {
    std::vector<Element>& added = static_cast<Converted<Element>&>(values).values;
    List& list = madeIn<List>(mutate(message), field);
    if constexpr (ofMessages) {
      if (begin == list.size()) {
        append(message, list, added);
        return;
      }
      std::vector<std::optional<std::size_t>> order;
      order.reserve(list.size() - (end - begin) + added.size());
      for (std::size_t i = 0; i < begin; ++i) {
        order.emplace_back(i);
      }
      order.resize(begin + added.size());
      for (std::size_t i = end; i < list.size(); ++i) {
        order.emplace_back(i);
      }
      rebuild(message, list, order, added);
    } else {
      const std::size_t left = list.size() - (end - begin);
      if (left + added.size() > list.capacity()) {
        list.reserve(std::max(left + added.size(), 2 * list.size()));
      }
      const auto common = static_cast<std::ptrdiff_t>(std::min(end - begin, added.size()));
      const auto at = list.begin() + static_cast<std::ptrdiff_t>(begin);
      std::move(added.begin(), added.begin() + common, at);
      if (static_cast<std::size_t>(common) < added.size()) {
        list.insert(at + common, std::make_move_iterator(added.begin() + common),
                    std::make_move_iterator(added.end()));
      } else {
        list.erase(at + common, list.begin() + static_cast<std::ptrdiff_t>(end));
      }
    }
  }

  void putEach(MessageObject& message, const FieldInfo& field, std::size_t begin, Py_ssize_t step,
               Values& values) const override
  {
    std::vector<Element>& added = static_cast<Converted<Element>&>(values).values;
    List& list = madeIn<List>(mutate(message), field);
    std::vector<std::optional<std::size_t>> order;
    if constexpr (ofMessages) {
      for (std::size_t i = 0; i < list.size(); ++i) {
        order.emplace_back(i);
      }
    }
    auto at = static_cast<Py_ssize_t>(begin);
    for (std::size_t i = 0; i < added.size(); ++i, at += step) {
      if constexpr (ofMessages) {
        order[static_cast<std::size_t>(at)].reset();
      } else {
        list[static_cast<std::size_t>(at)] = std::move(added[i]);
      }
    }
    if constexpr (ofMessages) {
      if (step < 0) {
        std::reverse(added.begin(), added.end());
      }
      rebuild(message, list, order, added);
    }
  }

  void erase(MessageObject& message, const FieldInfo& field, std::size_t begin, Py_ssize_t step,
             std::size_t count) const override
  {
    List& list = madeIn<List>(mutate(message), field);
    if (step < 0 && count > 0) {
      begin = static_cast<std::size_t>(static_cast<Py_ssize_t>(begin) +
                                       step * static_cast<Py_ssize_t>(count - 1));
      step = -step;
    }
    const auto stride = static_cast<std::size_t>(step);
    const auto isErased = [&](std::size_t i) {
      return i >= begin && (i - begin) % stride == 0 && (i - begin) / stride < count;
    };
    if constexpr (ofMessages) {
      std::vector<std::optional<std::size_t>> order;
      for (std::size_t i = 0; i < list.size(); ++i) {
        if (!isErased(i)) {
          order.emplace_back(i);
        }
      }
      std::vector<YMMessageBase> none;
      rebuild(message, list, order, none);
    } else {
      std::size_t kept = begin;
      for (std::size_t i = begin; i < list.size(); ++i) {
        if (!isErased(i)) {
          if (kept != i) {
            list[kept] = std::move(list[i]);
          }
          ++kept;
        }
      }
      list.resize(kept);
    }
  }

  void arrange(MessageObject& message, const FieldInfo& field,
               const std::vector<std::size_t>& order) const override
  {
    List& list = madeIn<List>(mutate(message), field);
    if constexpr (ofMessages) {
      std::vector<YMMessageBase> none;
      rebuild(message, list, {order.begin(), order.end()}, none);
    } else {
      List next;
      next.reserve(order.size());
      for (const std::size_t from : order) {
        next.push_back(std::move(list[from]));
      }
      list.swap(next);
    }
  }
};

}  // namespace

const ListAccess* listAccess(FieldDataType type)
{
  return visitFieldType(type, []<class Tag>(Tag) -> const ListAccess* {
    if constexpr (ListValue<Tag>) {
      static const auto* const access = new ListOf<Tag::type>();  // as long as the process
      return access;
    } else {
      return nullptr;
    }
  });
}

}  // namespace kwxml::python
