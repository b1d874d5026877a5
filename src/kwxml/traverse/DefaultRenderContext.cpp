#include <kwxml/traverse/DefaultRenderContext.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/traverse/Rendering.h>

#include <algorithm>
#include <sstream>
#include <utility>

void DefaultRenderContext::startHeader(std::string)
{
  first_ = true;
}

void DefaultRenderContext::DumpToString(std::string& out) const
{
  out = stream_.str();
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
  if (!stream_.good()) {
    return;
  }
  // As write() does, without what it prepares for streams that are files.
  std::streambuf& out = *stream_.rdbuf();
  const std::string_view comma = std::exchange(first_, false) ? "" : ",";
  const std::string_view parts[] = {comma, name, before, value, behind};
  char piece[256];
  if (comma.size() + name.size() + before.size() + value.size() + behind.size() > sizeof piece) {
    for (const std::string_view part : parts) {
      out.sputn(part.data(), static_cast<std::streamsize>(part.size()));
    }
    return;
  }
  char* to = piece;
  for (const std::string_view part : parts) {
    to = std::copy(part.begin(), part.end(), to);
  }
  out.sputn(piece, to - piece);
}

void DefaultRenderContext::writeAttribute(MsgFieldContext& field)
{
  if (!kwxml::isSecret(field.getField())) {
    kwxml::visitScalar(field, [&](const auto& value) {
      writeValue(kwxml::FieldLabel(field.getField(), getFormatOptions().localeId), value);
    });
  }
}

void DefaultRenderContext::writeList(MsgFieldContext& field)
{
  if (!kwxml::isSecret(field.getField())) {
    write(kwxml::FieldLabel(field.getField(), getFormatOptions().localeId), "",
          kwxml::listText(field, '[', ']'), "");
  }
}

void DefaultRenderContext::writeEnum(MsgFieldContext& field)
{
  if (field.isValueSet() && !kwxml::isSecret(field.getField())) {
    writeValue(kwxml::FieldLabel(field.getField(), getFormatOptions().localeId), kwxml::enumText(field));
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
