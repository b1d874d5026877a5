#include "Forms.h"

#include "Report.h"
#include "XmlCheck.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

namespace kwxml::tool {

namespace {

bool looksLikeXml(std::string_view bytes)
{
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) {
    bytes.remove_prefix(byteOrderMark.size());
  }
  const auto start = bytes.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && bytes[start] == '<';
}

bool readXml(const std::string& bytes, const ReadOptions& options, Messages& messages, LibraryLog& log)
{
  KwXMLContextInfo context;
  if (options.passwordsAsReceived) {
    context.setPasswordEncType(Annotation::PASS_THROUGH);
  }
  std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(bytes, &context));
  if (message == nullptr) {
    return false;
  }
  for (const std::string& line : wrongValues(bytes, *message->getClass())) {
    log.error(line);
  }
  messages.push_back(std::move(message));
  return true;
}

bool writeXml(const Messages& messages, const WriteOptions& options, std::string& bytes)
{
  const XMLEncoder encoder(options.flags);
  for (const auto& message : messages) {
    std::string text;
    if (encoder.serialize(*message, text, !options.xmlDeclaration) != 0) {
      return false;
    }
    if (!text.ends_with('\n')) {
      text += '\n';
    }
    bytes += text;
  }
  return true;
}

}  // namespace

std::span<const Form> forms()
{
  static constexpr Form table[] = {
      {"xml", looksLikeXml, readXml, writeXml, true},
  };
  return table;
}

const Form* findForm(std::string_view name)
{
  for (const Form& form : forms()) {
    if (name == form.name) {
      return &form;
    }
  }
  return nullptr;
}

const Form& guessForm(std::string_view bytes)
{
  for (const Form& form : forms()) {
    if (form.read != nullptr && form.looksLike(bytes)) {
      return form;
    }
  }
  return *findForm("xml");
}

std::vector<std::string> formNames(bool readable)
{
  std::vector<std::string> names;
  for (const Form& form : forms()) {
    if (readable ? form.read != nullptr : form.write != nullptr) {
      names.emplace_back(form.name);
    }
  }
  return names;
}

}  // namespace kwxml::tool
