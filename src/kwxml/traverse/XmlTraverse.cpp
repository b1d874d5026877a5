#include <kwxml/traverse/XmlTraverse.h>

#include <kwxml/annotation/Annotations.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>
#include <kwxml/xml/XMLSerializer.h>

#include <cstring>
#include <memory>

using kwxml::MessageAccess;

void XmlTraverseHandler::beginTraverse(std::string) {}
void XmlTraverseHandler::startSubObject(MsgFieldContext&) {}
void XmlTraverseHandler::endSubObject(MsgFieldContext&) {}
void XmlTraverseHandler::endTraverse(std::string) {}
void XmlTraverse::visit(MsgFieldContext&) {}

using kwxml::log;

namespace {

/// The class name of a tag name: what follows its first "_".
std::string traverseName(const YMMessageBase& message)
{
  const std::string tagName = message.getTagName();
  const auto underscore = tagName.find('_');
  return underscore == std::string::npos ? tagName : tagName.substr(underscore + 1);
}

/// In an ordered walk these come first.
bool isSimple(FieldDataType type)
{
  return XMLDecoder::isPrimitive(type) || type == FIELD_ENUM || type == FIELD_LIST_ENUM;
}

}  // namespace

/// The walk of one message and those below it. The two orders differ in the texts that they log, too.
struct XmlTraverse::Walk
{
  /// The same at every level.
  struct Flags
  {
    bool createMissing;
    bool keepCreated;
  };
  XmlTraverse& owner;
  const Flags flags;
  const bool ordered;

  const char* function() const
  {
    return ordered ? "XmlTraverse::traverseByOrderHelper" : "XmlTraverse::traverseHelpers";
  }

  bool message(YMMessageBase& holder, const _ClassDef& cls, const FieldDefTraverseInfo* parent);
  bool field(YMMessageBase& holder, const FieldDef& def, const FieldDefTraverseInfo* parent);
  bool list(YMMessageBase& holder, MsgFieldContext& context);
  bool missingItem(YMMessageBase& holder, MsgFieldContext& context);
  bool object(YMMessageBase& holder, MsgFieldContext& context);
  /// The walk of a message in a field, with what surrounds it. `find` gives the message, or null: it is asked
  /// when the visitor has been told, who may have taken it away.
  template <class Find>
  bool nested(MsgFieldContext& context, Find find);
  /// The class that the field refers to; null when there is none. Logs nothing.
  static const _ClassDef* referenced(const FieldDef& def);
  /// A new message of the class that the field refers to; null when it cannot be made, which is logged but
  /// for a single message in an unordered walk.
  std::unique_ptr<YMMessageBase> create(const FieldDef& def);
  void tooDeep();
};

void XmlTraverse::Walk::tooDeep()
{
  if (!std::exchange(owner.depthLogged_, true)) {
    log().logError(function(), "Messages nest deeper than [%d]", kwxml::maxMessageNesting);
  }
}

bool XmlTraverse::Walk::message(YMMessageBase& holder, const _ClassDef& cls,
                                const FieldDefTraverseInfo* parent)
{
  if (owner.depth_ >= kwxml::maxMessageNesting) {
    tooDeep();
    return false;
  }
  /// What a visitor throws leaves the walk as it was.
  struct Level
  {
    XmlTraverse& owner;
    bool pushed;
    Level(XmlTraverse& walk, const char* name) : owner(walk), pushed(name != nullptr)
    {
      if (pushed) {
        owner.processingStack_.push_back(name);
      }
      ++owner.depth_;
    }
    ~Level()
    {
      --owner.depth_;
      if (pushed && !owner.processingStack_.empty()) {
        owner.processingStack_.pop_back();
      }
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
  };
  const Level level(owner, ordered ? nullptr : cls.name);
  bool changed = false;
  for (const bool simple : {true, false}) {
    for (const FieldDef& def : cls) {
      if (def.hash != 0 && (!ordered || isSimple(def.type) == simple)) {
        changed |= field(holder, def, parent);
      }
    }
    if (!ordered) {
      break;
    }
  }
  return changed;
}

bool XmlTraverse::Walk::field(YMMessageBase& holder, const FieldDef& def, const FieldDefTraverseInfo* parent)
{
  MsgFieldContext context(def, parent, holder);
  context.setValueState(MessageAccess::isSet(holder, def));
  owner.handler_->visit(context);
  bool changed = context.isModified();
  if (def.type == FIELD_LIST_OBJECT || (ordered && def.type == FIELD_LIST_ENUM)) {
    changed |= list(holder, context);
  } else if (def.type == FIELD_OBJECT) {
    changed |= object(holder, context);
  }
  return changed;
}

const _ClassDef* XmlTraverse::Walk::referenced(const FieldDef& def)
{
  const auto reference = kwxml::packedReference(def);
  return kwxml::findClass(reference);
}

std::unique_ptr<YMMessageBase> XmlTraverse::Walk::create(const FieldDef& def)
{
  if (owner.created_ >= kwxml::maxCreatedMessages) {
    if (!std::exchange(owner.createdLogged_, true)) {
      log().logError(function(), "A walk makes at most [%d] messages", kwxml::maxCreatedMessages);
    }
    return nullptr;
  }
  if (owner.depth_ >= kwxml::maxMessageNesting) {
    tooDeep();
    return nullptr;
  }
  std::unique_ptr<YMMessageBase> made(kwxml::createIfThere(kwxml::packedReference(def)));
  if (made != nullptr) {
    ++owner.created_;
  } else if (ordered || def.type != FIELD_OBJECT) {
    log().logError(function(), "Error creating subobject [%s]", def.getName());
  }
  return made;
}

template <class Find>
bool XmlTraverse::Walk::nested(MsgFieldContext& context, Find find)
{
  owner.handler_->startSubObject(context);
  YMMessageBase* const held = find();
  const bool changed = held != nullptr && held->getClass() != nullptr &&
                       message(*held, *held->getClass(), &context.getField());
  owner.handler_->endSubObject(context);
  return changed;
}

bool XmlTraverse::Walk::list(YMMessageBase& holder, MsgFieldContext& context)
{
  const FieldDef& def = context.getField();
  // In an ordered walk a list of enumerators comes here too; it never holds messages.
  const bool ofMessages = def.type == FIELD_LIST_OBJECT;
  using Messages = std::vector<YMMessageBase>;
  const auto elements = [&]() -> Messages* {
    return ofMessages ? MessageAccess::pointer<Messages>(holder, def.slot) : nullptr;
  };
  const std::size_t count = elements() != nullptr ? elements()->size() : 0;
  const auto element = [&](std::size_t i) -> YMMessageBase* {
    Messages* const list = elements();
    return list != nullptr && i < list->size() ? &(*list)[i] : nullptr;
  };
  if (!ofMessages) {
    const auto* numbers = MessageAccess::pointer<std::vector<unsigned>>(std::as_const(holder), def.slot);
    if (numbers != nullptr && !numbers->empty()) {
      return false;
    }
  }
  if (count > 0) {
    // The list is asked for anew each time: the visitor may change it.
    for (std::size_t i = 0; i < count; ++i) {
      const YMMessageBase* const now = element(i);
      if (now == nullptr) {
        break;
      }
      if (now->getClass() != nullptr) {
        nested(context, [&] { return element(i); });
        continue;
      }
      owner.handler_->startSubObject(context);
      if (ordered) {
        log().logError(function(), "Error retrieving metadata for given object");
      } else {
        log().logError(function(), "[%s]", "Error retreiving metadata for the specified class.");
      }
      owner.handler_->endSubObject(context);
    }
    return false;
  }
  return flags.createMissing && missingItem(holder, context);
}

/// Shows an item that an empty list does not have; true when it is kept.
bool XmlTraverse::Walk::missingItem(YMMessageBase& holder, MsgFieldContext& context)
{
  const FieldDef& def = context.getField();
  const _ClassDef* cls = referenced(def);
  if (cls == nullptr) {
    log().logError(function(), "[%s]", "Could not retrieve metadata for specified object");
    return false;
  }
  if (!ordered && owner.existsInProcessingStack(cls->name)) {
    return false;  // a class that holds itself would be made without end
  }
  std::unique_ptr<YMMessageBase> made = create(def);
  if (made == nullptr) {
    return false;
  }
  if (!nested(context, [&] { return made.get(); }) || !flags.keepCreated || def.type != FIELD_LIST_OBJECT) {
    return false;
  }
  using Messages = std::vector<YMMessageBase>;
  auto*& list = MessageAccess::pointer<Messages>(holder, def.slot);
  if (list == nullptr) {
    list = new Messages;
  }
  list->push_back(std::move(*made));
  MessageAccess::mark(holder, def);
  return true;
}

bool XmlTraverse::Walk::object(YMMessageBase& holder, MsgFieldContext& context)
{
  const FieldDef& def = context.getField();
  YMMessageBase* held =
      MessageAccess::isSet(holder, def) ? MessageAccess::pointer<YMMessageBase>(holder, def.slot) : nullptr;
  std::unique_ptr<YMMessageBase> made;
  if (held == nullptr) {
    if (!flags.createMissing) {
      return false;
    }
    const _ClassDef* cls = referenced(def);
    if (!ordered && cls != nullptr && owner.existsInProcessingStack(cls->name)) {
      return false;  // it would not be walked, so it need not be made
    }
    made = create(def);
    if (made == nullptr) {
      return false;
    }
    held = made.get();
  }
  const _ClassDef* cls = held->getClass();
  if (cls == nullptr) {
    if (ordered) {
      log().logError(function(), "Error retrieving metadata for given object");
    } else {
      log().logError(function(), "[%s]", "Could not retrieve metadata for specified object");
    }
    return false;
  }
  if (!ordered && held->getTagID() == kwxml::processingInstructionTag) {
    return false;
  }
  const auto current = [&] {
    return made != nullptr                     ? made.get()
           : MessageAccess::isSet(holder, def) ? MessageAccess::pointer<YMMessageBase>(holder, def.slot)
                                               : nullptr;
  };
  if (!nested(context, current) || made == nullptr || !flags.keepCreated) {
    return false;
  }
  delete std::exchange(MessageAccess::pointer<YMMessageBase>(holder, def.slot), made.release());
  MessageAccess::mark(holder, def);
  return true;
}

bool XmlTraverse::traverseHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing,
                                 bool keepCreated, const FieldDefTraverseInfo* parent)
{
  return walk(message, cls, createMissing, keepCreated, false, parent);
}

bool XmlTraverse::traverseByOrderHelper(YMMessageBase& message, const _ClassDef* cls, bool createMissing,
                                        bool keepCreated, const FieldDefTraverseInfo* parent)
{
  return walk(message, cls, createMissing, keepCreated, true, parent);
}

bool XmlTraverse::walk(YMMessageBase& message, const _ClassDef* cls, bool createMissing, bool keepCreated,
                       bool ordered, const FieldDefTraverseInfo* parent)
{
  if (handler_ == nullptr || cls == nullptr || message.getClass() != cls) {
    return false;
  }
  if (depth_ == 0) {
    created_ = 0;
    depthLogged_ = createdLogged_ = false;
  }
  return Walk{*this, {createMissing, keepCreated}, ordered}.message(message, *cls, parent);
}

bool XmlTraverse::existsInProcessingStack(const std::string& className) const
{
  for (const char* name : processingStack_) {
    if (className == name) {
      return true;
    }
  }
  return false;
}

void XmlTraverse::walkOutermost(YMMessageBase& message, bool createMissing, bool keepCreated, bool ordered)
{
  depth_ = 0;
  const std::string name = traverseName(message);
  handler_->beginTraverse(name);
  if (ordered) {
    traverseByOrderHelper(message, message.getClass(), createMissing, keepCreated, nullptr);
  } else {
    processingStack_.clear();
    traverseHelper(message, message.getClass(), createMissing, keepCreated, nullptr);
  }
  handler_->endTraverse(name);
}

void XmlTraverse::traverse(YMMessageBase& message, XmlTraverseHandler& handler, bool createMissing,
                           bool keepCreated)
{
  handler_ = &handler;
  if (message.getClass() != nullptr) {
    walkOutermost(message, createMissing, keepCreated, handler.getOrder());
  }
}

void XmlTraverse::traverse(std::string& xml, XmlTraverseHandler& handler, bool createMissing,
                           bool keepCreated, KwXMLContextInfo* context)
{
  constexpr const char* function = "XmlTraverse::traverse";
  handler_ = &handler;
  if (context != nullptr) {
    context->setPasswordEncType(Annotation::PASS_THROUGH);
  }
  const std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(xml, context));
  if (context != nullptr && context->hasError()) {
    return;
  }
  if (message == nullptr) {
    xml.clear();
    return;
  }
  if (message->getClass() == nullptr) {
    log().logError(function, "Error retrieving metadata for given object");
  }
  walkOutermost(*message, createMissing, keepCreated, false);
  xml.clear();
  EncodingFlags flags;
  if (context != nullptr) {
    flags.targetPasswordType = Annotation::PASS_THROUGH;  // as they were received, not protected once more
  }
  if (XMLSerializer(flags).serialize(*message, xml) != 0) {
    log().logError(function, "Error serializing object with tagID : [%ul]",
                   static_cast<unsigned>(message->getTagID()));
  }
}

void EntityTypeHandler::visit(MsgFieldContext& field)
{
  const FieldDef& def = field.getField();
  if (!XMLDecoder::isPrimitive(def.type) || def.name == nullptr || def.annotations == nullptr ||
      (def.type != FIELD_ENUM && def.type != FIELD_LIST_ENUM)) {
    return;
  }
  Annotation::CommandParam parameter;
  if (field.getAnnotation(parameter) && parameter.useDefault.value_or(false)) {
    field.EnableField();
  }
}
