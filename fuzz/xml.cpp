// Fuzzes the reader of XML: whichever feed reads a document, the parser of xerces-c or our scanner, the
// message, the log lines and the problems are the same. And the writer, with what the reader let through:
// that must be readable.
#include "Fuzz.h"

#include "support/DomWriting.h"

#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Registry.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/xml/MySAX2Handler.h>
#include <kwxml/xml/XMLSerializer.h>
#include <kwxml/xml/XmlSources.h>

#include <map>
#include <memory>
#include <string>

using namespace kwxml::fuzz;

namespace {

/// What the library has logged since they were last taken.
std::string& lines()
{
  static std::string& all = *new std::string;
  return all;
}

/// A derived handler is always fed by the parser.
class ParserHandler : public MySAX2Handler
{
};

struct Reading
{
  int result = 0;
  std::string lines;
  std::string problems;
  std::unique_ptr<YMMessageBase> message;
};

template <class Handler, class Parse>
Reading read(Parse parse)
{
  Reading reading;
  kwxml::Problems problems;
  Handler handler;
  XMLSerializer serializer;
  serializer.setObserver(&problems);
  lines().clear();
  reading.result = parse(serializer, handler);
  reading.lines = std::move(lines());
  reading.message.reset(handler.takeMessage());
  for (const kwxml::Problems::Entry& problem : problems.entries()) {
    // Feeds part texts in their own ways.
    reading.problems +=
        problem.kind == kwxml::ProblemKind::StrayText ? problem.path + ": text\n" : problem.text + "\n";
  }
  reading.problems += std::to_string(problems.count());
  return reading;
}

template <class Parse>
std::unique_ptr<YMMessageBase> readByBoth(Parse parse)
{
  Reading scanned = read<MySAX2Handler>(parse);
  const Reading parsed = read<ParserHandler>(parse);
  if (scanned.result != parsed.result) {
    wrong("the feeds give different results");
  }
  if ((scanned.message == nullptr) != (parsed.message == nullptr) ||
      (scanned.message != nullptr && !areSame(*scanned.message, *parsed.message))) {
    wrong("the feeds give different messages");
  }
  if (scanned.lines != parsed.lines) {
    wrong("the feeds give different log lines");
  }
  if (scanned.problems != parsed.problems) {
    std::fprintf(stderr, "%s\n--\n%s\n", scanned.problems.c_str(), parsed.problems.c_str());
    wrong("the feeds give different problems");
  }
  return scanned.result == 0 ? std::move(scanned.message) : nullptr;
}

/// A message that held the former document of its class reads as a new one.
void readOver(const YMMessageBase& message, const std::string& text)
{
  static std::map<unsigned long, YMMessageBase>& former = *new std::map<unsigned long, YMMessageBase>;
  YMMessageBase& used = former.try_emplace(message.getTagID(), message).first->second;
  YMMessageBase fresh = message;
  if (XMLSerializer().unserialize(used, text) != 0 || !areSame(used, message)) {
    wrong("a used message reads otherwise than a new one");
  }
  YMMessageBase marked = used;
  marked.setEveryPrimitiveBitset(true);
  fresh.setEveryPrimitiveBitset(true);
  if (!areSame(marked, fresh)) {
    wrong("a used message keeps what it held");
  }
}

/// With and without a DOM the text and the log lines are the same.
void writeByBoth(YMMessageBase& message, unsigned number)
{
  kwxml::setLogLevel(0);  // with traces there is no other way than the DOM
  const EncodingFlags flags = kwxml::test::form(number % kwxml::test::forms);
  const bool elementOnly = number / kwxml::test::forms % 2 != 0;
  std::string byDom;
  lines().clear();
  const int expected = kwxml::test::writeByDom(message, flags, byDom, elementOnly);
  const std::string logged = std::move(lines());
  std::string text;
  lines().clear();
  if (XMLSerializer(flags).serialize(message, text, elementOnly) != expected || text != byDom) {
    wrong("the text is another one than that of the DOM");
  }
  if (lines() != logged) {
    wrong("writing without a DOM logs something else");
  }
}

void peekByBoth(const std::string& text)
{
  std::string name;
  unsigned int tag = 0;
  XMLSerializer::GetTagAndTagIDFromXML(text, name, tag);
  std::string parsedName;
  unsigned int parsedTag = 0;
  kwxml::ParserMemory memory;
  XMLSerializer::_GetTagAndTagIDFromXML(kwxml::narrowSource(text, memory).get(), parsedName, parsedTag);
  if (name != parsedName || tag != parsedTag) {
    wrong("the feeds give different tags");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  KWPI_Focus::setFocus("fuzz");
  kwxml::Registry::tellLoadedOnce();  // else the first of two readings says it, and the second does not
  kwxml::setLogSink([](const kwxml::LogRecord& record) {
    if (std::string_view(record.log) != "XMLMessage") {
      lines() += std::to_string(record.level) + " " + (record.function != nullptr ? record.function : "") +
                 ": " + std::string(record.text) + "\n";
    }
  });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::wstring wide;
  for (std::string_view rest = text; !rest.empty();) {
    std::uint32_t c = 0;
    const std::size_t length = kwxml::utf8Character(rest, c);
    wide += static_cast<wchar_t>(length != 0 ? c : static_cast<unsigned char>(rest.front()) + 0xD780U);
    rest.remove_prefix(length != 0 ? length : 1);
  }
  kwxml::setLogLevel(size % 2 == 0 ? 0 : 15);
  readByBoth([&](XMLSerializer& serializer, MySAX2Handler& handler) {
    return serializer.parserHelperWideChar(&handler, wide.c_str(), false);
  });
  peekByBoth(text);
  const std::unique_ptr<YMMessageBase> message =
      readByBoth([&](XMLSerializer& serializer, MySAX2Handler& handler) {
        return serializer.parserHelper(&handler, text);
      });
  if (!message) {
    return 0;
  }
  readOver(*message, text);
  writeByBoth(*message, static_cast<unsigned>(std::hash<std::string>()(text)));
  std::string written;
  if (XMLEncoder().serialize(*message, written) != 0) {
    wrong("a message that was read cannot be written");
  }
  const std::unique_ptr<YMMessageBase> again(XMLDecoder().unSerialize(written));
  if (!again) {
    wrong("a message that was written cannot be read");
  }
  return 0;
}
