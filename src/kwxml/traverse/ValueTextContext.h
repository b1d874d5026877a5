// What the render contexts share: values of all kinds as texts under a name.
#pragma once

#include <kwxml/model/StringTypes.h>
#include <kwxml/traverse/KwXMLRenderContext.h>

#include <string>
#include <string_view>

namespace kwxml {

/// Numbers have no thousands separators and no precision of a stream's: they are the same in every process.
class ValueTextContext : public KwXMLRenderContext
{
public:
  using KwXMLRenderContext::writeAttribute;
  void writeAttribute(std::string name, int value) { writeValue(name, value); }
  void writeAttribute(std::string name, unsigned int value) { writeValue(name, value); }
  void writeAttribute(std::string name, long value) { writeValue(name, value); }
  void writeAttribute(std::string name, unsigned long value) { writeValue(name, value); }
  void writeAttribute(std::string name, long long value) { writeValue(name, value); }
  void writeAttribute(std::string name, float value) { writeValue(name, value); }
  void writeAttribute(std::string name, double value) { writeValue(name, value); }
  void writeAttribute(std::string name, bool value) { writeValue(name, value); }
  void writeAttribute(std::string name, std::string value) { writeValue(name, value); }
  /// Null is an empty text.
  void writeAttribute(std::string name, const char* value)
  {
    addToOutPut(name, value != nullptr ? value : "");
  }

protected:
  using KwXMLRenderContext::KwXMLRenderContext;
  ~ValueTextContext() = default;

  /// The text of a value of one of the types above, or of bytes.
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

  virtual void addToOutPut(std::string_view name, std::string_view value) = 0;
  virtual const char* truthText(bool value) const { return value ? "true" : "false"; }
};

}  // namespace kwxml
