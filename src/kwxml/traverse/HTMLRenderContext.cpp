#include <kwxml/traverse/HTMLRenderContext.h>

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/Rendering.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <ctime>

int HTMLRenderContext::CountOptions = 0;
int HTMLGuiSummaryRenderContext::CountOptions = 0;

namespace {

constexpr const char* entityBlank = "&nbsp;";
/// The message system whose messages are shown on one line.
constexpr unsigned entitySystem = 18;

std::string_view trimmed(std::string_view name)
{
  const auto last = name.find_last_not_of(" \t\r\n");
  return last == std::string_view::npos ? std::string_view() : name.substr(0, last + 1);
}

/// The system of the messages in a field: of the message itself or the first of a list, else of the class
/// that the field refers to.
unsigned systemOf(const MsgFieldContext& field)
{
  if (field.getRecord() == nullptr) {
    return 0;
  }
  const FieldDef& def = *field.getRecord();
  const YMMessageBase& message = *field.getMessage();
  if (def.type == FIELD_OBJECT) {
    if (const auto* held = kwxml::MessageAccess::pointer<YMMessageBase>(message, def.slot)) {
      return static_cast<unsigned>(held->getSubsysID());
    }
  } else if (def.type == FIELD_LIST_OBJECT) {
    const auto* list = kwxml::MessageAccess::pointer<std::vector<YMMessageBase>>(message, def.slot);
    if (list != nullptr && !list->empty()) {
      return static_cast<unsigned>(list->front().getSubsysID());
    }
  } else {
    return 0;
  }
  return kwxml::packedReference(def).system;
}

/// A field that its record marks as a date.
std::string dateText(std::int64_t seconds, int form)
{
  constexpr std::int64_t secondsPerHour = 3600;
  constexpr std::int64_t secondsPerDay = 24 * secondsPerHour;
  constexpr int firstYear = 1991;  // before it lie durations
  const std::time_t time = seconds;
  std::tm local{};
  char text[96];
  const bool broken = localtime_r(&time, &local) != nullptr;
  const long long year = 1900LL + local.tm_year;  // of a hostile time it needs more than an int
  if (!broken || year < firstYear) {
    if (broken && seconds >= secondsPerDay && seconds % secondsPerDay == 0) {
      std::snprintf(text, sizeof text, "%d day(s)", static_cast<int>(seconds / secondsPerDay));
    } else if (broken && seconds >= secondsPerHour && seconds % secondsPerHour == 0) {
      std::snprintf(text, sizeof text, "%d hour(s)", static_cast<int>(seconds / secondsPerHour));
    } else {
      std::snprintf(text, sizeof text, "%u", static_cast<unsigned>(seconds));
    }
  } else if (form == Annotation::DATE) {
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d", year, local.tm_mon + 1, local.tm_mday);
  } else {
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d %02d:%02d:%02d", year, local.tm_mon + 1, local.tm_mday,
                  local.tm_hour, local.tm_min, local.tm_sec);
  }
  return text;
}

bool isInteger(FieldDataType type)
{
  return kwxml::visitFieldType(type, []<class Tag>(Tag) { return kwxml::IntegerSlot<Tag>; });
}

bool isHidden(const MsgFieldContext& field)
{
  using kwxml::annotationTag;
  return (field.hasAnnotations() && (field.hasAnnotation(annotationTag("Suppress")) ||
                                     field.hasAnnotation(annotationTag("HideInReports")))) ||
         kwxml::isSecret(field.getField());
}

}  // namespace

// ---- What both contexts share

namespace kwxml {

void HTMLFieldContext::appendShown(std::string& out, std::string_view text) const
{
  if (!escaping_) {
    out += text;
    return;
  }
  while (!text.empty()) {
    const std::string_view entity = text[0] == '&'    ? "&amp;"
                                    : text[0] == '<'  ? "&lt;"
                                    : text[0] == '>'  ? "&gt;"
                                    : text[0] == '"'  ? "&quot;"
                                    : text[0] == '\'' ? "&#39;"
                                                      : "";
    out += entity;
    text.remove_prefix(entity.empty() ? appendShownCharacter(out, text) : 1);
  }
}

std::string HTMLFieldContext::shown(std::string_view text) const
{
  std::string escaped;
  escaped.reserve(text.size());
  appendShown(escaped, text);
  return escaped;
}

std::string HTMLFieldContext::identifier(std::string_view text) const
{
  // It stands in a string of a script, too, where HTML's escapes would be undone.
  std::string id(text);
  for (char& c : id) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    if (escaping_ && !plain) {
      c = '_';
    }
  }
  return id;
}

void HTMLFieldContext::writeHeader(std::string) {}
void HTMLFieldContext::writeSubHeader(std::string) {}

void HTMLFieldContext::writeAttribute(MsgFieldContext& field)
{
  const FieldDef& def = field.getField();
  if (!field.isValueSet() || isHidden(field)) {
    return;
  }
  const int dateForm = AnnotationRecord(def.annotations).dateForm();
  if (dateForm != 0 && isInteger(def.type)) {
    const YMMessageBase& message = *field.getMessage();
    writeValue(FieldLabel(def, getFormatOptions().localeId),
               dateText(message.getint64(def.slot, message.getTagID(), def.hash), dateForm));
  } else if (def.type != FIELD_ULONGLONG) {  // counts as a list
    visitScalar(field, [&](const auto& value) {
      const FieldLabel label(def, getFormatOptions().localeId);
      if constexpr (std::is_same_v<std::decay_t<decltype(value)>, bstring>) {
        addToOutPut(label, "****");
      } else {
        writeValue(label, value);
      }
    });
  }
}

void HTMLFieldContext::writeList(MsgFieldContext& field)
{
  if (isHidden(field)) {
    return;
  }
  std::vector<void*> elements;
  field.readListValue(&elements);
  if (elements.empty()) {
    return;
  }
  const FieldDef& def = field.getField();
  addToOutPut(FieldLabel(def, getFormatOptions().localeId),
              def.type == FIELD_LIST_ENUM ? "(" + enumText(field) + ")" : listText(field, '(', ')'));
}

void HTMLFieldContext::writeEnum(MsgFieldContext& field)
{
  if (field.isValueSet() && !isHidden(field)) {
    addToOutPut(FieldLabel(field.getField(), getFormatOptions().localeId), enumText(field));
  }
}

void HTMLFieldContext::writeAttribute(std::string name, bstring)
{
  addToOutPut(name, "****");
}

}  // namespace kwxml

// ---- Indented

void HTMLRenderContext::startHeader(std::string name)
{
  const bool collapsible = getFormatOptions().collapsible;
  std::string caption = name;
  if (name == "JobOption") {
    caption = "Job Options";
  } else if (name == "ClientsList" || (collapsible && name == "GetClientPropertiesResponse")) {
    caption = "Additional Properties";
  } else if (collapsible && name == "KWSearchReq") {
    caption = "Search Options";
  }
  if (!collapsible) {
    output_ += shown(caption) + ":";
    return;
  }
  // Summaries may be made by several threads.
  const int number = std::atomic_ref(CountOptions).fetch_add(1, std::memory_order_relaxed);
  const std::string block = identifier(name) + std::to_string(number);
  output_ += std::string("<a title=\"Click to view ") +
             " \" style=\"color: blue; cursor:hand;\" onclick=\"showdiv('" + block + "');\">" +
             shown(caption) + "::</a><div id=\"" + block + "\" style=\"display:none\">";
}

void HTMLRenderContext::endHeader(std::string)
{
  output_ += "</div>";
}

void HTMLRenderContext::startLine()
{
  output_ += "<br>";
  for (std::size_t i = 0; i < levels_.size(); ++i) {
    output_ += spaceDelimiter;
  }
}

void HTMLRenderContext::startSubHeader(MsgFieldContext& field)
{
  inline_ = inline_ || systemOf(field) == entitySystem;
  if (!levels_.empty()) {
    ++levels_.back().shown;
  }
  const std::size_t begin = output_.size();
  startLine();
  output_ += "<B>" + shown(kwxml::FieldLabel(field.getField(), getFormatOptions().localeId)) + "</B>";
  levels_.push_back({begin, 0});
}

void HTMLRenderContext::endSubHeader(MsgFieldContext&)
{
  if (levels_.empty()) {
    return;
  }
  const Level closed = levels_.back();
  levels_.pop_back();
  inline_ = false;
  if (closed.shown == 0) {
    output_.resize(closed.begin);
    if (!levels_.empty()) {
      --levels_.back().shown;
    }
  }
}

void HTMLRenderContext::addToOutPut(std::string_view name, std::string_view value)
{
  if (value.empty()) {
    return;
  }
  if (inline_) {
    output_ += "&nbsp;&nbsp;";
  } else {
    startLine();
  }
  output_ += entityBlank;
  appendShown(output_, trimmed(name));
  output_ += "&nbsp;:&nbsp;";
  appendShown(output_, value);
  if (!levels_.empty()) {
    ++levels_.back().shown;
  }
}

// ---- Compact

void HTMLGuiSummaryRenderContext::startHeader(std::string)
{
  output_ += "<p> Summary";
}

void HTMLGuiSummaryRenderContext::endHeader(std::string)
{
  output_ += "</p></div>";
}

void HTMLGuiSummaryRenderContext::startSubHeader(MsgFieldContext& field)
{
  output_ += "<br><B>" + shown(kwxml::FieldLabel(field.getField(), getFormatOptions().localeId)) + " </B><p>";
  first_ = true;
}

void HTMLGuiSummaryRenderContext::endSubHeader(MsgFieldContext&)
{
  first_ = true;
}

void HTMLGuiSummaryRenderContext::addToOutPut(std::string_view name, std::string_view value)
{
  if (!std::exchange(first_, false)) {
    output_ += "<BR>";
  }
  output_ += entityBlank;
  appendShown(output_, trimmed(name));
  output_ += "&nbsp;:&nbsp;";
  appendShown(output_, value);
}
