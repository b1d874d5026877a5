// Schema files to elements: SAX2 with the grammar built in, positions kept for every element.
#include "Grammar.h"
#include "OutputFiles.h"
#include "Stages.h"
#include "XmlText.h"

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/common/Grammar.hpp>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

namespace kwxml::catalogue {
namespace {

/// Text in one line: blanks, line ends and other control characters, as many as stand together, are one
/// blank, and none at the ends.
std::string collapsed(const std::string& text)
{
  std::string line;
  for (const char c : text) {
    const bool blank = static_cast<unsigned char>(c) <= 0x20 || c == 0x7F;
    if (!blank) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  line.resize(line.size() - (line.ends_with(' ') ? 1 : 0));
  return line;
}

/// How deep elements may nest. The grammar's own nest 5 deep; the parser's work on elements that have no
/// place in it grows with the square of their depth.
constexpr int maxElementDepth = 16;

/// Elements of all files together, ten times those of the largest catalogues. A field of a few bytes takes
/// hundreds in memory and in what is made of it.
constexpr std::size_t maxElements = 1000000;

/// What the records of a class and of a system count in 16 bits. More is refused before it has been read.
constexpr std::size_t maxFields = std::numeric_limits<std::int16_t>::max();

/// Bytes of all files together, many times what real catalogues have: the parser and the elements take about
/// twenty times the memory.
constexpr std::size_t maxSchemaBytes = 64 << 20;

/// Thrown out of a parse to end it; the diagnostics already hold the reason.
struct ParseEnded
{
};

class Handler : public xercesc::DefaultHandler
{
public:
  Handler(Catalogue& catalogue, Diagnostics& diagnostics) : catalogue_(catalogue), diagnostics_(diagnostics)
  {
  }

  void startFile(std::uint32_t file)
  {
    file_ = file;
    depth_ = 0;
    system_ = nullptr;
    class_ = nullptr;
    field_ = nullptr;
    docOwner_ = nullptr;
    docText_.reset();
  }

  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }

  // The grammar has no recursion, so an element out of its place has been reported; here it only must do no
  // harm.
  void startElement(const XMLCh*, const XMLCh* localName, const XMLCh*,
                    const xercesc::Attributes& attributes) override
  {
    if (++depth_ > maxElementDepth) {
      end("elements nest more than " + std::to_string(maxElementDepth) + " deep");
    }
    if (++elements_ > maxElements) {
      end("the schema files have more than " + std::to_string(maxElements) + " elements in all");
    }
    attributes_ = &attributes;
    const std::string element = toUtf8(localName);
    if (element == "system") {
      startSystem();
    } else if ((element == "message" || element == "enum") && system_ != nullptr) {
      startClass(element == "enum");
    } else if (element == "field" && class_ != nullptr) {
      startField();
    } else if (element == "enumerator" && class_ != nullptr) {
      startEnumerator();
    } else if (element == "annotation" && field_ != nullptr) {
      startAnnotation();
    } else if (element == "xpath" && system_ != nullptr) {
      startXPath();
    } else if (element == "doc" && docOwner_ != nullptr) {
      startDoc();
    }
  }

  void characters(const XMLCh* text, XMLSize_t length) override
  {
    if (docText_) {
      docText_->append(text, length);
    }
  }

  void endElement(const XMLCh*, const XMLCh* localName, const XMLCh*) override
  {
    --depth_;
    const std::string element = toUtf8(localName);
    if (element == "doc") {
      endDoc();
    } else if (element == "system") {
      system_ = nullptr;
    } else if (element == "message" || element == "enum") {
      class_ = nullptr;
    } else if (element == "field" || element == "enumerator") {
      field_ = nullptr;
    }
  }

  // Without a document type there are no entities: nothing to expand and nothing to fetch.
  void startDTD(const XMLCh*, const XMLCh*, const XMLCh*) override
  {
    end("a schema file has no document type declaration");
  }

  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh* systemId) override
  {
    end("a schema file refers to no other file: " + inQuotes(toUtf8(systemId)));
  }

  void warning(const xercesc::SAXParseException& exception) override
  {
    diagnostics_.warning(locationOf(exception), withShortQuotes(toUtf8(exception.getMessage())));
  }
  void error(const xercesc::SAXParseException& exception) override
  {
    diagnostics_.error(locationOf(exception), withShortQuotes(toUtf8(exception.getMessage())));
  }
  void fatalError(const xercesc::SAXParseException& exception) override
  {
    diagnostics_.error(locationOf(exception), withShortQuotes(toUtf8(exception.getMessage())));
    throw ParseEnded();
  }
  void resetErrors() override {}

private:
  /// Reports what the parse ends with.
  [[noreturn]] void end(const std::string& why)
  {
    diagnostics_.error(here(), why);
    throw ParseEnded();
  }

  /// The place of one more member in the class.
  Field* addMember()
  {
    if (class_->fields.size() == maxFields) {
      end("class " + inQuotes(class_->name) + " has more than " + std::to_string(maxFields) +
          (class_->isEnum ? " enumerators" : " fields"));
    }
    return &class_->fields.emplace_back();
  }

  Location here() const
  {
    return {file_, static_cast<std::uint32_t>(locator_->getLineNumber()),
            static_cast<std::uint32_t>(locator_->getColumnNumber())};
  }
  Location locationOf(const xercesc::SAXParseException& exception) const
  {
    return {file_, static_cast<std::uint32_t>(exception.getLineNumber()),
            static_cast<std::uint32_t>(exception.getColumnNumber())};
  }

  std::optional<std::string> optionalText(const char* name) const
  {
    for (XMLSize_t i = 0; i < attributes_->getLength(); ++i) {
      if (*attributes_->getURI(i) == 0 && toUtf8(attributes_->getLocalName(i)) == name) {
        return toUtf8(attributes_->getValue(i));
      }
    }
    return std::nullopt;
  }
  std::string text(const char* name) const { return optionalText(name).value_or(std::string()); }
  bool flag(const char* name) const { return text(name) == "true"; }

  std::optional<long long> optionalNumber(const char* name)
  {
    const std::optional<std::string> written = optionalText(name);
    if (!written) {
      return std::nullopt;
    }
    const bool negative = written->starts_with('-');
    std::string digits = written->substr(negative ? 1 : 0);
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    digits = (negative ? "-" : "") + digits.substr(hexadecimal ? 2 : 0);
    long long value = 0;
    const auto result =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
    if (result.ec == std::errc::result_out_of_range) {
      diagnostics_.error(here(), "the number " + inQuotes(*written) + " of attribute " + inQuotes(name) +
                                     " is out of range");
      return std::nullopt;
    }
    return value;  // the grammar has refused everything else that is no number
  }
  long long number(const char* name) { return optionalNumber(name).value_or(0); }

  void startSystem()
  {
    system_ = &catalogue_.systems.emplace_back();
    system_->at = here();
    system_->name = text("name");
    system_->index = number("index");
    takeDoc(system_->doc);
  }

  void startClass(bool isEnum)
  {
    if (system_->classes.size() == static_cast<std::size_t>(maxClasses)) {
      end("system " + inQuotes(system_->name) + " has more than " + std::to_string(maxClasses) + " classes");
    }
    class_ = &system_->classes.emplace_back();
    class_->at = here();
    class_->system = system_;
    class_->isEnum = isEnum;
    class_->name = text("name");
    class_->id = number("id");
    class_->writtenIndex = optionalNumber("index");
    class_->formerly = optionalText("formerly");
    takeDoc(class_->doc);
  }

  void startField()
  {
    field_ = addMember();
    field_->at = here();
    field_->name = text("name");
    field_->typeName = text("type");
    field_->of = optionalText("of");
    field_->key = optionalText("key");
    field_->className = optionalText("class");
    field_->keyClassName = optionalText("keyClass");
    field_->defaultText = optionalText("default");
    field_->writtenSlot = optionalNumber("slot");
    field_->dateForm = optionalText("date");
    field_->passwordName = optionalText("password");
    field_->hidden = flag("hidden");
    field_->timeOfDay = flag("timeOfDay");
    field_->cdata = flag("cdata");
    field_->xpath = flag("xpath");
    takeFieldNotes();
  }

  void startEnumerator()
  {
    field_ = addMember();
    field_->at = here();
    field_->type = FIELD_ENUMERATOR;
    field_->name = text("name");
    field_->value = number("value");
    takeFieldNotes();
  }

  void takeFieldNotes()
  {
    field_->formerly = optionalText("formerly");
    takeDoc(field_->doc);
  }

  /// The attribute; a "doc" element, which would be the next one, belongs to the same owner.
  void takeDoc(std::string& owner)
  {
    const std::optional<std::string> written = optionalText("doc");
    owner = collapsed(written.value_or(""));
    docOwner_ = &owner;
    hasDocAttribute_ = written.has_value();
  }

  void startDoc()
  {
    if (hasDocAttribute_) {
      diagnostics_.error(here(), "an element has its doc text in an attribute or in an element, not in both");
    }
    docText_.emplace();
  }

  void endDoc()
  {
    if (docText_) {
      *docOwner_ = collapsed(toUtf8(docText_->c_str()));
    }
    docText_.reset();
    docOwner_ = nullptr;
  }

  void startAnnotation()
  {
    Annotation& annotation = field_->annotations.emplace_back();
    annotation.at = here();
    for (XMLSize_t i = 0; i < attributes_->getLength(); ++i) {
      const std::string name = toUtf8(attributes_->getLocalName(i));
      if (*attributes_->getURI(i) != 0) {
        continue;
      }
      if (name == "name") {
        annotation.name = toUtf8(attributes_->getValue(i));
      } else {
        annotation.members.emplace_back(name, toUtf8(attributes_->getValue(i)));
      }
    }
  }

  void startXPath()
  {
    XPath& xpath = system_->xpaths.emplace_back();
    xpath.at = here();
    xpath.id = number("id");
    xpath.message = text("message");
    xpath.path = text("path");
  }

  Catalogue& catalogue_;
  Diagnostics& diagnostics_;
  const xercesc::Locator* locator_ = nullptr;
  const xercesc::Attributes* attributes_ = nullptr;
  std::uint32_t file_ = 0;
  int depth_ = 0;             // of open elements
  std::size_t elements_ = 0;  // of all files
  System* system_ = nullptr;
  Class* class_ = nullptr;
  Field* field_ = nullptr;           // the last one of class_
  std::string* docOwner_ = nullptr;  // of the last element that may have one
  bool hasDocAttribute_ = false;
  std::optional<std::u16string> docText_;  // of an open "doc" element
};

/// A reader that validates against the grammar in `pool` and looks at nothing but the text it is given.
std::unique_ptr<xercesc::SAX2XMLReader> makeReader(xercesc::XMLGrammarPool& pool)
{
  using xercesc::XMLUni;
  std::unique_ptr<xercesc::SAX2XMLReader> reader(
      xercesc::XMLReaderFactory::createXMLReader(xercesc::XMLPlatformUtils::fgMemoryManager, &pool));
  reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  reader->setFeature(XMLUni::fgSAX2CoreValidation, true);
  reader->setFeature(XMLUni::fgXercesDynamic, false);
  reader->setFeature(XMLUni::fgXercesSchema, true);
  reader->setFeature(XMLUni::fgXercesSchemaFullChecking, true);
  reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
  reader->setFeature(XMLUni::fgXercesLoadSchema, false);
  reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  return reader;
}

}  // namespace

std::vector<SchemaText> read(const std::vector<std::string>& files, Diagnostics& diagnostics)
{
  std::vector<SchemaText> schemas;
  std::size_t unread = maxSchemaBytes;
  for (const std::string& path : files) {
    const std::uint32_t file = diagnostics.addFile(path);
    std::string reason;
    std::optional<std::string> text = readFile(path, unread + 1, reason);
    if (!text) {
      diagnostics.error({file, 0, 0}, reason);
      continue;
    }
    if (text->size() > unread) {
      diagnostics.error({file, 0, 0}, "the schema files have more than " + std::to_string(maxSchemaBytes) +
                                          " bytes in all");
      break;
    }
    unread -= text->size();
    schemas.push_back({file, std::move(*text)});
  }
  return schemas;
}

Catalogue parse(const std::vector<SchemaText>& schemas, Diagnostics& diagnostics)
{
  Catalogue catalogue;
  Handler handler(catalogue, diagnostics);
  xercesc::XMLGrammarPoolImpl pool;
  const std::unique_ptr<xercesc::SAX2XMLReader> reader = makeReader(pool);
  reader->setContentHandler(&handler);
  reader->setErrorHandler(&handler);
  reader->setLexicalHandler(&handler);
  reader->setEntityResolver(&handler);

  const xercesc::MemBufInputSource grammar(reinterpret_cast<const XMLByte*>(grammarText),
                                           std::strlen(grammarText), "catalogue.xsd");
  if (reader->loadGrammar(grammar, xercesc::Grammar::SchemaGrammarType, true) == nullptr) {
    throw std::logic_error("the built-in grammar does not load");
  }

  for (const auto& [file, text] : schemas) {
    handler.startFile(file);
    try {
      const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                              diagnostics.files()[file].c_str());
      reader->parse(source);
    } catch (const ParseEnded&) {
      continue;
    } catch (const xercesc::XMLException& exception) {
      diagnostics.error({file, 0, 0}, toUtf8(exception.getMessage()));
    }
  }
  return catalogue;
}

}  // namespace kwxml::catalogue
