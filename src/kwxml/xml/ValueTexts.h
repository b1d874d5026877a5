// The texts that the writers of all forms make of values. Not installed.
//
// ValueTexts is what the forms have in common: how a walk goes on, or ends, after a value that cannot be
// written, and the rules about passwords. XmlValueTexts has the texts of XML. A writer is a walk over the
// fields (MessageWriter) on top of the texts of its form.
#pragma once

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/diagnostics/Log.h>
#include <kwxml/model/FieldTypes.h>
#include <kwxml/text/NumberText.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/TextOutput.h>
#include <kwxml/xml/WritePlan.h>
#include <kwxml/xml/XmlSink.h>

#include <string>
#include <string_view>

class KwXMLContextInfo;
class pstring;

namespace kwxml {

/// Under which the log knows the walk.
inline constexpr const char* writerFunction = "XMLSerializer::serializeXMLRecur";

/// A field on its way out, with what its annotations say.
struct WrittenField
{
  const FieldDef& def;
  const WritePlan::Field& plan;
  AnnotationRecord annotations;
  const char* name() const { return plan.name.text; }
};

class ValueTexts
{
public:
  /// How many values could not be written, or only as what their bytes would be in Latin-1.
  int lost() const { return lost_; }
  /// While nothing of that text has been handed out, what would be logged ends the walk, without a word; the
  /// walk also ends when its taker refuses a part.
  void giveUpOnLoss(TextOutput& out) { output_ = &out; }

protected:
  /// Both must outlive the writer; the context may be null.
  ValueTexts(const EncodingFlags& flags, KwXMLContextInfo* context) : flags_(flags), context_(context) {}
  ValueTexts(const ValueTexts&) = delete;
  ValueTexts& operator=(const ValueTexts&) = delete;
  ~ValueTexts() = default;

  bool ends() const { return tooDeep_ || gaveUp_ || (output_ != nullptr && output_->isRefused()); }
  bool mayGiveUp() const { return output_ != nullptr && !output_->isUnderWay(); }
  /// Ends the walk where it may; what it writes until it ends goes nowhere.
  bool giveUp()
  {
    if (mayGiveUp()) {
      gaveUp_ = true;
      output_->abandon();
    }
    return gaveUp_;
  }
  /// A value cannot be written: `tell` logs that.
  template <class Tell>
  [[gnu::cold]] void lose(Tell tell)
  {
    if (giveUp()) {
      return;
    }
    ++lost_;
    tell();
  }

  /// How a password goes out. Its text, where it has one, is in buffer_.
  enum class PasswordForm
  {
    None,  ///< it cannot be written, which has been told
    Masked,
    Bytes,  ///< those of the value
    Text,
  };
  PasswordForm passwordForm(const WrittenField& field, const pstring& value, int passwordMode);
  /// What a text that is no UTF-8 goes out as; empty where the walk has been given up.
  XMLChstring rescued(const std::string& text);

  // Each makes value_ that of a value, valid until the next one.
  void ascii(std::string_view text, bool isBare = false) { value_ = {text, true, isBare}; }

  const EncodingFlags& flags_;
  KwXMLContextInfo* context_;
  TextOutput* output_ = nullptr;
  bool tooDeep_ = false;
  bool gaveUp_ = false;
  int lost_ = 0;
  XmlValue value_{};
  NumberBuffer digits_;
  std::string buffer_;
};

class XmlValueTexts : public ValueTexts
{
protected:
  using ValueTexts::ValueTexts;

  /// False where nothing is to be written.
  bool integerText(const WrittenField& field, long long value);
  bool enumText(const WrittenField& field, long long value);
  void boolText(long long value) { ascii(value != 0 ? "true" : "false"); }
  /// The text of a field, or of an item, that may go out as a section of characters.
  void fieldText(const WrittenField& field, const std::string& text)
  {
    field.plan.cdata ? section(text) : utf8(text);
  }

  void number(long long value) { ascii(formatInteger(value, digits_)); }
  void number(unsigned long long value) { ascii(formatUnsigned(value, digits_)); }
  template <class Real>
  void real(Real value)
  {
    ascii(flags_.exactNumbers != 0 ? formatExact(value, digits_)
                                   : formatDouble(static_cast<double>(value), digits_));
  }
  void utf8(std::string_view text);
  void base64(const std::string& bytes);
  /// An item of a list of numbers, whatever they stand for.
  template <class Tag, class Item>
  void numberItem(const WrittenField&, Item item)
  {
    if constexpr (std::is_signed_v<Item>) {
      number(static_cast<long long>(item));
    } else {
      number(static_cast<unsigned long long>(item));
    }
  }

private:
  void convert(const std::string& text);
  void section(const std::string& text);

  std::string section_;
  XmlInvalidCharHandler escaper_;
};

}  // namespace kwxml
