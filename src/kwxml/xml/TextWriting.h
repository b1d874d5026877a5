// Writing a message as text without a DOM, where that gives what a DOM would. Not installed.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/xml/TextOutput.h>

class KwXMLContextInfo;
class XMLSerializationSupport;
class YMMessageBase;

namespace kwxml {

/// What became of a message.
struct TextWritten
{
  bool done = false;  ///< false: nothing has been handed out or logged, and the DOM has to do it
  int lost = 0;       ///< values that could not be written; each is logged
};

/// Leaves to the DOM what is unusual: names that XML might not allow, messages that nest too deep, passwords
/// that an algorithm has to encrypt in their order, traces, listeners. A value that cannot be written is
/// unusual, too, as long as nothing of the text has been handed out; later it is logged and left out.
TextWritten writeText(const YMMessageBase& message, TextOutput& out, const EncodingFlags& flags,
                      const XMLSerializationSupport& listeners, KwXMLContextInfo* context, bool elementOnly);

/// Whether messages nest deeper in a message than a reader accepts.
bool nestsTooDeep(const YMMessageBase& root);

}  // namespace kwxml
