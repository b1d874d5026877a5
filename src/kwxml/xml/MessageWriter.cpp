#include <kwxml/xml/MessageWriter.h>

#include <kwxml/xml/DomSink.h>
#include <kwxml/xml/MessageWriterFields.h>
#include <kwxml/xml/TextSink.h>
#include <kwxml/xml/XMLSerializer.h>

namespace kwxml {

template class MessageWriter<DomSink>;
template class MessageWriter<TextSink>;

}  // namespace kwxml

void parseStringForCDATAEndAndReplace(std::string& text)
{
  auto at = text.find("]]>");
  if (at == std::string::npos) {
    return;
  }
  std::string out;
  std::size_t copied = 0;
  for (; at != std::string::npos; at = text.find("]]>", copied)) {
    out.append(text, copied, at - copied).append("]]]]>>");
    copied = at + 3;
  }
  text = out.append(text, copied);
}
