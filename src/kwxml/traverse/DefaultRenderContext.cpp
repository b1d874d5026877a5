#include <kwxml/traverse/DefaultRenderContext.h>

#include <kwxml/annotation/PasswordFields.h>
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

/// In one piece: what a stream does for each is more than the pieces are.
void DefaultRenderContext::write(std::string_view name, std::string_view before, std::string_view value,
                                 std::string_view behind)
{
  piece_.clear();
  if (!std::exchange(first_, false)) {
    piece_ += ',';
  }
  piece_.append(name).append(before).append(value).append(behind);
  stream_.write(piece_.data(), static_cast<std::streamsize>(piece_.size()));
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
          kwxml::listText(field, '[', ']'), "");
  }
}

void DefaultRenderContext::writeEnum(MsgFieldContext& field)
{
  if (field.isValueSet() && !kwxml::isSecret(field.getField())) {
    writeAttribute(kwxml::fieldLabel(field.getField(), getFormatOptions().localeId), kwxml::enumText(field));
  }
}

void DefaultRenderContext::writeAttribute(std::string name, const pstring&)
{
  writeAttribute(std::move(name), "****");
}

void DefaultRenderContext::writeAttribute(std::string name, bstring value)
{
  writeAttribute(std::move(name), value.text());
}

void DefaultRenderContext::addToOutPut(std::string_view name, std::string_view value)
{
  write(name, ":[", value, "]");
}
