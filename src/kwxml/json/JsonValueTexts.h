// The texts that the writer of JSON makes of values. Not installed.
//
// None loses anything, but strings that are no UTF-8.
#pragma once

#include <kwxml/xml/ValueTexts.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace kwxml {

class JsonValueTexts : public ValueTexts
{
protected:
  using ValueTexts::ValueTexts;

  // As of XmlValueTexts. A value without a better form is a number, so that there always is one.
  bool integerText(const WrittenField& field, long long value);
  bool enumText(const WrittenField& field, long long value);
  /// Anything but 0 is true; what is not 1 either is kept as a number.
  void boolText(long long value)
  {
    value == 0 || value == 1 ? ascii(value != 0 ? "true" : "false", true) : number(value);
  }
  void fieldText(const WrittenField&, const std::string& text) { utf8(text); }

  /// Programs of many languages keep numbers as doubles, which hold integers up to 2^53: larger ones are
  /// texts.
  static constexpr long long mostBare = 1LL << 53;
  void number(long long value)
  {
    ascii(formatInteger(value, digits_), value >= -mostBare && value <= mostBare);
  }
  void number(unsigned long long value)
  {
    ascii(formatUnsigned(value, digits_), value <= static_cast<unsigned long long>(mostBare));
  }
  /// "inf", "-inf", "nan" and their like are texts.
  template <class Real>
  void real(Real value)
  {
    constexpr Real most = std::numeric_limits<Real>::max();
    ascii(formatFaithful(value, digits_), value >= -most && value <= most);
  }
  void utf8(std::string_view text);
  void base64(const std::string& bytes);
  /// A text; where an element of it is no character, an array of the elements' numbers.
  void wideText(const std::wstring& text);
  template <class Tag, class Item>
  void numberItem(const WrittenField& field, Item item)
  {
    if constexpr (Tag::info.element == FIELD_BOOL) {
      boolText(item);
    } else if constexpr (Tag::info.element == FIELD_ENUM) {
      enumText(field, static_cast<std::int32_t>(item));
    } else if constexpr (std::is_signed_v<Item>) {
      number(static_cast<long long>(item));
    } else {
      number(static_cast<unsigned long long>(item));
    }
  }

private:
  bool enumName(const WrittenField& field, long long value);
};

}  // namespace kwxml
