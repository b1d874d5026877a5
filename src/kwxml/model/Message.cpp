// Life of a message: construction, storage layout, copies, moves, assignment and destruction.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/MessageLife.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/text/NumberText.h>

#include <cstdarg>
#include <cstdio>
#include <memory>

using kwxml::MessageAccess;

// ---- Construction

YMMessageBase::YMMessageBase(int system, int classIndex) : YMMessageBase()
{
  kwxml::MessageLife::construct(*this, kwxml::Registry::current(), system, classIndex);
}

YMMessageBase::YMMessageBase(const kwxml::Registry& registry, int system, int classIndex) : YMMessageBase()
{
  kwxml::MessageLife::construct(*this, registry, system, classIndex);
}

YMMessageBase::YMMessageBase(int system, int classIndex, long long* buffer, int sizeInBytes) : YMMessageBase()
{
  kwxml::MessageLife::construct(*this, kwxml::Registry::current(), system, classIndex, true, buffer,
                                sizeInBytes);
}

void YMMessageBase::initialize(int system, int classIndex, bool external, long long* buffer, int size)
{
  kwxml::MessageLife::destroyValues(*this);
  kwxml::MessageLife::destroyCaches(*this);
  kwxml::MessageLife::construct(*this, kwxml::Registry::current(), system, classIndex, external, buffer,
                                size);
}

void kwxml::MessageLife::restart(YMMessageBase& m, const PackedReference& reference)
{
  destroyValues(m);
  destroyCaches(m);
  construct(m, registryOf(reference), reference.system, reference.classIndex);
}

void kwxml::MessageLife::construct(YMMessageBase& m, const Registry& registry, int system, int classIndex,
                                   bool external, long long* buffer, int size)
{
  const _ClassDef* cls = registry.findClass(system, classIndex);
  if (cls == nullptr) {
    return;  // indices come from look-ups; others give a message without a class
  }
  const ClassPlan& plan = registry.plan(static_cast<unsigned>(system), static_cast<unsigned>(classIndex));
  const short slots = cls->numberOfSlots;
  const short fields = cls->numberOfFields;
  if (external) {
    const int needed = slots * 8 + fields / 8 + 1;
    if (buffer == nullptr || needed > size) {
      const char* text = "Size of buffer provided is not sufficient";
      XMLDebug::getInstance()->logError("YMMessageBase::initialize", "[%s]", text);
      throw KwException("YMMessageBase::initialize", text);
    }
    m.buffer_.init(buffer, size, slots, fields);
  } else {
    m.buffer_.init(plan.inlineCount, slots, fields);
  }
  m.classIndex_ = static_cast<short>(classIndex);
  m.class_ = cls;
  m.plan_ = &plan;
  m.tagId_ = tagOf(system, *cls);

  const Slots slotsOf(m.buffer_);
  for (const OwningField& field : plan.constructed) {
    if (field.isString) [[likely]] {
      new (&slotsOf[field]) std::string;
    } else {
      constructEmpty(m, *field.def);
    }
  }
  if (plan.plain) {
    return;
  }
  m.setDefaults(-1);
  if (plan.eager) {
    m.constructSubObjects();
    m.setEveryPrimitiveBitset(true);
  }
}

YMMessageBase::YMMessageBase(const YMMessageBase& source) : YMMessageBase()
{
  kwxml::MessageLife::copyValues(*this, source);
  serialized_ = source.serialized_;
  if (!kwxml::MessageLife::hasCaches(source)) [[likely]] {
    return;
  }
  const char* function = "YMMessageBase::YMMessageBase(copy)";
  if (source.serializedXml_ != nullptr) {
    serializedXml_ = new std::string(*source.serializedXml_);
  }
  if (source.lastSerializedXml_ != nullptr) {
    lastSerializedXml_ = new std::string(*source.lastSerializedXml_);
  }
  if (source.cdataBuffer_ != nullptr) {
    cdataBuffer_ = new CdataBuffer(*source.cdataBuffer_);
  }
  if (source.m_SerializedXMLUTF16 != nullptr) {
    XMLDebug::getInstance()->logError(function, "[%s]", "Field m_SerializedXMLUTF16 is not for unix");
  }
  if (source.m_wsLastErrorEnglish != nullptr) {
    XMLDebug::getInstance()->logError(function, "[%s]", "Field m_wsLastErrorEnglish is not for unix");
  }
}

/// Gives `to`, which has no class, the class of `from` in storage of its own, and copies of the fields that
/// are set.
void kwxml::MessageLife::copyValues(YMMessageBase& to, const YMMessageBase& from)
{
  const _ClassDef* const cls = from.class_;
  if (cls == nullptr) {
    return;
  }
  const ClassPlan& plan = planOf(from);
  if (!plan.plain) {
    // An unset field of the copy still reads as its default, or holds what eager systems build.
    restart(to, {from.getSubsysID(), from.classIndex_, plan.registry});
    to.wipeBitset();
    forEachSet(from, [&](const FieldDef& def) { copyValue(to, from, def); });
    return;
  }
  // All slots as bytes first; then what they cannot hold as bytes gets its own value.
  to.buffer_.copyBytes(from.buffer_, plan.inlineCount);
  forEachUnsetField(from.buffer_, cls->fields, [&](const FieldDef& def) {
    if (contains(scalarTypes, def.type)) {
      raw(to, def.slot) = 0;
    }
  });
  to.class_ = cls;
  to.plan_ = &plan;
  to.tagId_ = from.tagId_;
  to.classIndex_ = from.classIndex_;

  const Slots target(to.buffer_);
  const ConstSlots source(from.buffer_);
  auto field = plan.owners.begin();
  try {
    for (; field != plan.owners.end(); ++field) {
      if (!from.buffer_.bit(field->position)) {
        constructEmpty(to, *field->def);
      } else if (field->isString) {
        new (&target[*field]) std::string(source.object<const std::string>(*field));
      } else {
        constructCopy(to, from, *field->def);
      }
    }
  } catch (...) {
    for (; field != plan.owners.end(); ++field) {  // the message's end will end them all
      constructNothing(to, *field->def);
    }
    throw;
  }
}

YMMessageBase::YMMessageBase(YMMessageBase&& source) noexcept : YMMessageBase()
{
  kwxml::MessageLife::takeOver(*this, source);
}

// NOLINTNEXTLINE(*-noexcept-move-constructor,*-exception-escape): throws where a copy would
YMMessageBase& YMMessageBase::operator=(YMMessageBase&& source)
{
  if (class_ != nullptr && (class_ != source.class_ || buffer_.isExternal())) {
    return *this = static_cast<const YMMessageBase&>(
               source);  // refuses another class, keeps the caller's storage
  }
  if (this != &source) {
    // The source may be a part of this message: it is taken out before the rest is destroyed.
    YMMessageBase taken(std::move(source));
    kwxml::MessageLife::destroyValues(*this);
    kwxml::MessageLife::destroyCaches(*this);
    kwxml::MessageLife::takeOver(*this, taken);
  }
  return *this;
}

namespace kwxml {

namespace {

void endValues(YMMessageBase& m) noexcept
{
  const Slots slots = MessageAccess::slots(m);
  for (const OwningField& field : MessageAccess::planOf(m).owners) {
    if (field.isString) [[likely]] {
      std::destroy_at(&slots.object<std::string>(field));
    } else {
      kwxml::MessageLife::dropValue(m, *field.def, true);
    }
  }
}

}  // namespace

}  // namespace kwxml

bool kwxml::MessageLife::hasCaches(const YMMessageBase& m) noexcept
{
  return m.serializedXml_ != nullptr || m.lastSerializedXml_ != nullptr ||
         m.m_SerializedXMLUTF16 != nullptr || m.cdataBuffer_ != nullptr || m.m_wsLastErrorEnglish != nullptr;
}

YMMessageBase::~YMMessageBase()
{
  if (kwxml::MessageLife::hasCaches(*this)) [[unlikely]] {
    kwxml::MessageLife::destroyCaches(*this);
  }
  if (class_ != nullptr) {
    kwxml::endValues(*this);
  }
}

void kwxml::MessageLife::destroyCaches(YMMessageBase& m) noexcept
{
  m.cachedSize_ = 0;
  m.serialized_ = false;
  if (!hasCaches(m)) [[likely]] {
    return;
  }
  delete m.serializedXml_;
  delete m.lastSerializedXml_;
  delete m.m_SerializedXMLUTF16;
  delete m.cdataBuffer_;
  delete m.m_wsLastErrorEnglish;
  m.serializedXml_ = nullptr;
  m.lastSerializedXml_ = nullptr;
  m.m_SerializedXMLUTF16 = nullptr;
  m.cdataBuffer_ = nullptr;
  m.m_wsLastErrorEnglish = nullptr;
}

void kwxml::MessageLife::destroyValues(YMMessageBase& m) noexcept
{
  if (m.class_ == nullptr) {
    return;  // without a class there are no values, and everything below is as it should be
  }
  endValues(m);
  m.class_ = nullptr;
  m.buffer_.init(0, 0, 0);
  m.plan_ = nullptr;
  m.tagId_ = 0;
  m.classIndex_ = 0;
}

/// Values, class and indices change owner; `to` holds none before.
void kwxml::MessageLife::takeOverValues(YMMessageBase& to, YMMessageBase& from) noexcept
{
  const bool external = from.buffer_.isExternal();
  to.buffer_.takeOver(from.buffer_);
  if (from.class_ != nullptr && !external) {
    // Slots move as bytes, but a short string points into itself: inline strings move as the objects they
    // are. The bytes that stayed behind in `from` are still a valid source.
    const auto relocate = [&]<class T>(short slot, T*) {
      auto* old = std::launder(reinterpret_cast<T*>(&from.buffer_.at(slot)));
      new (&to.buffer_[slot]) T(std::move(*old));
      old->~T();
    };
    for (const OwningField& field : planOf(from).constructed) {
      if (!field.onHeap && field.isString) {
        relocate(field.slot, static_cast<std::string*>(nullptr));
      } else if (!field.onHeap && field.def->type == FIELD_WSTRING) {
        relocate(field.slot, static_cast<std::wstring*>(nullptr));
      }
    }
  }
  to.class_ = std::exchange(from.class_, nullptr);
  to.tagId_ = std::exchange(from.tagId_, 0);
  to.plan_ = std::exchange(from.plan_, nullptr);
  to.classIndex_ = std::exchange(from.classIndex_, short{0});
}

void kwxml::MessageLife::takeOver(YMMessageBase& to, YMMessageBase& from) noexcept
{
  takeOverValues(to, from);
  to.serializedXml_ = std::exchange(from.serializedXml_, nullptr);
  to.lastSerializedXml_ = std::exchange(from.lastSerializedXml_, nullptr);
  to.m_SerializedXMLUTF16 = std::exchange(from.m_SerializedXMLUTF16, nullptr);
  to.m_wsLastErrorEnglish = std::exchange(from.m_wsLastErrorEnglish, nullptr);
  to.cdataBuffer_ = std::exchange(from.cdataBuffer_, nullptr);
  to.cachedSize_ = std::exchange(from.cachedSize_, 0);
  to.serialized_ = std::exchange(from.serialized_, false);
}

YMMessageBase& YMMessageBase::operator=(const YMMessageBase& source)
{
  if (this == &source) {
    return *this;
  }
  const char* function = "YMMessageBase::operator=";
  if (class_ != source.class_ && class_ != nullptr) {
    const std::string text = "You cannot assign object of type : [" + source.getTagName() +
                             "] to object with type : [" + getTagName() + "]";
    XMLDebug::getInstance()->logError("YMMessageBase assignment operator", "[%s]", text.c_str());
    throw KwException(function, text);
  }
  if (source.m_SerializedXMLUTF16 != nullptr || source.m_wsLastErrorEnglish != nullptr) {
    XMLDebug::getInstance()->logError(function, "[%s]", "This field is not for unix");
  }
  // The source may be a part of this message, so its values are copied before this message's are destroyed.
  YMMessageBase copy;
  kwxml::MessageLife::copyValues(copy, source);
  const auto copyText = [](std::string*& to, const std::string* from) {
    std::string* text = from != nullptr ? new std::string(*from) : nullptr;
    delete to;
    to = text;
  };
  copyText(serializedXml_, source.serializedXml_);
  copyText(lastSerializedXml_, source.lastSerializedXml_);
  CdataBuffer* cdataCopy = source.cdataBuffer_ != nullptr ? new CdataBuffer(*source.cdataBuffer_) : nullptr;
  delete cdataBuffer_;
  cdataBuffer_ = cdataCopy;
  serialized_ = source.serialized_;

  if (buffer_.isExternal()) {  // the caller's storage stays in use
    reset();
    wipeBitset();
    for (const FieldDef& def : *class_) {
      if (MessageAccess::isSet(copy, def)) {
        kwxml::MessageLife::copyValue(*this, copy, def);
      }
    }
  } else {
    kwxml::MessageLife::destroyValues(*this);
    kwxml::MessageLife::takeOverValues(*this, copy);
  }
  return *this;
}
