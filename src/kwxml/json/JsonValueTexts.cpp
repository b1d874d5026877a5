#include <kwxml/json/JsonValueTexts.h>

#include <kwxml/model/Metadata.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/JsonText.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XmlCh.h>
#include <kwxml/xml/XmlText.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace kwxml {

bool JsonValueTexts::integerText(const WrittenField& field, long long value)
{
  if (flags_.readableForm != 0 && field.annotations.present()) {
    const int form = field.annotations.dateForm();
    if (field.annotations.isTimeOfDay() ? formatTimeOfDay(value, buffer_)
                                        : form != 0 && formatIsoDate(value, form, buffer_)) {
      ascii(buffer_);
      return true;
    }
  }
  if (value < 0 && fieldTypeInfo(field.def.type).json == JsonForm::UnsignedNumber) {
    number(static_cast<unsigned long long>(value));  // the slots of all integers are signed
  } else {
    number(value);
  }
  return true;
}

bool JsonValueTexts::enumText(const WrittenField& field, long long value)
{
  if (!enumName(field, value)) {
    number(value);
  }
  return true;
}

/// False where the enumeration has no name that is read as just this value.
bool JsonValueTexts::enumName(const WrittenField& field, long long value)
{
  const _ClassDef* cls = findClass(packedReference(field.def));
  const FieldDef* const found = findEnumerator(cls, value);
  if (found == nullptr) {
    return false;
  }
  const std::string_view name = found->getName();
  if (name.empty() || (name[0] >= '0' && name[0] <= '9') ||
      std::any_of(cls->begin(), found,
                  [name](const FieldDef& other) { return asciiEqualsIgnoreCase(other.getName(), name); })) {
    return false;
  }
  utf8(name);
  return true;
}

namespace {

/// The bytes of a text, or'ed as jsonBytes has them, where it is worth to know that there are no others than
/// ASCII and which are not.
unsigned char seenIn(std::string_view text)
{
  unsigned char seen = 0;
  for (const char c : text) {
    seen |= jsonBytes[static_cast<unsigned char>(c)];
  }
  return seen;
}

bool isUtf8(std::string_view text)
{
  std::uint32_t c = 0;
  for (std::size_t size = 0; !text.empty(); text.remove_prefix(size)) {
    size = utf8Character(text, c);
    if (size == 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

void JsonValueTexts::utf8(std::string_view text)
{
  const unsigned char seen = seenIn(text);
  if ((seen & jsonBeyond) == 0 || isUtf8(text)) [[likely]] {
    value_ = {text, (seen & jsonEscaped) == 0};
    return;
  }
  const XMLChstring wide = rescued(std::string(text));
  buffer_.clear();
  if (wide.length() != 0) {
    appendLooseUtf8(buffer_, toXmlCh(wide.c_str()));
  }
  value_ = {buffer_, false};
}

void JsonValueTexts::base64(const std::string& bytes)
{
  buffer_ = base64_encode(bytes);
  ascii(buffer_);
}

void JsonValueTexts::wideText(const std::wstring& text)
{
  buffer_.clear();
  if (std::all_of(text.begin(), text.end(),
                  [](wchar_t c) { return isCharacter(static_cast<std::uint32_t>(c)); })) {
    for (const wchar_t c : text) {
      putUtf8(static_cast<std::uint32_t>(c), [this](char byte) { buffer_ += byte; });
    }
    value_ = {buffer_, false};
    return;
  }
  buffer_ += '[';
  for (const wchar_t c : text) {
    buffer_ += buffer_.size() > 1 ? "," : "";
    buffer_ += formatUnsigned(static_cast<std::uint32_t>(c), digits_);
  }
  buffer_ += ']';
  ascii(buffer_, true);
}

}  // namespace kwxml
