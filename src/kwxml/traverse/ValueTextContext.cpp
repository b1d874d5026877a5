#include <kwxml/traverse/ValueTextContext.h>

#include <kwxml/text/NumberText.h>

namespace kwxml {

void ValueTextContext::writeValue(std::string_view name, unsigned long value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatUnsigned(value, buffer));
}

void ValueTextContext::writeValue(std::string_view name, long long value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatInteger(value, buffer));
}

void ValueTextContext::writeValue(std::string_view name, double value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatDouble(value, buffer));
}

void ValueTextContext::writeValue(std::string_view name, bool value)
{
  addToOutPut(name, truthText(value));
}

}  // namespace kwxml
