#include <kwxml/json/JsonWriting.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonSink.h>
#include <kwxml/xml/MessageWriterFields.h>
#include <kwxml/xml/TextWriting.h>

namespace kwxml {

JsonWritten writeJson(const YMMessageBase& message, TextOutput& out, const EncodingFlags& flags,
                      KwXMLContextInfo* context)
{
  constexpr const char* function = "JSONEncoder::serialize";
  constexpr int topLevelPasswordMode = 2;
  const _ClassDef* cls = message.getClass();
  if (cls == nullptr) {
    log().logError(function, "[%s]", "The message has no class");
    return {};
  }
  if (nestsTooDeep(message)) {
    log().logError(function, "Messages nest deeper than [%d]", maxMessageNesting);
    return {};
  }
  static const XMLSerializationSupport nobody;
  JsonSink sink(out, flags.readableForm != 0);
  MessageWriter<JsonSink> writer(sink, flags, nobody, context);
  sink.beginDocument();
  sink.open(writePlan(MessageAccess::planOf(message), message.getSubsysID(), *cls).rootKey);
  const bool written = writer.writeFields(message, topLevelPasswordMode);
  sink.close();
  sink.endDocument();
  return {.done = written, .lost = writer.lost()};
}

}  // namespace kwxml
