// Life of a message: creation, storage layout, defaults, reset, destruction, moves, and its cached texts.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/model/NumberText.h>
#include <kwxml/platform/KwException.h>

#include <cstdarg>
#include <cstdio>
#include <memory>

using kwxml::MessageAccess;

struct YMMessageBase::CdataBuffer
{
  cdata text;
  bool set = false;
};

// ---- Construction

YMMessageBase::YMMessageBase(int system, int classIndex) : YMMessageBase()
{
  MessageAccess::construct(*this, system, classIndex, false, nullptr, 0);
}

YMMessageBase::YMMessageBase(int system, int classIndex, long long* buffer, int sizeInBytes) : YMMessageBase()
{
  MessageAccess::construct(*this, system, classIndex, true, buffer, sizeInBytes);
}

void YMMessageBase::initialize(int system, int classIndex, bool external, long long* buffer, int size)
{
  MessageAccess::destroyValues(*this);
  MessageAccess::destroyCaches(*this);
  MessageAccess::construct(*this, system, classIndex, external, buffer, size);
}

void kwxml::MessageAccess::construct(YMMessageBase& m, int system, int classIndex, bool external,
                                     long long* buffer, int size)
{
  const _ClassDef* cls = findClass(static_cast<unsigned>(system), static_cast<unsigned>(classIndex));
  if (cls == nullptr) {
    return;  // indices come from look-ups; others give a message without a class
  }
  const ClassPlan& plan = classPlan(static_cast<unsigned>(system), static_cast<unsigned>(classIndex));
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
  m.system_ = system;
  m.classIndex_ = classIndex;
  m.class_ = cls;
  m.tagId_ = static_cast<unsigned long>(system) << 24 | cls->classId;

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
  if (XML_KWMessage_MessageSystemChooser::msgSysStruct[system].eager == 1) {
    m.constructSubObjects();
    m.setEveryPrimitiveBitset(true);
  }
}

YMMessageBase::YMMessageBase(const YMMessageBase& source) : YMMessageBase()
{
  MessageAccess::copyValues(*this, source);
  serialized_ = source.serialized_;
  if (!MessageAccess::hasCaches(source)) [[likely]] {
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
void kwxml::MessageAccess::copyValues(YMMessageBase& to, const YMMessageBase& from)
{
  const _ClassDef* const cls = from.class_;
  if (cls == nullptr) {
    return;
  }
  const ClassPlan& plan = planOf(from);
  if (!plan.plain) {
    // An unset field of the copy still reads as its default, or holds what eager systems build.
    to.initialize(from.system_, from.classIndex_, false, nullptr, 0);
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
  to.tagId_ = from.tagId_;
  to.system_ = from.system_;
  to.classIndex_ = from.classIndex_;

  const Slots target(to.buffer_);
  const Slots source(const_cast<YMMessageBuffer&>(from.buffer_));  // only read
  auto field = plan.owners.begin();
  try {
    for (; field != plan.owners.end(); ++field) {
      if (!from.buffer_.bit(field->position)) {
        constructEmpty(to, *field->def);
      } else if (field->isString) {
        new (&target[*field]) std::string(source.object<std::string>(*field));
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
  MessageAccess::takeOver(*this, source);
}

YMMessageBase& YMMessageBase::operator=(YMMessageBase&& source)
{
  if (class_ != nullptr && (class_ != source.class_ || buffer_.isExternal())) {
    return *this = static_cast<const YMMessageBase&>(
               source);  // refuses another class, keeps the caller's storage
  }
  if (this != &source) {
    // The source may be a part of this message: it is taken out before the rest is destroyed.
    YMMessageBase taken(std::move(source));
    MessageAccess::destroyValues(*this);
    MessageAccess::destroyCaches(*this);
    MessageAccess::takeOver(*this, taken);
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
      MessageAccess::dropValue(m, *field.def, true);
    }
  }
}

}  // namespace

}  // namespace kwxml

bool kwxml::MessageAccess::hasCaches(const YMMessageBase& m) noexcept
{
  return m.serializedXml_ != nullptr || m.lastSerializedXml_ != nullptr ||
         m.m_SerializedXMLUTF16 != nullptr || m.cdataBuffer_ != nullptr || m.m_wsLastErrorEnglish != nullptr;
}

YMMessageBase::~YMMessageBase()
{
  if (MessageAccess::hasCaches(*this)) [[unlikely]] {
    MessageAccess::destroyCaches(*this);
  }
  if (class_ != nullptr) {
    kwxml::endValues(*this);
  }
}

void kwxml::MessageAccess::destroyCaches(YMMessageBase& m) noexcept
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

void kwxml::MessageAccess::destroyValues(YMMessageBase& m) noexcept
{
  if (m.class_ == nullptr) {
    return;  // without a class there are no values, and everything below is as it should be
  }
  endValues(m);
  m.class_ = nullptr;
  m.buffer_.init(0, 0, 0);
  m.tagId_ = 0;
  m.system_ = 0;
  m.classIndex_ = 0;
}

/// Values, class and indices change owner; `to` holds none before.
void kwxml::MessageAccess::takeOverValues(YMMessageBase& to, YMMessageBase& from) noexcept
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
  to.system_ = std::exchange(from.system_, 0);
  to.classIndex_ = std::exchange(from.classIndex_, 0);
}

void kwxml::MessageAccess::takeOver(YMMessageBase& to, YMMessageBase& from) noexcept
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
  MessageAccess::copyValues(copy, source);
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
        MessageAccess::copyValue(*this, copy, def);
      }
    }
  } else {
    MessageAccess::destroyValues(*this);
    MessageAccess::takeOverValues(*this, copy);
  }
  return *this;
}

// ---- Factories

YMMessageBase* YMMessageBase::createObject(unsigned long tag, bool)
{
  short system = 0;
  int index = 0;
  if (!getIndicesFromTagID(system, index, tag)) {
    XMLDebug::getInstance()->logError("YMMessageBase::createObject",
                                      "TagId : [%lu] could not be resolved to a message.", tag);
    return nullptr;
  }
  return new (std::nothrow) YMMessageBase(system, index);
}

YMMessageBase* YMMessageBase::createObjectFromIndices(short& system, int& classIndex)
{
  if (kwxml::findClass(static_cast<unsigned short>(system), static_cast<unsigned>(classIndex)) == nullptr) {
    return nullptr;
  }
  return new (std::nothrow) YMMessageBase(system, classIndex);
}

YMMessageBase* YMMessageBase::createObjectFromClassID(const unsigned long* packed, bool)
{
  if (packed == nullptr) {
    return nullptr;
  }
  const auto reference = kwxml::PackedReference::read(packed);
  if (kwxml::findClass(reference.system, reference.classIndex) == nullptr) {
    XMLDebug::getInstance()->logError(
        "YMMessageBase::createObjectFromClassID",
        "Error instantiating YMMessageBase with msgSysIndex : [%d], msgIndex : [%d]",
        static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
    return nullptr;
  }
  return new (std::nothrow)
      YMMessageBase(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
}

YMMessageBase* YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(const unsigned long* packed)
{
  constexpr const char* function = "YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo";
  if (packed == nullptr) {
    return nullptr;
  }
  const auto reference = kwxml::PackedReference::read(packed);
  const auto system = static_cast<int>(reference.system);
  const auto classIndex = static_cast<int>(reference.classIndex);
  if (system >= XML_KWMessage_MessageSystemChooser::numberOfSystems) {
    XMLDebug::getInstance()->logError(
        function, "Error instantiating YMMessageBase with msgSysIndex : [%d], msgIndex : [%d]", system,
        classIndex);
    return nullptr;
  }
  unsigned long tag = 0;
  if (classIndex > INT16_MAX ||
      !getTagIDFromIndices(static_cast<short>(system), static_cast<short>(classIndex), tag)) {
    XMLDebug::getInstance()->logError(
        function, "Error retrieving tagID with msgSysIndex : [%d], msgIndex : [%d]", system, classIndex);
    return nullptr;
  }
  return tag == kwxml::processingInstructionTag ? nullptr
                                                : new (std::nothrow) YMMessageBase(system, classIndex);
}

int YMMessageBase::constructObject(unsigned long system, unsigned long classId, const char* xml,
                                   YMMessageBase*& out, bool parseNow, std::string& errorText)
{
  return ConstructObject(system << 24 | classId, xml, out, parseNow, errorText);
}

// ---- Defaults and reset

void YMMessageBase::setDefaults(short onlyField)
{
  if (class_ == nullptr || class_->defaultsIndex == -1) {
    return;
  }
  const kwxml::DefaultValue* entry =
      XML_KWMessage_MessageSystemChooser::msgSysStruct[system_].defaults + class_->defaultsIndex;
  for (short i = 0; i < class_->numberOfFields; ++i) {
    const FieldDef& def = class_->fields[i];
    if (entry->fieldNumber == kwxml::DefaultValue::noField || entry->fieldNumber != def.fieldNumber) {
      continue;
    }
    const char* text = entry++->text;
    if (def.hash == 0 || (onlyField != -1 && onlyField != i)) {
      continue;
    }
    kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (Tag::type == FIELD_BOOL) {
        setint64(i, def.slot, kwxml::asciiEqualsIgnoreCase(text, "true") ? 1 : 0, tagId_, def.hash);
      } else if constexpr (kwxml::IntegerSlot<Tag>) {
        setint64(i, def.slot, kwxml_atoll(text), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_STRING) {
        setstring(i, def.slot, text, tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_DOUBLE) {
        setdouble(i, def.slot, kwxml::parseDouble(text), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_FLOAT) {
        setfloat(i, def.slot, static_cast<float>(kwxml::parseDouble(text)), tagId_, def.hash);
      } else if constexpr (Tag::type == FIELD_BSTRING) {
        setbstringobject(i, def.slot, bstring(text), tagId_, def.hash);
      }  // other types have no defaults
    });
  }
}

void YMMessageBase::constructSubObjects()
{
  if (class_ == nullptr) {
    return;
  }
  for (const FieldDef& def : *class_) {
    if (def.hash == 0) {
      continue;
    }
    kwxml::visitFieldType(def.type, [&]<class Tag>(Tag) {
      if constexpr (kwxml::ListValue<Tag>) {
        auto*& list = MessageAccess::pointer<typename Tag::Value>(*this, def.slot);
        if (list == nullptr) {
          list = new typename Tag::Value;
        }
        MessageAccess::mark(*this, def);
      } else if constexpr (kwxml::MessageValue<Tag>) {
        YMMessageBase* message =
            createFromClassIDIfNotProcessingInstructionInfo(reinterpret_cast<const unsigned long*>(def.name));
        if (message != nullptr) {
          delete std::exchange(MessageAccess::pointer<YMMessageBase>(*this, def.slot), message);
          MessageAccess::mark(*this, def);
        }
      }
    });
  }
}

void YMMessageBase::reset() noexcept
{
  if (class_ == nullptr) {
    return;
  }
  for (const FieldDef& def : *class_) {
    MessageAccess::dropValue(*this, def, false);
  }
  buffer_.wipeBits();
  setDefaults(-1);
  if (isOldWay(tagId_)) {
    constructSubObjects();
    setEveryPrimitiveBitset(true);
  } else {
    setEveryPrimitiveBitset(false);
  }
}

// ---- Processing-instruction info

namespace {

/// The record of field 0 where it holds the processing-instruction message; null otherwise.
const FieldDef* processingInstructionField(const YMMessageBase& message)
{
  const _ClassDef* cls = message.getClass();
  const int system = message.getSubsysID();
  if (cls == nullptr || system == 18 || system == 27 || cls->numberOfFields == 0 ||
      cls->fields[0].type != FIELD_OBJECT) {
    return nullptr;
  }
  const auto reference = kwxml::packedReference(cls->fields[0]);
  const _ClassDef* field = kwxml::findClass(reference.system, reference.classIndex);
  const bool same = field != nullptr && (static_cast<unsigned long>(reference.system) << 24 |
                                         field->classId) == kwxml::processingInstructionTag;
  return same ? &cls->fields[0] : nullptr;
}

}  // namespace

KwEntities::ProcessingInstructionInfo*& YMMessageBase::getProcessinginstructioninfo(bool create)
{
  using Info = KwEntities::ProcessingInstructionInfo;
  const FieldDef* def = processingInstructionField(*this);
  if (def == nullptr || (!MessageAccess::isSet(*this, *def) && !create)) {
    return MessageAccess::nullPointer<Info>();
  }
  auto*& info = MessageAccess::pointer<YMMessageBase>(*this, def->slot);
  if (!MessageAccess::isSet(*this, *def)) {
    const auto reference = kwxml::packedReference(*def);
    delete std::exchange(
        info, new YMMessageBase(static_cast<int>(reference.system), static_cast<int>(reference.classIndex)));
    MessageAccess::mark(*this, *def);
  }
  // A wrapper derives from the message class alone and adds nothing, so the pointer is the same.
  return MessageAccess::pointer<Info>(*this, def->slot);
}

void YMMessageBase::setProcessinginstructioninfo(KwEntities::ProcessingInstructionInfo* info)
{
  const FieldDef* def = processingInstructionField(*this);
  if (def == nullptr) {
    XMLDebug::getInstance()->logError("YMMessageBase::setProcessinginstructioninfo",
                                      "Calling this function on message [%s] is not valid",
                                      getTagName().c_str());
    return;
  }
  if (info == nullptr) {
    deleteMember(def->fieldNumber, tagId_, def->hash, false);
    return;
  }
  const auto& source = *reinterpret_cast<const YMMessageBase*>(info);
  auto*& slot = MessageAccess::pointer<YMMessageBase>(*this, def->slot);
  if (slot != nullptr) {
    *slot = source;
  } else {
    slot = new YMMessageBase(source);
  }
  MessageAccess::mark(*this, *def);
}

// ---- Cached texts

std::string& YMMessageBase::getSerializedXMLStringRef()
{
  if (serializedXml_ == nullptr) {
    serializedXml_ = new std::string;
  }
  return *serializedXml_;
}

void YMMessageBase::setSerializedXMLString(const std::string& text, bool markSerialized)
{
  getSerializedXMLStringRef() = text;
  serialized_ = serialized_ || markSerialized;
}

void YMMessageBase::setLastSerializedXMLString(const std::string& text)
{
  if (lastSerializedXml_ == nullptr) {
    lastSerializedXml_ = new std::string;
  }
  *lastSerializedXml_ = text;
}

void YMMessageBase::clearSerializedXMLString()
{
  if (serializedXml_ != nullptr) {
    serializedXml_->clear();
  }
  serialized_ = false;
}

void YMMessageBase::setCDATABuffer(const std::string& text)
{
  if (cdataBuffer_ == nullptr) {
    cdataBuffer_ = new CdataBuffer;
  }
  cdataBuffer_->text = cdata(text);
  cdataBuffer_->set = true;
}

void YMMessageBase::resetCDATABuffer()
{
  if (cdataBuffer_ != nullptr) {
    cdataBuffer_->text = cdata();
    cdataBuffer_->set = false;
  }
}

bool YMMessageBase::isCDATABufferSet() const noexcept
{
  return cdataBuffer_ != nullptr && cdataBuffer_->set;
}

std::string YMMessageBase::getCDATABuffer() const
{
  return cdataBuffer_ != nullptr ? static_cast<const std::string&>(cdataBuffer_->text.text()) : std::string();
}

const unsigned short* YMMessageBase::getLastErrorEnglishW() const
{
  return m_wsLastErrorEnglish != nullptr ? m_wsLastErrorEnglish->c_str() : nullptr;
}

XMLChstring YMMessageBase::getLastErrorEnglishStrW() const
{
  return m_wsLastErrorEnglish != nullptr ? *m_wsLastErrorEnglish : XMLChstring();
}

void YMMessageBase::setLastErrorEnglishA(const char* format, ...)
{
  char discarded[8192];
  va_list args;
  va_start(args, format);
  (void)std::vsnprintf(discarded, sizeof discarded, format, args);
  va_end(args);
}

namespace {

cdata& deprecatedCdata(const char* function)
{
  XMLDebug::getInstance()->logError(function, "[%s]", "This is a deprecated function");
  return MessageAccess::emptyValue<cdata>();
}

}  // namespace

cdata& YMMessageBase::getcdataobject(short, short, unsigned long, unsigned int)
{
  return deprecatedCdata("YMMessageBase::getcdataobject");
}

const cdata& YMMessageBase::getcdataobject_const(short, short, unsigned long, unsigned int) const
{
  return deprecatedCdata("YMMessageBase::getcdataobject_const");
}

void YMMessageBase::setcdataobject(short, short, const cdata&, unsigned long, unsigned int)
{
  XMLDebug::getInstance()->logError("YMMessageBase::setcdataobject", "This function is deprecated");
}
