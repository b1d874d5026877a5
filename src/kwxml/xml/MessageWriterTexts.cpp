// The texts that the writer makes of values.
#include <kwxml/xml/MessageWriter.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>

#include <algorithm>
#include <climits>
#include <cstdio>

namespace kwxml {

namespace {

constexpr const char* function = "XMLSerializer::serializeXMLRecur";

}  // namespace

bool MessageWriter::integerText(const Field& field, long long value)
{
  constexpr int secondsPerDay = 86400;
  if (!flags_.readableForm || !field.annotations.present()) {
    number(value);
    return true;
  }
  if (field.annotations.isTimeOfDay()) {
    if (value > secondsPerDay || value < INT_MIN) {
      log().logError(function, "Invalid time in seconds [%d]",
                     static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX)));
      return false;
    }
    char clock[80];
    const auto seconds = static_cast<int>(value);
    ascii({clock, static_cast<std::size_t>(std::snprintf(clock, sizeof clock, "%02d:%02d:%02d",
                                                         seconds / 3600, seconds / 60 % 60, seconds % 60))});
    return true;
  }
  const int dateForm = field.annotations.dateForm();
  if (dateForm == 0) {
    number(value);
    return true;
  }
  if (value == 0) {
    return false;
  }
  char date[504];
  // Timestamps are 32-bit seconds; a larger value has no date and is not shown as another one.
  if (value != static_cast<int>(value) ||
      !writeXDate(static_cast<int>(value), static_cast<Annotation::DateType>(dateForm), date)) {
    log().logError(function, "[%s]", "Unable to convert timestamp to date");
    return false;
  }
  ascii(date);
  return true;
}

bool MessageWriter::enumText(const Field& field, long long value)
{
  if (!flags_.readableForm && !flags_.enumsAsNames) {
    number(value);
    return true;
  }
  const FieldDef* enumerator = findEnumerator(YMMessageBase::GetClassDefFromClassID(field.def), value);
  if (enumerator == nullptr) {
    log().logError(function, "Field [%s] does not accept value [%lld]", field.name(), value);
    return false;
  }
  utf8(enumerator->getName());
  return true;
}

bool MessageWriter::passwordText(const Field& field, const pstring& value, int passwordMode)
{
  if (!field.annotations.present()) {
    log().logError(function, "There are no annotations specified on this field : [%s]", field.name());
    return false;
  }
  const int type = field.annotations.passwordType();
  if (type == 0) {
    log().logError(function, "Password annotation is not specified on this field : [%s]", field.name());
    return false;
  }
  if (flags_.maskPasswords) {
    ascii("*******");
    return true;
  }
  if (passwordMode <= 1) {
    base64(value.text());
    return true;
  }
  std::string text;
  if (encryptPassword({flags_, context_}, type, value, text) == passwordHandlerMissing) {
    log().logError(function, "Password Handler Not Found while serializing bstring field [%s]", field.name());
    return false;
  }
  utf8(text);
  return true;
}

void MessageWriter::ascii(std::string_view text)
{
  buffer_.resize(text.size());
  std::copy(text.begin(), text.end(), buffer_.begin());
  text_ = buffer_.c_str();
}

void MessageWriter::number(long long value)
{
  NumberBuffer digits;
  ascii(formatInteger(value, digits));
}

void MessageWriter::number(unsigned long long value)
{
  NumberBuffer digits;
  ascii(formatUnsigned(value, digits));
}

void MessageWriter::number(double value)
{
  NumberBuffer digits;
  ascii(formatDouble(value, digits));
}

void MessageWriter::utf8(const std::string& value)
{
  // ASCII without forbidden control characters, as nearly every text is, needs no transcoder and no escaper:
  // widened while that is found out.
  bool plain = true;
  buffer_.resize(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto c = static_cast<unsigned char>(value[i]);
    plain &= (c >= 0x20 && c < 0x80) || c == '\t' || c == '\n' || c == '\r';
    buffer_[i] = c;
  }
  if (plain) {
    text_ = buffer_.c_str();
    return;
  }
  XMLChstring wide;
  if (!XMLEncXStr::convertUTF8ToUTF16(value, wide)) {
    XMLEncXStr::convertUnformattedToUTF16(value, wide);
  }
  text_ = wide.length() == 0 ? u"" : toXmlCh(escaper_.encodeInvalidChars(wide.c_str(), wide.length()));
  if (text_ == toXmlCh(wide.c_str())) {  // nothing to escape: the text outlives `wide` in the buffer
    buffer_.assign(text_, wide.length());
    text_ = buffer_.c_str();
  }
}

void MessageWriter::base64(const std::string& bytes)
{
  std::string text;
  base64Encode(bytes, text);
  utf8(text);
}

void MessageWriter::putScalar(const Field& field)
{
  if (field.cdata) {
    sink_.cdataElement(field.name(), text_);
  } else if (flags_.valuesAsElements) {
    sink_.textElement(field.name(), text_);
  } else {
    sink_.attribute(field.name(), text_);
  }
}

void MessageWriter::putItem(bool cdata)
{
  if (cdata) {
    sink_.cdata("val", text_);
  } else if (flags_.valuesAsElements) {
    sink_.text("val", text_);
  } else {
    sink_.itemAttribute("val", text_);
  }
}

}  // namespace kwxml
