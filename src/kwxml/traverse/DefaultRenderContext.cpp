#include <kwxml/traverse/DefaultRenderContext.h>

#include <kwxml/text/NumberText.h>
#include <kwxml/traverse/Rendering.h>

void DefaultRenderContext::startHeader(std::string)
{
  first_ = true;
}

void DefaultRenderContext::writeHeader(std::string) {}
void DefaultRenderContext::endHeader(std::string) {}
void DefaultRenderContext::startSubHeader(MsgFieldContext&) {}
void DefaultRenderContext::writeSubHeader(std::string) {}
void DefaultRenderContext::endSubHeader(MsgFieldContext&) {}

void DefaultRenderContext::write(std::string_view name, std::string_view before, std::string_view value)
{
  if (!std::exchange(first_, false)) {
    stream_ << ',';
  }
  stream_ << name << before << value;
}

void DefaultRenderContext::writeAttribute(MsgFieldContext& field)
{
  if (!kwxml::isSecret(field.getField())) {
    kwxml::visitScalar(field, [&](const auto& value) {
      writeAttribute(kwxml::fieldLabel(field.getField(), getFormatOptions().localeId), value);
    });
  }
}

void DefaultRenderContext::writeList(MsgFieldContext& field)
{
  if (!kwxml::isSecret(field.getField())) {
    write(kwxml::fieldLabel(field.getField(), getFormatOptions().localeId), "",
          kwxml::listText(field, '[', ']'));
  }
}

void DefaultRenderContext::writeEnum(MsgFieldContext& field)
{
  if (field.isValueSet() && !kwxml::isSecret(field.getField())) {
    writeAttribute(kwxml::fieldLabel(field.getField(), getFormatOptions().localeId), kwxml::enumText(field));
  }
}

void DefaultRenderContext::writeAttribute(std::string name, int value)
{
  writeAttribute(std::move(name), static_cast<long long>(value));
}

void DefaultRenderContext::writeAttribute(std::string name, unsigned int value)
{
  writeAttribute(std::move(name), static_cast<unsigned long>(value));
}

void DefaultRenderContext::writeAttribute(std::string name, long value)
{
  writeAttribute(std::move(name), static_cast<long long>(value));
}

void DefaultRenderContext::writeAttribute(std::string name, unsigned long value)
{
  kwxml::NumberBuffer buffer;
  writeAttribute(std::move(name), std::string(kwxml::formatUnsigned(value, buffer)));
}

void DefaultRenderContext::writeAttribute(std::string name, long long value)
{
  kwxml::NumberBuffer buffer;
  writeAttribute(std::move(name), std::string(kwxml::formatInteger(value, buffer)));
}

void DefaultRenderContext::writeAttribute(std::string name, float value)
{
  writeAttribute(std::move(name), static_cast<double>(value));
}

void DefaultRenderContext::writeAttribute(std::string name, double value)
{
  kwxml::NumberBuffer buffer;
  writeAttribute(std::move(name), std::string(kwxml::formatDouble(value, buffer)));
}

void DefaultRenderContext::writeAttribute(std::string name, bool value)
{
  writeAttribute(std::move(name), value ? "true" : "false");
}

void DefaultRenderContext::writeAttribute(std::string name, std::string value)
{
  write(name, ":[", value + "]");
}

void DefaultRenderContext::writeAttribute(std::string name, const char* value)
{
  writeAttribute(std::move(name), std::string(value != nullptr ? value : ""));
}

void DefaultRenderContext::writeAttribute(std::string name, const pstring&)
{
  writeAttribute(std::move(name), "****");
}

void DefaultRenderContext::writeAttribute(std::string name, bstring value)
{
  writeAttribute(std::move(name), value.text());
}
