#include <kwxml/xml/Transcoding.h>

#include <kwxml/diagnostics/HeldOverForks.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/text/Utf8.h>
#include <kwxml/xml/XercesRuntime.h>
#include <kwxml/xml/XmlCh.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLException.hpp>

namespace {

constexpr XMLSize_t transcoderBlockSize = 16384;
constexpr unsigned short noUnits[] = {0};

// The loops over whole texts below have no exits and no branches, so that compilers vectorise them.

bool isAscii(const char* text, std::size_t length) noexcept
{
  unsigned char all = 0;
  for (std::size_t i = 0; i < length; ++i) {
    all = static_cast<unsigned char>(all | static_cast<unsigned char>(text[i]));
  }
  return all < 0x80;
}

bool isAscii(const unsigned short* text, std::size_t length) noexcept
{
  unsigned short all = 0;
  for (std::size_t i = 0; i < length; ++i) {
    all = static_cast<unsigned short>(all | text[i]);
  }
  return all < 0x80;
}

/// The units that a well-formed UTF-8 text takes in UTF-16; any number for another text.
std::size_t countUtf16(const std::string& text) noexcept
{
  std::size_t units = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    units += static_cast<std::size_t>((byte & 0xC0) != 0x80) + static_cast<std::size_t>(byte >= 0xF0);
  }
  return units;
}

/// The bytes that a UTF-16 text takes in UTF-8; nothing when a surrogate has no partner. The XML library's
/// transcoder does not look for those: it would write them out as bytes that are not UTF-8.
std::optional<std::size_t> countUtf8(const unsigned short* text, std::size_t length) noexcept
{
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const unsigned short unit = text[i];
    if (kwxml::isLeadSurrogate(unit)) {
      if (i + 1 == length || !kwxml::isTrailSurrogate(text[i + 1])) {
        return std::nullopt;
      }
      bytes += 4;
      ++i;
    } else if (kwxml::isTrailSurrogate(unit)) {
      return std::nullopt;
    } else {
      bytes += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
    }
  }
  return bytes;
}

/// Transcodes `in` into exactly `capacity` units; false when it is not well-formed or takes another number.
bool transcodeFromUtf8(xercesc::XMLTranscoder& transcoder, const std::string& in, unsigned short* out,
                       std::size_t capacity)
{
  const auto* source = reinterpret_cast<const XMLByte*>(in.data());
  std::size_t left = in.size();
  unsigned char sizes[transcoderBlockSize];
  while (left > 0) {
    XMLSize_t eaten = 0;
    const XMLSize_t room = std::min<XMLSize_t>(capacity, transcoderBlockSize);
    const XMLSize_t made = transcoder.transcodeFrom(source, left, kwxml::toXmlCh(out), room, eaten, sizes);
    if (eaten == 0) {
      return false;  // a sequence that the end of the text cuts short
    }
    source += eaten;
    left -= eaten;
    out += made;
    capacity -= made;
  }
  return capacity == 0;
}

/// Transcodes well-formed UTF-16 into exactly `capacity` bytes; false when it takes another number.
bool transcodeToUtf8(xercesc::XMLTranscoder& transcoder, const unsigned short* in, std::size_t length,
                     char* out, std::size_t capacity)
{
  while (length > 0) {
    XMLSize_t eaten = 0;
    const XMLSize_t room = std::min<XMLSize_t>(capacity, transcoderBlockSize);
    const XMLSize_t made = transcoder.transcodeTo(kwxml::toXmlCh(in), length, reinterpret_cast<XMLByte*>(out),
                                                  room, eaten, xercesc::XMLTranscoder::UnRep_Throw);
    if (eaten == 0) {
      return false;
    }
    in += eaten;
    length -= eaten;
    out += made;
    capacity -= made;
  }
  return capacity == 0;
}

/// Runs one transcoding with the shared transcoder; false when there is none, when it throws and when `work`
/// says so. Memory that runs out is the caller's standard exception, as everywhere.
template <class Work>
bool withTranscoder(Work work)
{
  try {
    xercesc::XMLTranscoder* transcoder = XMLEncXStr::getTranscoderObject();
    return transcoder != nullptr && work(*transcoder);
  } catch (const xercesc::XMLException&) {
    return false;
  } catch (const xercesc::OutOfMemoryException&) {
    throw std::bad_alloc();
  }
}

}  // namespace

XMLEncXStr::XMLEncXStr(const unsigned short* text) : wide_(text)
{
  (void)convertUTF16ToUTF8(wide_, narrow_);  // logged; the text is empty then
}

XMLEncXStr::XMLEncXStr(const char* text) : XMLEncXStr(std::string(text != nullptr ? text : "")) {}

XMLEncXStr::XMLEncXStr(const std::string& text) : narrow_(text)
{
  (void)convertUTF8ToUTF16(narrow_, wide_);
}

const unsigned short* XMLEncXStr::XMLChForm() const noexcept
{
  return wide_.c_str() != nullptr ? wide_.c_str() : noUnits;
}

bool XMLEncXStr::convertUTF8ToUTF16(const std::string& in, XMLChstring& out)
{
  XMLChstring result;
  if (isAscii(in.data(), in.size())) {
    unsigned short* units = result.allocate(in.size());
    for (std::size_t i = 0; i < in.size(); ++i) {
      units[i] = static_cast<unsigned char>(in[i]);
    }
  } else {
    const std::size_t length = countUtf16(in);
    unsigned short* units = result.allocate(length);
    const bool done = withTranscoder(
        [&](xercesc::XMLTranscoder& transcoder) { return transcodeFromUtf8(transcoder, in, units, length); });
    if (!done) {
      XMLDebug::getInstance()->logError(
          "XMLEncXStr::convertUTF8ToUTF16", "%s",
          "Exception translating string from UTF-8 to UTF-16. Likely invalid UTF-8 formatted string.");
      return false;
    }
  }
  out = std::move(result);
  return true;
}

bool XMLEncXStr::convertUTF16ToUTF8(const XMLChstring& in, std::string& out)
{
  return convertUTF16ToUTF8(in.c_str(), in.length(), out);
}

bool XMLEncXStr::convertUTF16ToUTF8(const unsigned short* in, std::size_t length, std::string& out)
{
  std::string result;
  if (isAscii(in, length)) {
    result.resize(length);
    for (std::size_t i = 0; i < length; ++i) {
      result[i] = static_cast<char>(in[i]);
    }
  } else {
    const std::optional<std::size_t> bytes = countUtf8(in, length);
    const bool done = bytes.has_value() && withTranscoder([&](xercesc::XMLTranscoder& transcoder) {
                        result.resize(*bytes);
                        return transcodeToUtf8(transcoder, in, length, result.data(), *bytes);
                      });
    if (!done) {
      XMLDebug::getInstance()->logError(
          "XMLEncXStr::convertUTF16ToUTF8", "%s",
          "Exception translating string from UTF-16 to UTF-8. Likely invalid UTF-16 formatted string.");
      return false;
    }
  }
  out = std::move(result);
  return true;
}

bool XMLEncXStr::convertUnformattedToUTF16(const std::string& in, XMLChstring& out)
{
  const std::size_t length = strnlen(in.data(), in.size());
  std::string utf8;
  utf8.reserve(2 * length);
  for (std::size_t i = 0; i < length; ++i) {
    kwxml::putUtf8(static_cast<unsigned char>(in[i]), [&utf8](char byte) { utf8 += byte; });
  }
  XMLDebug::getInstance()->debug("XMLEncXStr::convertUnformattedToUTF16", 0,
                                 "Translated ASCII-8 to UTF-8. Input length [%zu]. Output length [%zu].",
                                 length, utf8.size());
  return convertUTF8ToUTF16(utf8, out);
}

namespace {

constinit std::mutex makingTranscoder;

[[gnu::constructor(105)]] void watchForks()
{
  kwxml::holdOverForks<makingTranscoder>();
}

}  // namespace

xercesc::XMLTranscoder* XMLEncXStr::getTranscoderObject()
{
  static std::atomic<xercesc::XMLTranscoder*> shared{nullptr};
  xercesc::XMLTranscoder* transcoder = shared.load(std::memory_order_acquire);
  if (transcoder != nullptr || !kwxml::initializeXerces()) {
    return transcoder;
  }
  const std::lock_guard lock(makingTranscoder);
  transcoder = shared.load(std::memory_order_relaxed);
  if (transcoder == nullptr) {
    xercesc::XMLTransService::Codes code = xercesc::XMLTransService::Ok;
    transcoder = xercesc::XMLPlatformUtils::fgTransService->makeNewTranscoderFor(
        "UTF-8", code, transcoderBlockSize, xercesc::XMLPlatformUtils::fgMemoryManager);
    if (transcoder == nullptr) {
      XMLDebug::getInstance()->logError("XMLEncXStr::getTranscoderObject",
                                        "The XML library has no UTF-8 transcoder: result %d",
                                        static_cast<int>(code));
    }
    shared.store(transcoder, std::memory_order_release);
  }
  return transcoder;
}
