// What the render contexts of this library share.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/platform/Export.h>
#include <kwxml/traverse/KwXMLRenderContext.h>

#include <string>
#include <string_view>

namespace kwxml {

/// Writes values of all kinds as texts under a name. Numbers have neither thousands separators nor the
/// precision of a stream: they look the same in every process.
class KWXML_API ValueTextContext : public KwXMLRenderContext
{
public:
  /// Writes the value of the field.
  using KwXMLRenderContext::writeAttribute;
  /// Writes a value under a name.
  void writeAttribute(std::string name, int value) { writeValue(name, value); }
  void writeAttribute(std::string name, unsigned int value) { writeValue(name, value); }
  void writeAttribute(std::string name, long value) { writeValue(name, value); }
  void writeAttribute(std::string name, unsigned long value) { writeValue(name, value); }
  void writeAttribute(std::string name, long long value) { writeValue(name, value); }
  void writeAttribute(std::string name, float value) { writeValue(name, value); }
  void writeAttribute(std::string name, double value) { writeValue(name, value); }
  void writeAttribute(std::string name, bool value) { writeValue(name, value); }
  void writeAttribute(std::string name, std::string value) { writeValue(name, value); }
  /// Writes a zero-terminated text under a name; null counts as an empty text.
  void writeAttribute(std::string name, const char* value)
  {
    addToOutPut(name, value != nullptr ? value : "");
  }

protected:
  /// The constructors of KwXMLRenderContext.
  using KwXMLRenderContext::KwXMLRenderContext;
  ~ValueTextContext() = default;

  /// Writes the text of a value under a name: floating numbers with six significant digits, truth values as
  /// truthText() has them, texts as they are.
  void writeValue(std::string_view name, long long value);
  void writeValue(std::string_view name, unsigned long value);
  void writeValue(std::string_view name, double value);
  void writeValue(std::string_view name, bool value);
  void writeValue(std::string_view name, const std::string& value) { addToOutPut(name, value); }
  void writeValue(std::string_view name, int value) { writeValue(name, static_cast<long long>(value)); }
  void writeValue(std::string_view name, unsigned int value)
  {
    writeValue(name, static_cast<unsigned long>(value));
  }
  void writeValue(std::string_view name, long value) { writeValue(name, static_cast<long long>(value)); }
  void writeValue(std::string_view name, float value) { writeValue(name, static_cast<double>(value)); }

  /// Adds a name and the text of its value to the output.
  virtual void addToOutPut(std::string_view name, std::string_view value) = 0;
  /// The text of a truth value, a constant.
  virtual const char* truthText(bool value) const { return value ? "true" : "false"; }
};

}  // namespace kwxml
