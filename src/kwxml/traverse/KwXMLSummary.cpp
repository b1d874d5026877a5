#include <kwxml/traverse/KwXMLSummary.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/Rendering.h>
#include <kwxml/xml/XMLSerializer.h>

#include <memory>
#include <sstream>

void SummaryTraverse::beginTraverse(std::string className)
{
  context_->startHeader(std::move(className));
}

void SummaryTraverse::startSubObject(MsgFieldContext& field)
{
  if (isSkipping() || kwxml::isSecret(field.getField())) {
    skip();
  } else {
    context_->startSubHeader(field);
  }
}

void SummaryTraverse::visit(MsgFieldContext& field)
{
  const FieldDataType type = field.getField().type;
  const bool list = XMLDecoder::isListType(type);
  const bool primitive = XMLDecoder::isPrimitive(type);
  if (isSkipping() || (!list && !field.isValueSet())) {
    return;
  }
  if (!list && primitive && type != FIELD_ENUM) {
    context_->writeAttribute(field);
  } else if (type == FIELD_LIST_ENUM) {
    context_->writeEnum(field);
  } else if (list && primitive) {
    context_->writeList(field);
  }
}

void SummaryTraverse::endSubObject(MsgFieldContext& field)
{
  if (isSkipping()) {
    --skipping_;
  } else {
    context_->endSubHeader(field);
  }
}

void SummaryTraverse::endTraverse(std::string className)
{
  context_->endHeader(std::move(className));
}

namespace {

bool isLeftOut(const MsgFieldContext& field)
{
  return field.hasAnnotations() && (field.hasAnnotation(kwxml::annotationTag("HideInReports")) ||
                                    field.hasAnnotation(kwxml::annotationTag("Suppress")));
}

}  // namespace

void DefaultSummaryTraverse::startSubObject(MsgFieldContext& field)
{
  if (!field.isValueSet() || isLeftOut(field)) {
    skip();
  } else {
    SummaryTraverse::startSubObject(field);
  }
}

void DefaultSummaryTraverse::visit(MsgFieldContext& field)
{
  const FieldDef& def = field.getField();
  if (isSkipping() || def.getFieldAddrResolved(*field.getMessage()) == nullptr || isLeftOut(field)) {
    return;
  }
  const bool list = XMLDecoder::isListType(def.type);
  const bool primitive = XMLDecoder::isPrimitive(def.type);
  const bool enumeration = def.type == FIELD_ENUM || def.type == FIELD_LIST_ENUM;
  if (!list && primitive && !enumeration) {
    context().writeAttribute(field);
  } else if (!list && enumeration) {
    context().writeEnum(field);
  } else if (list && primitive) {
    context().writeList(field);
  }
}

// ---- The facade

int KwXMLSummary::getKwSummaryInfo(YMMessageBase* message, std::ostringstream& stream,
                                   const KwXMLFormatOptions&)
{
  if (message == nullptr) {
    return 1;
  }
  DefaultRenderContext context(stream, ContextFormatOpts());
  SummaryTraverse summary(&context);
  XmlTraverse().traverse(*message, summary, false, false);
  return 0;
}

int KwXMLSummary::getKwSummaryInfo(YMMessageBase* message, KwXMLRenderContext* context,
                                   const KwXMLFormatOptions&)
{
  if (message == nullptr || context == nullptr) {
    return 1;
  }
  const ContextFormatOpts options = context->getFormatOptions();
  DefaultSummaryTraverse summary(context, options.localeId, options.order);
  XmlTraverse().traverse(*message, summary, false, false);
  return 0;
}

namespace {

std::unique_ptr<YMMessageBase> messageIn(const std::string& xml)
{
  return std::unique_ptr<YMMessageBase>(xml.empty() ? nullptr : XMLSerializer().unserialize(xml));
}

}  // namespace

int KwXMLSummary::getSummaryInfo(std::string xml, std::string& out)
{
  const auto message = messageIn(xml);
  std::ostringstream stream;
  if (message == nullptr || getKwSummaryInfo(message.get(), stream, KwXMLFormatOptions()) != 0) {
    return 1;
  }
  out = stream.str();
  return 0;
}

int KwXMLSummary::getSummaryInfo(std::string xml, KwXMLRenderContext* context)
{
  const auto message = messageIn(xml);
  return message != nullptr ? getKwSummaryInfo(message.get(), context, KwXMLFormatOptions()) : 1;
}
