// Values of messages as wholes: deep copy, equality, deletion, for every field type through the one
// dispatcher.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/AccessorRules.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageLife.h>

#include <algorithm>
#include <memory>

using Parts = kwxml::MessageAccess;

// ---- Copy

// Values behind pointers may hold messages again. Each type's branch is a function of its own, so that one
// level of nesting costs the stack of one branch and not of all of them.
//
// Encodings bound how deep messages nest, callers do not: what lies deeper is put aside, and done by the
// outermost of the calls that are open.

namespace {

template <class Value>
constexpr bool holdsMessages = std::is_same_v<Value, YMMessageBase>;
template <>
constexpr bool holdsMessages<std::vector<YMMessageBase>> = true;
template <class Key>
constexpr bool holdsMessages<std::map<Key, YMMessageBase>> = true;

/// Work of one kind on values that hold messages, by one thread.
struct NestedWork
{
  struct Item
  {
    void (*work)(NestedWork&, const Item&);
    void* target;
    const void* source;
  };
  int depth = 0;
  bool equal = true;  ///< what was compared so far is
  std::vector<Item> aside{};

  /// Does the work now, or puts it aside; `open` is where the thread keeps the outermost call's.
  template <class Work>
  static bool run(NestedWork*& open, const Item& item, Work work)
  {
    if (open != nullptr && open->depth >= kwxml::maxMessageNesting) {
      open->aside.push_back(item);
      return true;
    }
    if (open != nullptr) {
      const Deeper deeper(*open);
      return work();
    }
    NestedWork outermost;
    const Opened opened(open, outermost);
    bool good = work();
    while (good && !outermost.aside.empty()) {
      const Item next = outermost.aside.back();
      outermost.aside.pop_back();
      next.work(outermost, next);
      good = outermost.equal;
    }
    return good;
  }

private:
  struct Deeper
  {
    explicit Deeper(NestedWork& work) : work(work) { ++work.depth; }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    ~Deeper() { --work.depth; }
    NestedWork& work;
  };
  struct Opened
  {
    Opened(NestedWork*& place, NestedWork& work) : place(place) { place = &work; }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { place = nullptr; }
    NestedWork*& place;
  };
};

thread_local NestedWork* copying = nullptr;
thread_local NestedWork* comparing = nullptr;

template <class Value>
[[gnu::noinline]] void copyObject(Value*& target, const Value* source)
{
  if constexpr (holdsMessages<Value>) {
    if (source != nullptr) {
      const NestedWork::Item item{[](NestedWork&, const NestedWork::Item& later) {
                                    auto*& place = *static_cast<Value**>(later.target);
                                    place = new Value(*static_cast<const Value*>(later.source));
                                  },
                                  &target, source};
      std::unique_ptr<Value> copy;
      NestedWork::run(copying, item, [&] {
        copy = std::make_unique<Value>(*source);
        return true;
      });
      delete std::exchange(target, copy.release());
      return;
    }
  }
  Value* copy = nullptr;
  if (source != nullptr) {
    copy = new Value(*source);
  } else if constexpr (!std::is_same_v<Value, YMMessageBase>) {
    copy = new Value;  // a collection that was only marked set is an empty one
  }
  delete std::exchange(target, copy);
}

}  // namespace

/// Values that lie deep, to be ended by the outermost call that is open. Ending takes no memory: the values
/// are linked through the caches of one message that each holds.
struct kwxml::MessageLife::Ending
{
  using End = void (*)(void*) noexcept;
  int depth = 0;
  YMMessageBase* aside = nullptr;

  static Ending& open()
  {
    thread_local constinit Ending ending;
    return ending;
  }

  template <class Value>
  void end(Value* value) noexcept
  {
    if (depth >= maxMessageNesting) {
      if (YMMessageBase* const message = anyMessage(*value)) {
        destroyCaches(*message);
        message->serializedXml_ = reinterpret_cast<std::string*>(aside);
        message->lastSerializedXml_ = reinterpret_cast<std::string*>(value);
        message->m_wsLastErrorEnglish = reinterpret_cast<XMLChstring*>(
            static_cast<End>([](void* later) noexcept { delete static_cast<Value*>(later); }));
        aside = message;
        return;
      }
    }
    ++depth;
    delete value;
    while (depth == 1 && aside != nullptr) {
      YMMessageBase& message = *aside;
      aside = reinterpret_cast<YMMessageBase*>(std::exchange(message.serializedXml_, nullptr));
      void* const later = std::exchange(message.lastSerializedXml_, nullptr);
      reinterpret_cast<End>(std::exchange(message.m_wsLastErrorEnglish, nullptr))(later);
    }
    --depth;
  }

private:
  static YMMessageBase* anyMessage(YMMessageBase& message) { return &message; }
  static YMMessageBase* anyMessage(std::vector<YMMessageBase>& list)
  {
    return list.empty() ? nullptr : &list.front();
  }
  template <class Key>
  static YMMessageBase* anyMessage(std::map<Key, YMMessageBase>& map)
  {
    return map.empty() ? nullptr : &map.begin()->second;
  }
};

template <class Value>
void kwxml::MessageLife::destroyObject(Value*& target) noexcept
{
  Value* const value = std::exchange(target, nullptr);
  if constexpr (holdsMessages<Value>) {
    if (value != nullptr) {
      Ending::open().end(value);
    }
  } else {
    delete value;
  }
}

void kwxml::MessageLife::copyValue(YMMessageBase& to, const YMMessageBase& from, const FieldDef& def)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (StringSlot<Tag>) {
      inPlace<Value>(to, def.slot) = inPlace<Value>(from, def.slot);
    } else if constexpr (InPlaceValue<Tag>) {
      raw(to, def.slot) = raw(from, def.slot);
    } else if constexpr (ObjectValue<Tag>) {
      copyObject(pointer<Value>(to, def.slot), pointer<Value>(from, def.slot));
    }
  });
  mark(to, def);
}

void kwxml::MessageLife::constructCopy(YMMessageBase& to, const YMMessageBase& from, const FieldDef& def)
{
  constructNothing(to, def);
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (StringSlot<Tag>) {
      inPlace<Value>(to, def.slot) = inPlace<Value>(from, def.slot);
    } else if constexpr (ObjectValue<Tag>) {
      copyObject(pointer<Value>(to, def.slot), pointer<Value>(from, def.slot));
    }
  });
}

void kwxml::MessageLife::constructEmpty(YMMessageBase& to, const FieldDef& def)
{
  constructNothing(to, def);
  if (def.type == FIELD_BSTRING) {
    pointer<bstring>(to, def.slot) = new bstring;
  } else if (def.type == FIELD_PSTRING) {
    pointer<pstring>(to, def.slot) = new pstring;
  }
}

void kwxml::MessageLife::constructNothing(YMMessageBase& to, const FieldDef& def) noexcept
{
  long long& slot = to.buffer_[def.slot];
  if (def.type == FIELD_STRING) {
    new (&slot) std::string;
  } else if (def.type == FIELD_WSTRING) {
    new (&slot) std::wstring;
  } else {
    slot = 0;
  }
}

// ---- Equality

namespace {

struct Equal
{
  template <class T>
  bool operator()(const T& a, const T& b) const
  {
    return a == b;  // a NaN in a list equals nothing, and 0.0 equals -0.0
  }
  bool operator()(const bstring& a, const bstring& b) const { return a.text() == b.text(); }
  template <class T>
  bool operator()(const std::vector<T>& a, const std::vector<T>& b) const
  {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), Equal());
  }
  template <class K, class V>
  bool operator()(const std::map<K, V>& a, const std::map<K, V>& b) const
  {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
      return Equal()(x.first, y.first) && Equal()(x.second, y.second);
    });
  }
};

template <class Value>
[[gnu::noinline]] bool equalObjects(const Value* a, const Value* b)
{
  if (a != nullptr && b != nullptr) {
    if constexpr (holdsMessages<Value>) {
      const NestedWork::Item item{[](NestedWork& work, const NestedWork::Item& later) {
                                    work.equal = Equal()(*static_cast<const Value*>(later.target),
                                                         *static_cast<const Value*>(later.source));
                                  },
                                  const_cast<Value*>(a), b};
      return NestedWork::run(comparing, item, [&] { return Equal()(*a, *b); });
    } else {
      return Equal()(*a, *b);
    }
  }
  if constexpr (requires { a->empty(); }) {  // a collection never made is an empty one
    return (a == nullptr || a->empty()) && (b == nullptr || b->empty());
  }
  return a == b;
}

bool equalValues(const YMMessageBase& a, const YMMessageBase& b, const FieldDef& def)
{
  return kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (kwxml::StringSlot<Tag>) {
      return Parts::inPlace<Value>(a, def.slot) == Parts::inPlace<Value>(b, def.slot);
    } else if constexpr (kwxml::InPlaceValue<Tag>) {
      return Parts::raw(a, def.slot) == Parts::raw(b, def.slot);
    } else if constexpr (kwxml::ObjectValue<Tag>) {
      return equalObjects(Parts::pointer<Value>(a, def.slot), Parts::pointer<Value>(b, def.slot));
    } else {
      return Tag::type != FIELD_INVALID;
    }
  });
}

}  // namespace

bool YMMessageBase::operator==(const YMMessageBase& other) const
{
  if (other.class_ == nullptr || class_ == nullptr || class_ != other.class_) {
    return false;
  }
  for (const FieldDef& def : *class_) {
    if (def.hash == 0) {
      continue;
    }
    const bool set = Parts::isSet(*this, def);
    if (set != Parts::isSet(other, def) || (set && !equalValues(*this, other, def))) {
      return false;
    }
  }
  return true;
}

// ---- Elements of lists

void kwxml::MessageAccess::listElements(YMMessageBase& m, const FieldDef& def, std::vector<void*>& out)
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag>) {
      if (auto* list = pointer<typename Tag::Value>(m, def.slot)) {
        out.reserve(out.size() + list->size());
        for (auto& element : *list) {
          out.push_back(&element);
        }
      }
    } else if constexpr (InPlaceValue<Tag>) {
      if (isSet(m, def)) {
        out.push_back(&raw(m, def.slot));
      }
    }
  });
}

bool kwxml::MessageAccess::appendElement(YMMessageBase& m, const FieldDef& def, const void* value)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag>) {
      using List = typename Tag::Value;
      List*& list = pointer<List>(m, def.slot);
      if (list == nullptr) {
        list = new List;
      }
      list->push_back(*static_cast<const typename List::value_type*>(value));
      mark(m, def);
    }
    return ListValue<Tag>;
  });
}

// ---- Deletion

void kwxml::MessageLife::dropValue(YMMessageBase& m, const FieldDef& def, bool destroying) noexcept
{
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (StringSlot<Tag>) {
      Value& text = inPlace<Value>(m, def.slot);
      if (destroying) {
        text.~Value();
      } else {
        text.clear();
      }
    } else if constexpr (ByteString<Tag> || PasswordString<Tag>) {
      Value*& bytes = pointer<Value>(m, def.slot);
      if (destroying) {
        destroyObject(bytes);
      } else if (bytes != nullptr) {
        *bytes = Value();
      }
    } else if constexpr (ObjectValue<Tag>) {
      destroyObject(pointer<Value>(m, def.slot));
    } else if constexpr (InPlaceValue<Tag>) {
      raw(m, def.slot) = 0;  // a value that was dropped does not come back when its bit is set again
    }
  });
}

void YMMessageBase::deleteMember(short field, unsigned long tag, unsigned long hash, bool destroying)
{
  const FieldDef* def = nullptr;
  if (static_cast<unsigned short>(field) >= buffer_.bitCount()) {
    kwxml::AccessorRules::logInvalidField(
        *this, "void YMMessageBase::deleteMember(short int, long unsigned int, long unsigned int, bool)",
        field);
    return;
  }
  if (tag == tagId_) {
    def = &class_->fields[field];
  } else if (def = kwxml::findFieldOrFormer(*class_, hash); def == nullptr) {
    kwxml::AccessorRules::logUnknownHash(
        *this, "void YMMessageBase::deleteMember(short int, long unsigned int, long unsigned int, bool)", tag,
        hash);
    return;
  }
  kwxml::MessageLife::dropValue(*this, *def, destroying);
  if (destroying && kwxml::fieldTypeInfo(def->type).slots == 4) {
    // The slots must stay a valid string as long as the message lives.
    if (def->type == FIELD_STRING) {
      new (&buffer_[def->slot]) std::string;
    } else {
      new (&buffer_[def->slot]) std::wstring;
    }
  }
  buffer_.clearBit(
      static_cast<short>(def - class_->fields));  // records without a type carry no number of their own
}

// ---- Bits of whole messages

void YMMessageBase::setEveryPrimitiveBitset(bool on)
{
  if (class_ == nullptr) {
    return;
  }
  for (const FieldDef& def : *class_) {
    if (def.hash == 0) {
      continue;
    }
    kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (kwxml::InPlaceValue<Tag>) {
        on ? buffer_.setBit(def.fieldNumber) : buffer_.clearBit(def.fieldNumber);
      } else if constexpr (kwxml::ByteString<Tag> || kwxml::PasswordString<Tag>) {
        if (on) {
          auto*& bytes = Parts::pointer<typename Tag::Value>(*this, def.slot);
          delete std::exchange(bytes, new typename Tag::Value);
          Parts::mark(*this, def);
        } else {
          deleteMember(def.fieldNumber, tagId_, def.hash, false);
        }
      }
    });
  }
}

void YMMessageBase::setMemberTestBit(const std::string& name, bool on)
{
  const FieldDef* def = class_ != nullptr
                            ? kwxml::findFieldOrFormer(*class_, kwxml::nameHash(name.data(), name.size()))
                            : nullptr;
  if (def == nullptr || static_cast<std::uint16_t>(def->fieldNumber) == kwxml::DefaultValue::noField) {
    return;
  }
  if (on) {
    XMLDebug::getInstance()->logError("YMMessageBase::setMemberTestBit", "[%s]",
                                      "You cannot enable a field without passing the value");
    return;
  }
  deleteMember(def->fieldNumber, tagId_, def->hash, false);
}
