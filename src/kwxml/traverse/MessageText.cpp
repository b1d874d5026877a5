#include <kwxml/traverse/MessageText.h>

#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>

#include <ostream>
#include <sstream>

namespace kwxml {

std::string toString(const YMMessageBase& message)
{
  if (message.getClass() == nullptr) {
    return "(no class)";
  }
  std::ostringstream summary;
  DefaultRenderContext context(summary, ContextFormatOpts());
  // The walk takes messages that it may complete; told not to, it changes nothing.
  (void)KwXMLSummary::getKwSummaryInfo(const_cast<YMMessageBase*>(&message), &context, KwXMLFormatOptions());
  return message.getTagName() + " {" + shown(summary.str()) + "}";
}

}  // namespace kwxml

std::ostream& operator<<(std::ostream& out, const YMMessageBase& message)
{
  return out << kwxml::toString(message);
}
