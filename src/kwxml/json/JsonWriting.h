// Writing a message as JSON. Not installed.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/xml/TextOutput.h>

class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {

/// What became of a message.
struct JsonWritten
{
  bool done = false;  ///< false: it has no class, or nests too deep (logged); nothing has been handed out
  int lost = 0;       ///< values that could not be written, or not as they are; each is logged
};

JsonWritten writeJson(const YMMessageBase& message, TextOutput& out, const EncodingFlags& flags,
                      KwXMLContextInfo* context);

}  // namespace kwxml
