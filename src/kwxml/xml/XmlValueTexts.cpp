#include <kwxml/xml/ValueTexts.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XMLSerializer.h>
#include <kwxml/xml/XmlCh.h>
#include <kwxml/xml/XmlText.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>

namespace kwxml {

bool XmlValueTexts::integerText(const WrittenField& field, long long value)
{
  constexpr int secondsPerDay = 86400;
  if (!flags_.readableForm || !field.annotations.present()) {
    number(value);
    return true;
  }
  if (field.annotations.isTimeOfDay()) {
    if (value > secondsPerDay || value < INT_MIN) {
      lose([value] {
        log().logError(writerFunction, "Invalid time in seconds [%d]",
                       static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX)));
      });
      return false;
    }
    char clock[80];
    const auto seconds = static_cast<int>(value);
    std::snprintf(clock, sizeof clock, "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    ascii(buffer_ = clock);
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
    lose([&] { log().logError(writerFunction, "[%s]", "Unable to convert timestamp to date"); });
    return false;
  }
  ascii(buffer_ = date);
  return true;
}

bool XmlValueTexts::enumText(const WrittenField& field, long long value)
{
  if (!flags_.readableForm && !flags_.enumsAsNames) {
    number(value);
    return true;
  }
  // The one that logs what is missing comes when the walk cannot give up any more.
  const _ClassDef* cls =
      mayGiveUp() ? findClass(packedReference(field.def)) : YMMessageBase::GetClassDefFromClassID(field.def);
  const FieldDef* enumerator = findEnumerator(cls, value);
  if (enumerator == nullptr) {
    lose([&] {
      log().logError(writerFunction, "Field [%s] does not accept value [%lld]", field.name(), value);
    });
    return false;
  }
  utf8(enumerator->getName());
  return true;
}

ValueTexts::PasswordForm ValueTexts::passwordForm(const WrittenField& field, const pstring& value,
                                                  int passwordMode)
{
  if (!field.annotations.present()) {
    lose([&] {
      log().logError(writerFunction, "There are no annotations specified on this field : [%s]", field.name());
    });
    return PasswordForm::None;
  }
  const int type = field.annotations.passwordType();
  if (type == 0) {
    lose([&] {
      log().logError(writerFunction, "Password annotation is not specified on this field : [%s]",
                     field.name());
    });
    return PasswordForm::None;
  }
  if (flags_.maskPasswords) {
    return PasswordForm::Masked;
  }
  if (passwordMode <= 1) {
    return PasswordForm::Bytes;
  }
  std::string text;
  if (encryptPassword({flags_, context_}, type, value, text) == passwordHandlerMissing) {
    lose([&] {
      log().logError(writerFunction, "Password Handler Not Found while serializing bstring field [%s]",
                     field.name());
    });
    return PasswordForm::None;
  }
  buffer_ = std::move(text);
  return PasswordForm::Text;
}

XMLChstring ValueTexts::rescued(const std::string& text)
{
  XMLChstring wide;
  if (!XMLEncXStr::convertUTF8ToUTF16(text, wide)) {
    ++lost_;
    (void)XMLEncXStr::convertUnformattedToUTF16(text, wide);
  }
  return wide;
}

namespace {

enum : unsigned char
{
  forbidden = 1,  ///< XML does not allow it
  beyond = 2,     ///< part of a character that is not ASCII
  markup = 4,     ///< it is written otherwise in some place
};

constexpr std::array<unsigned char, 256> kinds = [] {
  std::array<unsigned char, 256> table{};
  for (unsigned c = 0; c < 256; ++c) {
    const bool layout = c == '\t' || c == '\n' || c == '\r';
    table[c] = c >= 0x80                                                ? beyond
               : c < 0x20 && !layout                                    ? forbidden
               : layout || c == '&' || c == '<' || c == '>' || c == '"' ? markup
                                                                        : 0;
  }
  return table;
}();

/// Whether all of the text is UTF-8, of characters that XML allows and that have one unit in UTF-16.
bool isAllowed(std::string_view text)
{
  while (!text.empty()) {
    std::uint32_t c = 0;
    const std::size_t size = utf8Character(text, c);
    if (size == 0 || c >= 0xFFFE || (c < 0x80 && kinds[c] == forbidden)) {
      return false;
    }
    text.remove_prefix(size);
  }
  return true;
}

}  // namespace

/// The text itself, as nearly every one is; or what its escapes and its rescue make of it.
void XmlValueTexts::utf8(std::string_view text)
{
  unsigned char seen = 0;
  for (const char c : text) {
    seen |= kinds[static_cast<unsigned char>(c)];
  }
  if ((seen & (forbidden | beyond)) == 0) [[likely]] {
    value_ = {text, seen == 0};
  } else if ((seen & forbidden) == 0 && isAllowed(text)) {
    value_ = {text, false};
  } else {
    convert(std::string(text));
  }
}

void XmlValueTexts::convert(const std::string& text)
{
  std::uint32_t c = 0;
  std::string_view rest = text;
  for (std::size_t size = 0; !rest.empty() && (size = utf8Character(rest, c)) != 0;) {
    rest.remove_prefix(size);
  }
  if (!rest.empty() && giveUp()) {  // the rescue of what is no UTF-8 is logged
    value_ = {"", true};
    return;
  }
  const XMLChstring wide = rescued(text);
  buffer_.clear();
  if (wide.length() != 0) {
    const unsigned short* units = escaper_.encodeInvalidChars(wide.c_str(), wide.length());
    appendLooseUtf8(buffer_, toXmlCh(units));
  }
  value_ = {buffer_, false};
}

/// The text of a value that goes out as a section of characters.
void XmlValueTexts::section(const std::string& text)
{
  if (text.find("]]>") == std::string::npos) {
    return utf8(text);
  }
  section_ = text;
  parseStringForCDATAEndAndReplace(section_);
  utf8(section_);
}

void XmlValueTexts::base64(const std::string& bytes)
{
  base64Encode(bytes, section_);
  utf8(section_);
}

}  // namespace kwxml
