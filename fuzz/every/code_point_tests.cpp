// Every code point and every kind of bytes that are no UTF-8, in every field that holds text, through every
// form: what is read is what was written, but for what docs/formats.md says.
#include "reliability/Extent.h"
#include "support/Documents.h"
#include "support/DomWriting.h"
#include "support/Hex.h"
#include "support/Messages.h"
#include "support/ParserFeed.h"
#include "xml/Utf.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/platform/LogSink.h>

#include <gtest/gtest.h>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>

#include <algorithm>
#include <cctype>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <map>
#include <stdexcept>

using namespace kwxml::test;

namespace {

using Message = std::unique_ptr<YMMessageBase>;
using Texts = std::vector<std::string>;

// ---- What the forms bend

/// The characters of a text, or nothing when it is no UTF-8. Spelled out here, so that the library's own
/// reading of UTF-8 is not what checks it.
bool decode(const std::string& text, std::u32string& characters)
{
  characters.clear();
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    char32_t c = length == 1 ? first : first & 0x7FU >> length;
    for (std::size_t i = 1; i < length && at + i < text.size(); ++i) {
      c = c << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3FU);
    }
    std::string again;
    if (length == 0 || first >= 0xF8 || c > 0x10FFFF || isSurrogate(c) ||
        (appendUtf8(again, c), text.compare(at, length, again) != 0)) {
      return false;
    }
    characters += c;
    at += length;
  }
  return true;
}

/// Bytes that are no UTF-8 are Latin-1, up to the first zero byte.
std::string asLatin1(const std::string& text)
{
  std::u32string ignored;
  if (decode(text, ignored)) {
    return text;
  }
  std::string latin;
  for (const char byte : text.substr(0, text.find('\0'))) {
    appendUtf8(latin, static_cast<unsigned char>(byte));
  }
  return latin;
}

/// Whether XML 1.0 forbids a unit of the character in UTF-16.
bool isEscaped(char32_t c)
{
  return c > 0xFFFD || isSurrogate(c) || (c < 0x20 && c != '\t' && c != '\n' && c != '\r');
}

enum class Place
{
  Scalar,
  Collection,
  CdataScalar,
  CdataCollection,
};

std::string inXml(const std::string& written, Place place)
{
  std::string text = asLatin1(written);
  std::u32string characters;
  decode(text, characters);
  if (text.starts_with('|') && std::none_of(characters.begin(), characters.end(), isEscaped)) {
    text.erase(0, 1);  // a bar says that escapes follow
  }
  if (place == Place::CdataScalar || place == Place::CdataCollection) {
    std::replace(text.begin(), text.end(), '\r', '\n');
  }
  return text;
}

std::string inJson(const std::string& written, Place)
{
  return asLatin1(written);
}

std::string inBinary(const std::string& written, Place place)
{
  const bool isCut = place == Place::Collection || place == Place::CdataCollection;
  return isCut ? written.substr(0, written.find('\0')) : written;
}

// ---- There and back

YMMessageBase whole(const Message& message)
{
  return message != nullptr ? *message : throw std::runtime_error("what was written is not read");
}

std::string xmlOf(YMMessageBase& message, unsigned number)
{
  std::string text;
  if (XMLEncoder(form(number)).serialize(message, text) != 0) {
    throw std::runtime_error("is not written");
  }
  return text;
}

template <unsigned number>
YMMessageBase byXml(YMMessageBase& message)
{
  return whole(readXml(xmlOf(message, number)));
}

YMMessageBase byParser(YMMessageBase& message)
{
  return whole(readByParser(xmlOf(message, 0)));
}

YMMessageBase byWideText(YMMessageBase& message)
{
  std::u32string characters;
  if (!decode(xmlOf(message, 0), characters)) {
    throw std::runtime_error("is written as what is no UTF-8");
  }
  YMMessageBase read(message.getSubsysID(), message.getClassIndex());
  const std::wstring wide(characters.begin(), characters.end());
  if (XMLDecoder().unSerialize(read, wide.c_str()) != 0) {
    throw std::runtime_error("what was written is not read");
  }
  return read;
}

YMMessageBase byUtf16(YMMessageBase& message)
{
  XMLSerializer::initialize();
  xercesc::DOMImplementation* dom = xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  const std::string tagName = message.getTagName();
  const auto released = [](auto* node) { node->release(); };
  const std::unique_ptr<xercesc::DOMDocument, decltype(released)> document(
      dom->createDocument(nullptr, std::u16string(tagName.begin(), tagName.end()).c_str(), nullptr),
      released);
  XMLSerializer serializer;
  const std::unique_ptr<xercesc::DOMLSSerializer, decltype(released)> writer(
      serializer.DOMCreateAWriterUTF16(), released);
  const std::unique_ptr<xercesc::DOMLSOutput, decltype(released)> output(dom->createLSOutput(), released);
  xercesc::MemBufFormatTarget target;
  output->setByteStream(&target);
  output->setEncoding(u"UTF-16");
  if (!serializer.serializeXMLRecur(message, document.get(), document->getDocumentElement(), 0) ||
      !writer->write(document.get(), output.get())) {
    throw std::runtime_error("is not written");
  }
  return whole(readXml({reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen()}));
}

YMMessageBase byJson(YMMessageBase& message)
{
  std::string json;
  if (JSONEncoder().serialize(message, json) != 0) {
    throw std::runtime_error("is not written");
  }
  return whole(JSONDecoder().unSerialize(json));
}

YMMessageBase byBinary(YMMessageBase& message)
{
  BinaryBuffer buffer;
  if (BinarySerializer::serialize(message, buffer) == 0) {
    throw std::runtime_error("is not written");
  }
  return whole(Message(BinarySerializer::unserialize(buffer, nullptr, false)));
}

struct Form
{
  const char* name;
  YMMessageBase (*back)(YMMessageBase& message);
  std::string (*expected)(const std::string& written, Place place);
};

const Form roads[] = {
    {"attributes", byXml<0>, inXml},
    {"elements", byXml<1>, inXml},
    {"indented elements", byXml<3>, inXml},
    {"attributes, parsed", byParser, inXml},
    {"wide text", byWideText, inXml},
    {"UTF-16", byUtf16, inXml},
    {"JSON", byJson, inJson},
    {"binary", byBinary, inBinary},
};

// ---- Texts in messages

class Trial
{
public:
  Trial(const Form& form) : form_(form), figures_("code-points " + std::string(form.name)) {}

  /// Each text alone in scalars, all of them in collections, there between letters too.
  void run(const Texts& texts)
  {
    Texts all;
    for (const std::string& text : texts) {
      scalars(text);
      all.push_back(text);
      all.push_back("a" + text + "b");
    }
    collections(all);
    figures_.inputs += texts.size();
  }
  bool hasFailed() const { return faults_ > 20; }

private:
  void expect(const std::string& written, const std::string& read, Place place, const char* where)
  {
    const std::string expected = form_.expected(written, place);
    if (read != expected && ++faults_ <= 20) {
      ADD_FAILURE() << form_.name << ", " << where << ": " << toHex(written) << " is read as " << toHex(read)
                    << ", not as " << toHex(expected);
    }
  }

  void scalars(const std::string& text)
  {
    YMMessageBase m = bare("Types_Annotated");
    setText(m, "procedure", text);
    setText(m, "cdataText", text);
    const YMMessageBase read = form_.back(m);
    expect(text, getText(read, "procedure"), Place::Scalar, "string");
    expect(text, getText(read, "cdataText"), Place::CdataScalar, "CDATA");
  }

  void collections(const Texts& texts)
  {
    YMMessageBase m = bare("Types_AllTypes");
    object<Texts>(m, "stringList") = texts;
    object<bstring>(m, "bstringValue") = bstring(texts.front());
    object<std::vector<bstring>>(m, "bstringList").assign(texts.begin(), texts.end());
    auto& map = object<std::map<std::string, std::string>>(m, "stringStringMap");
    std::map<std::string, std::string> expected;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const std::string key = std::to_string(i) + ":" + texts[i];
      map[key] = texts[i];
      expected[form_.expected(key, Place::Collection)] = form_.expected(texts[i], Place::Collection);
    }
    YMMessageBase read = form_.back(m);
    expectList(texts, object<Texts>(read, "stringList"), Place::Collection, "list");
    EXPECT_TRUE(object<bstring>(read, "bstringValue") == bstring(texts.front()))
        << form_.name << ": " << toHex(texts.front());
    EXPECT_TRUE(object<std::vector<bstring>>(read, "bstringList") ==
                object<std::vector<bstring>>(m, "bstringList"))
        << form_.name << " from " << toHex(texts.front());
    EXPECT_TRUE((object<std::map<std::string, std::string>>(read, "stringStringMap")) == expected)
        << form_.name << ": a map from " << toHex(texts.front());
    YMMessageBase annotated = bare("Types_Annotated");
    object<Texts>(annotated, "cdataList") = texts;
    YMMessageBase readCdata = form_.back(annotated);
    expectList(texts, object<Texts>(readCdata, "cdataList"), Place::CdataCollection, "CDATA list");
  }

  void expectList(const Texts& written, const Texts& read, Place place, const char* where)
  {
    ASSERT_EQ(read.size(), written.size())
        << form_.name << ", " << where << " from " << toHex(written.front());
    for (std::size_t i = 0; i < read.size(); ++i) {
      expect(written[i], read[i], place, where);
    }
  }

  const Form& form_;
  Figures figures_;
  int faults_ = 0;
};

/// Where something begins or ends: of UTF-8, of UTF-16, of what XML allows, of what has a meaning in a form.
bool isBorder(char32_t c)
{
  constexpr char32_t ends[] = {0x0,    0xA0,   0x800,  0x1680, 0x2000, 0x2028, 0x202A,  0x2060,  0xD800,
                               0xDC00, 0xE000, 0xFDD0, 0xFEFF, 0xFFF0, 0xFFFE, 0x10000, 0x1F600, 0x110000};
  return c < 0x100 || std::any_of(std::begin(ends), std::end(ends),
                                  [c](char32_t end) { return c + 2 >= end && c <= end + 2; });
}

void forEachCodePoint(const std::function<void(char32_t)>& visit)
{
  Stride stride(9973);
  for (char32_t c = 0; c < 0x110000; ++c) {
    if (stride.takes() || isBorder(c)) {
      visit(c);
    }
  }
}

/// Single bytes and pairs; longer ones of all kinds: longer than needed, surrogates, beyond the last
/// character, cut short. Some pairs are characters.
Texts foreignBytes()
{
  Texts texts;
  Stride stride(499);
  const auto take = [&](std::initializer_list<unsigned> bytes) {
    if (stride.takes()) {
      texts.emplace_back(bytes.begin(), bytes.end());
    }
  };
  for (unsigned first = 0x80; first < 0x100; ++first) {
    texts.emplace_back(1, static_cast<char>(first));
    for (unsigned second = 0; second < 0x100; ++second) {
      take({first, second});
    }
  }
  for (unsigned first = 0xE0; first < 0x100; ++first) {
    for (unsigned second = 0x80; second < 0xC0; ++second) {
      for (const unsigned third : {0x7FU, 0x80U, 0x9FU, 0xBFU, 0xC0U}) {
        take({first, second, third});
        take({first, second, third, 0x80});
        take({first, second, 0x80, third});
        take({first, second, 0x80, 0xBF, third});
      }
    }
  }
  return texts;
}

class Everything : public testing::TestWithParam<Form>
{
protected:
  Everything()
  {
    kwxml::setLogSink([](const kwxml::LogRecord&) {});
  }
  ~Everything() override { kwxml::setLogSink({}); }

  static constexpr std::size_t together = 64;  // texts in one collection
};

void PrintTo(const Form& form, std::ostream* out)
{
  *out << form.name;
}

std::string nameOf(const testing::TestParamInfo<Form>& info)
{
  std::string name = info.param.name;
  std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
  return name;
}

}  // namespace

TEST_P(Everything, IsReadAsItWasWritten)
{
  Trial trial(GetParam());
  Texts texts;
  const auto take = [&](std::string text) {
    texts.push_back(std::move(text));
    if (texts.size() == together && !trial.hasFailed()) {
      trial.run(texts);
      texts.clear();
    }
  };
  forEachCodePoint([&](char32_t c) {
    std::string alone;
    appendUtf8(alone, c);  // surrogates too, which makes them bytes that are no UTF-8
    take(std::move(alone));
  });
  for (const std::string& text : foreignBytes()) {
    take(text);
  }
  if (!texts.empty() && !trial.hasFailed()) {
    trial.run(texts);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Everything, testing::ValuesIn(roads), nameOf);

TEST(WideTexts, AreReadFromJsonAsTheyWereWritten)
{
  using Wide = std::vector<std::wstring>;
  Figures figures("code-points wide strings in JSON");
  Wide texts = {{static_cast<wchar_t>(0x110000)}, {static_cast<wchar_t>(-1)}};
  const auto run = [&] {
    YMMessageBase m = bare("Types_AllTypes");
    object<Wide>(m, "wstringList") = texts;
    YMMessageBase read = byJson(m);
    EXPECT_EQ(object<Wide>(read, "wstringList"), texts);
    for (const std::wstring& text : texts) {
      YMMessageBase one = bare("Types_AllTypes");
      const FieldDef& def = field(one, "wstringValue");
      one.setwstring(def.fieldNumber, def.slot, text, one.getTagID(), def.hash);
      EXPECT_TRUE(byJson(one) == one) << std::hex << static_cast<unsigned>(text[0]);
    }
    figures.inputs += texts.size();
    texts.clear();
  };
  forEachCodePoint([&](char32_t c) {
    const auto wide = static_cast<wchar_t>(c);
    texts.push_back({wide});
    texts.push_back({L'a', wide, L'b'});
    if (texts.size() >= 64) {
      run();
    }
  });
  run();
}
