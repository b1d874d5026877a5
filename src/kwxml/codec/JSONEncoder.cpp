#include <kwxml/codec/JSONEncoder.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/json/JsonWriting.h>
#include <kwxml/model/YMMessageBase.h>

#include <exception>

using kwxml::log;

namespace {

constexpr const char* function = "JSONEncoder::serialize";

/// Writes into `text` and lets `finish` have the rest: 0, or 1 with the reason logged.
template <class Finish>
int write(const YMMessageBase& message, kwxml::TextOutput& text, const EncodingFlags& flags,
          KwXMLContextInfo* context, int* lost, Finish finish)
{
  const kwxml::JsonWritten written = kwxml::writeJson(message, text, flags, context);
  if (lost != nullptr) {
    *lost = written.lost;
  }
  return written.done && finish() ? 0 : 1;
}

/// Runs what may throw: memory runs out, or the caller's taker throws.
template <class Run>
int guarded(Run run)
{
  try {
    return run();
  } catch (const std::exception& error) {
    log().logError(function, "[%s]", error.what());
  } catch (...) {
    log().logError(function, "[%s]", "Unknown exception");
  }
  return 1;
}

}  // namespace

int JSONEncoder::serialize(const YMMessageBase& message, std::string& out, int* lost) const
{
  const int result = guarded([&] {
    kwxml::TextOutput text;
    return write(message, text, flags_, context_, lost, [&] {
      text.moveTo(out);
      return true;
    });
  });
  if (result != 0) {
    out.clear();
  }
  return result;
}

int JSONEncoder::serialize(const YMMessageBase& message, const kwxml::TakeText& take, int* lost) const
{
  return guarded([&] {
    kwxml::TextOutput text(take);
    return write(message, text, flags_, context_, lost, [&] { return text.finish(); });
  });
}

int JSONEncoder::serialize(const YMMessageBase& message, std::ostream& out, int* lost) const
{
  return serialize(message, kwxml::intoStream(out), lost);
}

int JSONEncoder::serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                           int* lost) const
{
  const int result = serialize(message, kwxml::intoMemory(memory, size), lost);
  return size > memory.size() ? 1 : result;
}
