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
  void writeAttribute(std::string name, int value);
  void writeAttribute(std::string name, unsigned int value);
  void writeAttribute(std::string name, long value);
  void writeAttribute(std::string name, unsigned long value);
  void writeAttribute(std::string name, long long value);
  void writeAttribute(std::string name, float value);
  void writeAttribute(std::string name, double value);
  void writeAttribute(std::string name, bool value);
  void writeAttribute(std::string name, std::string value);
  /// Null is an empty text.
  void writeAttribute(std::string name, const char* value);

protected:
  using KwXMLRenderContext::KwXMLRenderContext;
  ~ValueTextContext() = default;

  virtual void addToOutPut(std::string_view name, std::string_view value) = 0;
  virtual const char* truthText(bool value) const { return value ? "true" : "false"; }
};

}  // namespace kwxml
