// Writes what the fuzzers start from: seeds <folder> fills <folder>/<fuzzer>/ with inputs (every class of the
// catalogue filled, its fields one by one, records and batches of them, annotation records, values by XPath,
// schemas) and <folder>/<fuzzer>.dict with words.
#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/model/Metadata.h>
#include <kwxml/text/ShownText.h>

#include "support/Messages.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace kwxml;
namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

class Seeds
{
public:
  explicit Seeds(fs::path folder) : folder_(std::move(folder))
  {
    for (const char* fuzzer :
         {"decode", "records", "batch", "inspect", "xml", "json", "schemas", "annotations", "xpath"}) {
      fs::create_directories(folder_ / fuzzer);
    }
    wordsOfBinary_ = {"\x02\0\1\0"s, "\1\0\1\0"s, number(wire::collectionMarker), "\xFF\xFF\xFF\xFF\x0F"s};
    wordsOfXml_ = {"<",         "\r\n",
                   "\t",        "&#x1F600;",
                   "&#10;",     "&apos;",
                   ">",         "/>",
                   "</",        "=\"",
                   "\"",        "item",
                   "key",       "value",
                   "<![CDATA[", "]]>",
                   "<!--",      "-->",
                   "<!DOCTYPE", "&#",
                   ";",         "&amp;",
                   "<?xml",     "xmlns:",
                   "|",         "-9223372036854775808"};
    for (const AnnotationKind& kind : annotationKinds) {
      const unsigned long tag = annotationTag(kind.name);
      std::string bytes;
      for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(tag >> shift & 0xFF);
      }
      wordsOfAnnotations_.insert(bytes);
      if (kind.member != nullptr) {
        wordsOfAnnotations_.insert(kind.member);
      }
    }
  }

  void addClass(int system, int index)
  {
    YMMessageBase filled(system, index);
    const std::string name = filled.getTagName();
    addName(name);
    wordsOfBinary_.insert(number(static_cast<std::uint32_t>(filled.getTagID())));
    test::fillAll(filled, 1, 1);
    add(name, filled);
    for (const FieldDef& def : *filled.getClass()) {
      addName(def.getName());
      wordsOfBinary_.insert(number(wire::fieldKey(def)));
      if (def.annotations != nullptr) {
        const auto length = static_cast<std::size_t>(def.annotations[0] << 8 | def.annotations[1]);
        write("annotations/" + name + "." + def.getName(),
              {reinterpret_cast<const char*>(def.annotations), length});
      }
      YMMessageBase one(system, index);
      one.wipeBitset();
      if (test::fill(one, def, 1, 1)) {
        add(name + "." + def.getName(), one);
      }
    }
  }

  /// The schemas of a folder and those below it.
  void addSchemas(const fs::path& from)
  {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(from)) {
      if (entry.path().extension() == ".xml") {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        std::string name = entry.path().lexically_relative(from).string();
        std::replace(name.begin(), name.end(), '/', '.');
        write("schemas/" + name, text);
        addWords(text);
      }
    }
  }

  /// The files of several records, and the words.
  void finish() const
  {
    write("records/several", records_);
    write("batch/several", batch_);
    write("inspect/records", records_);
    write("inspect/batch", batch_);
    for (const char* fuzzer : {"decode", "records", "batch", "inspect"}) {
      writeWords(std::string(fuzzer) + ".dict", wordsOfBinary_);
    }
    writeWords("annotations.dict", wordsOfAnnotations_);
    writeWords("xpath.dict", wordsOfXPath_);
    writeWords("xml.dict", wordsOfXml_);
    writeWords("json.dict", wordsOfJson_);
    writeWords("schemas.dict", wordsOfSchemas_);
  }

private:
  static constexpr std::size_t largest = 4096;  // what the fuzzers are told to keep to

  static std::string number(std::uint32_t value)
  {
    value = littleEndian(value);
    return {reinterpret_cast<const char*>(&value), sizeof value};
  }

  /// The tags and attributes of a schema.
  void addWords(const std::string& text)
  {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      if (word.size() <= 40 && word.find_first_of("<=") != std::string::npos) {
        wordsOfSchemas_.insert(" " + word);
      }
    }
  }

  void addName(const std::string& name)
  {
    wordsOfXml_.insert(name);
    wordsOfJson_.insert("\"" + name + "\":");
  }

  void add(const std::string& name, YMMessageBase& message)
  {
    BinaryBuffer buffer;
    BinarySerializer::serialize(message, buffer);
    const std::string bytes(buffer.data(), buffer.length());
    write("decode/" + name, bytes);
    const std::string bigEndian = {'\0', '\0', static_cast<char>(bytes.size() >> 8),
                                   static_cast<char>(bytes.size())};
    const std::string record = bigEndian + bytes;
    std::string digits = std::to_string(bytes.size());
    digits.resize(4);
    const std::string version = "1\0\0\0"s;
    write("records/" + name, record);
    write("batch/" + name, version + digits + bytes);
    if (records_.size() + record.size() <= largest) {
      records_ += record;
      batch_ += (batch_.empty() ? version : "") + digits + bytes;
    }
    std::string xml;
    if (XMLEncoder().serialize(message, xml, true) == 0) {
      write("xml/" + name, xml);
      // No writer makes a comment or an empty section, and they are hard to come by at random.
      const std::size_t inside = xml.find('<', xml.find('>'));
      if (inside != std::string::npos) {
        write("xml/" + name + ".comment", xml.insert(inside, "<!-- a > -->").insert(inside, "<![CDATA[]]>"));
      }
    }
    std::string json;
    if (JSONEncoder().serialize(message, json) == 0) {
      write("json/" + name, json);
    }
    write("inspect/" + name, bytes);
    addXPaths(name, message);
  }

  /// The values of a message by XPath, where its system has them.
  void addXPaths(const std::string& name, YMMessageBase& message)
  {
    if (YMMessageBase::getXPathData(static_cast<short>(message.getSubsysID())) == nullptr) {
      return;
    }
    std::vector<XPathMetaData> records;
    XMLMetaData().getXpathMetaData(&message, records, true);
    std::string lines;
    for (const XPathMetaData& record : records) {
      lines += std::to_string(record.id) + "\t" + record.xpath + "\t" + shown(record.value, "\\") + "\n";
      wordsOfXPath_.insert(std::to_string(record.id) + "\t");
      wordsOfXPath_.insert("\t" + record.xpath + "\t");
    }
    if (!lines.empty()) {
      write("xpath/" + name, lines);
    }
  }

  void write(const std::string& name, const std::string& bytes) const
  {
    if (bytes.size() > largest) {
      return;
    }
    std::ofstream out(folder_ / name, std::ios::binary);
    if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) {
      throw std::runtime_error("cannot write " + (folder_ / name).string());
    }
  }

  void writeWords(const std::string& name, const std::set<std::string>& words) const
  {
    std::string text;
    for (const std::string& word : words) {
      text += '"';
      for (const char c : word) {
        char escaped[5];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned char>(c));
        text += escaped;
      }
      text += "\"\n";
    }
    std::ofstream(folder_ / name) << text;
  }

  fs::path folder_;
  std::set<std::string> wordsOfBinary_;
  std::set<std::string> wordsOfXml_;
  std::set<std::string> wordsOfSchemas_;
  std::set<std::string> wordsOfAnnotations_ = {"true", "false"};
  std::set<std::string> wordsOfXPath_ = {"\\n", "\\x00", "\\\\", "nan", "-inf", "1e-320", "4294967295"};
  std::set<std::string> wordsOfJson_ = {
      "{",       "}",     "[",        "]",         ",",     "\\u00e9", "\\ud83d\\ude00",
      "\\\"",    "true",  "false",    "null",      "1e400", "-0.0",    "18446744073709551615",
      "\"nan\"", "1.0e2", "\"key\":", "\"value\":"};
  std::string records_;
  std::string batch_;
};

}  // namespace

int main(int argc, char** argv)
{
  if (argc != 2) {
    std::cerr << "usage: seeds <folder>\n";
    return 2;
  }
  try {
    Seeds seeds(argv[1]);
    for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
      const MessageSystemRow& row = XML_KWMessage_MessageSystemChooser::msgSysStruct[system];
      for (int index = 0; index < row.numberOfClasses; ++index) {
        if (!row.classes[index].isEnum()) {
          seeds.addClass(system, index);
        }
      }
    }
    seeds.addSchemas(KWXML_SOURCE_DIR "/catalogue/sample");
    seeds.addSchemas(KWXML_SOURCE_DIR "/tests/catalogue");
    seeds.finish();
  } catch (const std::exception& error) {
    std::cerr << "seeds: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
