// New messages by tag, indices or packed reference, and the processing-instruction message.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/AccessorRules.h>

#include <memory>

using kwxml::MessageAccess;

namespace {

/// What callers are given who cannot tell a class that is missing from memory that is.
template <class Create>
YMMessageBase* orNull(Create create)
{
  try {
    return create();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

YMMessageBase* YMMessageBase::createObject(unsigned long tag, bool)
{
  short system = 0;
  int index = 0;
  if (!getIndicesFromTagID(system, index, tag)) {
    XMLDebug::getInstance()->logError("YMMessageBase::createObject",
                                      "TagId : [%lu] could not be resolved to a message.", tag);
    kwxml::Registry::tellLoadedOnce();
    return nullptr;
  }
  return orNull([&] { return new YMMessageBase(system, index); });
}

YMMessageBase* YMMessageBase::createObjectFromIndices(short& system, int& classIndex)
{
  if (kwxml::findClass(static_cast<unsigned short>(system), classIndex) == nullptr) {
    return nullptr;
  }
  return orNull([&] { return new YMMessageBase(system, classIndex); });
}

YMMessageBase* kwxml::createIfThere(const PackedReference& reference)
{
  return findClass(reference) != nullptr
             ? new YMMessageBase(registryOf(reference), reference.system, reference.classIndex)
             : nullptr;
}

YMMessageBase* kwxml::createReferenced(const PackedReference& reference)
{
  if (findClass(reference) == nullptr) {
    XMLDebug::getInstance()->logError(
        "YMMessageBase::createObjectFromClassID",
        "Error instantiating YMMessageBase with msgSysIndex : [%d], msgIndex : [%d]", reference.system,
        reference.classIndex);
    return nullptr;
  }
  return createIfThere(reference);
}

YMMessageBase* YMMessageBase::createObjectFromClassID(const unsigned long* packed, bool)
{
  return packed != nullptr
             ? orNull([packed] { return kwxml::createReferenced(kwxml::PackedReference::read(packed)); })
             : nullptr;
}

YMMessageBase* kwxml::createUnlessProcessingInstruction(const PackedReference& reference)
{
  constexpr const char* function = "YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo";
  const auto system = reference.system;
  const auto classIndex = reference.classIndex;
  if (system >= XML_KWMessage_MessageSystemChooser::numberOfSystems) {
    XMLDebug::getInstance()->logError(
        function, "Error instantiating YMMessageBase with msgSysIndex : [%d], msgIndex : [%d]", system,
        classIndex);
    return nullptr;
  }
  const _ClassDef* cls = findClass(reference);
  if (cls == nullptr) {
    XMLDebug::getInstance()->logError(
        function, "Error retrieving tagID with msgSysIndex : [%d], msgIndex : [%d]", system, classIndex);
    return nullptr;
  }
  return tagOf(system, *cls) == processingInstructionTag
             ? nullptr
             : new YMMessageBase(registryOf(reference), system, classIndex);
}

YMMessageBase* YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(const unsigned long* packed)
{
  return packed != nullptr ? orNull([packed] {
    return kwxml::createUnlessProcessingInstruction(kwxml::PackedReference::read(packed));
  })
                           : nullptr;
}

int YMMessageBase::constructObject(unsigned long system, unsigned long classId, const char* xml,
                                   YMMessageBase*& out, bool parseNow, std::string& errorText)
{
  return ConstructObject(system << 24 | classId, xml, out, parseNow, errorText);
}

// ---- The same, with owners

std::unique_ptr<YMMessageBase> YMMessageBase::createObject(unsigned long tag, kwxml::Owned)
{
  return std::unique_ptr<YMMessageBase>(createObject(tag));
}

std::unique_ptr<YMMessageBase> YMMessageBase::createObjectFromIndices(short system, int classIndex,
                                                                      kwxml::Owned)
{
  return std::unique_ptr<YMMessageBase>(createObjectFromIndices(system, classIndex));
}

std::unique_ptr<YMMessageBase> YMMessageBase::createObjectFromClassID(const unsigned long* packed,
                                                                      kwxml::Owned)
{
  return std::unique_ptr<YMMessageBase>(createObjectFromClassID(packed));
}

std::unique_ptr<YMMessageBase> YMMessageBase::createFromClassIDIfNotProcessingInstructionInfo(
    const unsigned long* packed, kwxml::Owned)
{
  return std::unique_ptr<YMMessageBase>(createFromClassIDIfNotProcessingInstructionInfo(packed));
}

int YMMessageBase::ConstructObject(unsigned long tag, const char* xml, std::unique_ptr<YMMessageBase>& out,
                                   bool parseNow, std::string& errorText)
{
  return kwxml::intoOwner(
      out, [&](YMMessageBase*& given) { return ConstructObject(tag, xml, given, parseNow, errorText); });
}

int YMMessageBase::constructObject(unsigned long system, unsigned long classId, const char* xml,
                                   std::unique_ptr<YMMessageBase>& out, bool parseNow, std::string& errorText)
{
  return kwxml::intoOwner(out, [&](YMMessageBase*& given) {
    return constructObject(system, classId, xml, given, parseNow, errorText);
  });
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
  const auto reference = MessageAccess::reference(message, cls->fields[0]);
  const _ClassDef* field = kwxml::findClass(reference);
  const bool same =
      field != nullptr && kwxml::tagOf(reference.system, *field) == kwxml::processingInstructionTag;
  return same ? &cls->fields[0] : nullptr;
}

}  // namespace

KwEntities::ProcessingInstructionInfo*& YMMessageBase::getProcessinginstructioninfo(bool create)
{
  using Info = KwEntities::ProcessingInstructionInfo;
  const FieldDef* def = processingInstructionField(*this);
  if (def == nullptr || (!MessageAccess::isSet(*this, *def) && !create)) {
    return kwxml::AccessorRules::nullPointer<Info>();
  }
  auto*& info = MessageAccess::pointer<YMMessageBase>(*this, def->slot);
  if (!MessageAccess::isSet(*this, *def)) {
    const auto reference = MessageAccess::reference(*this, *def);
    delete std::exchange(info,
                         new YMMessageBase(*reference.registry, reference.system, reference.classIndex));
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
