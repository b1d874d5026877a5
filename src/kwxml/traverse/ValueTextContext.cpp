#include <kwxml/traverse/ValueTextContext.h>

#include <kwxml/text/NumberText.h>

namespace kwxml {

void ValueTextContext::writeAttribute(std::string name, int value)
{
  writeAttribute(std::move(name), static_cast<long long>(value));
}

void ValueTextContext::writeAttribute(std::string name, unsigned int value)
{
  writeAttribute(std::move(name), static_cast<unsigned long>(value));
}

void ValueTextContext::writeAttribute(std::string name, long value)
{
  writeAttribute(std::move(name), static_cast<long long>(value));
}

void ValueTextContext::writeAttribute(std::string name, unsigned long value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatUnsigned(value, buffer));
}

void ValueTextContext::writeAttribute(std::string name, long long value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatInteger(value, buffer));
}

void ValueTextContext::writeAttribute(std::string name, float value)
{
  writeAttribute(std::move(name), static_cast<double>(value));
}

void ValueTextContext::writeAttribute(std::string name, double value)
{
  NumberBuffer buffer;
  addToOutPut(name, formatDouble(value, buffer));
}

void ValueTextContext::writeAttribute(std::string name, bool value)
{
  addToOutPut(name, truthText(value));
}

void ValueTextContext::writeAttribute(std::string name, std::string value)
{
  addToOutPut(name, value);
}

void ValueTextContext::writeAttribute(std::string name, const char* value)
{
  addToOutPut(name, value != nullptr ? value : "");
}

}  // namespace kwxml
