#include "SchemaManual.h"

#include "Grammar.h"
#include "Rules.h"
#include "SchemaTypes.h"
#include "XmlText.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include <cstring>
#include <stdexcept>
#include <utility>

namespace kwxml::catalogue {
namespace {

using commandline::Block;
using Blocks = std::vector<Block>;
using Kind = Block::Kind;
using xercesc::DOMElement;

/// Child elements, of one name or ("") of any.
std::vector<const DOMElement*> children(const DOMElement& parent, const std::string& name = "")
{
  std::vector<const DOMElement*> found;
  for (const DOMElement* child = parent.getFirstElementChild(); child != nullptr;
       child = child->getNextElementSibling()) {
    if (name.empty() || toUtf8(child->getTagName()) == "xs:" + name) {
      found.push_back(child);
    }
  }
  return found;
}

std::string attribute(const DOMElement& element, const std::string& name)
{
  for (XMLSize_t i = 0; i < element.getAttributes()->getLength(); ++i) {
    const xercesc::DOMNode& one = *element.getAttributes()->item(i);
    if (toUtf8(one.getNodeName()) == name) {
      return toUtf8(one.getNodeValue());
    }
  }
  return "";
}

/// What the grammar says of one of its elements; `source` tells several documentations apart.
std::string documentation(const DOMElement& element, const std::string& source = "")
{
  for (const DOMElement* annotation : children(element, "annotation")) {
    for (const DOMElement* one : children(*annotation, "documentation")) {
      if (attribute(*one, "source") == source) {
        return toUtf8(one->getTextContent());
      }
    }
  }
  return "";
}

/// Elements that are held, in words: "an optional doc, then any number of field, enumerator".
std::string holds(const DOMElement& group)
{
  std::string all;
  for (const DOMElement* part : children(group)) {
    std::string names = attribute(*part, "name");
    for (const DOMElement* one : children(*part, "element")) {
      names += (names.empty() ? "" : ", ") + attribute(*one, "name");
    }
    if (names.empty()) {
      continue;
    }
    const bool optional = attribute(*part, "minOccurs") == "0";
    const bool many = attribute(*part, "maxOccurs") == "unbounded";
    all += (all.empty() ? "" : ", then ") +
           std::string(optional ? many ? "any number of " : "an optional "
                       : many   ? "one or more "
                                : "one ") +
           names;
  }
  return all;
}

class Grammar
{
public:
  explicit Grammar(const DOMElement& schema) : schema_(schema) {}

  Blocks elements() const
  {
    Blocks blocks;
    for (const DOMElement* root : children(schema_, "element")) {
      blocks.push_back({Kind::Part, attribute(*root, "name")});
      blocks.push_back({Kind::Paragraph, documentation(*root)});
      for (const DOMElement* type : children(*root, "complexType")) {
        append(blocks, content(*type));
      }
    }
    for (const DOMElement* type : children(schema_, "complexType")) {
      append(blocks, elementsOf(*type));
    }
    return blocks;
  }

  Blocks values() const
  {
    Blocks blocks;
    for (const DOMElement* type : children(schema_, "simpleType")) {
      blocks.push_back({Kind::Item, documentation(*type), "", attribute(*type, "name")});
    }
    return blocks;
  }

private:
  static void append(Blocks& blocks, const Blocks& more)
  {
    blocks.insert(blocks.end(), more.begin(), more.end());
  }

  /// The elements of a type, which have the same content.
  Blocks elementsOf(const DOMElement& type) const
  {
    std::string names;
    std::vector<std::pair<std::string, std::string>> texts;
    collect(schema_, attribute(type, "name"), names, texts);
    Blocks blocks{{Kind::Part, names}};
    for (const auto& [name, text] : texts) {
      blocks.push_back({Kind::Paragraph, texts.size() == 1 ? text : name + ": " + text});
    }
    if (const std::string text = documentation(type); !text.empty()) {
      blocks.push_back({Kind::Paragraph, text});
    }
    append(blocks, content(type));
    return blocks;
  }

  /// The declarations of elements of a type below a node, once each: their names, and what is said of them.
  static void collect(const DOMElement& node, const std::string& type, std::string& names,
                      std::vector<std::pair<std::string, std::string>>& texts)
  {
    for (const DOMElement* child : children(node)) {
      const std::string name = attribute(*child, "name");
      if (toUtf8(child->getTagName()) == "xs:element" && attribute(*child, "type") == type &&
          (", " + names + ", ").find(", " + name + ", ") == std::string::npos) {
        names += (names.empty() ? "" : ", ") + name;
        if (const std::string text = documentation(*child); !text.empty()) {
          texts.emplace_back(name, text);
        }
      }
      collect(*child, type, names, texts);
    }
  }

  static Blocks content(const DOMElement& type)
  {
    Blocks blocks;
    for (const DOMElement* group : children(type, "sequence")) {
      blocks.push_back({Kind::Paragraph, "Holds " + holds(*group) + "."});
    }
    for (const DOMElement* one : children(type, "attribute")) {
      const std::string valueType = attribute(*one, "type");
      blocks.push_back({Kind::Item,
                        (attribute(*one, "use") == "required" ? "Required. " : "") + documentation(*one),
                        attribute(*one, "name"), valueType == "xs:string" ? "Text" : valueType});
    }
    return blocks;
  }

  const DOMElement& schema_;
};

Blocks annotations()
{
  Blocks blocks;
  for (const AnnotationKind& kind : annotationKinds) {
    const std::string member = kind.member != nullptr ? kind.member : "";
    const std::string text = kind.members == AnnotationMembers::None  ? "No members."
                             : kind.members == AnnotationMembers::Any ? "Any members."
                             : kind.members == AnnotationMembers::Bool
                                 ? "Member " + member + ": true, false, 1 or 0."
                                 : "Member " + member + ": any text.";
    blocks.push_back({Kind::Item, text, kind.name});
  }
  return blocks;
}

Blocks rules()
{
  Blocks blocks{{Kind::Paragraph, "What the compiler warns of, and how --allow names that:"}};
  for (const Rule rule : allRules()) {
    blocks.push_back({Kind::Item, ruleMeaning(rule), ruleName(rule)});
  }
  return blocks;
}

}  // namespace

commandline::Page schemaPage()
{
  xercesc::XercesDOMParser parser;
  parser.parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(grammarText),
                                          std::strlen(grammarText), "catalogue.xsd"));
  if (parser.getDocument() == nullptr || parser.getDocument()->getDocumentElement() == nullptr) {
    throw std::logic_error("the built-in grammar does not parse");
  }
  const DOMElement& schema = *parser.getDocument()->getDocumentElement();
  const Grammar grammar(schema);
  commandline::Page page{
      .name = "kwxml-schema", .section = '5', .summary = "schema files of message catalogues", .blocks = {}};
  const auto add = [&page](const char* title, const Blocks& blocks) {
    page.blocks.push_back({Kind::Section, title});
    page.blocks.insert(page.blocks.end(), blocks.begin(), blocks.end());
  };
  add("Description", {{Kind::Paragraph, documentation(schema)}});
  add("Example", {{Kind::Literal, documentation(schema, "example")}});
  add("Elements", grammar.elements());
  add("Values", grammar.values());
  add("Field types", {{Kind::Item, scalarNames(), "type"},
                      {Kind::Item, "Of a list: " + listElementNames(), "of"},
                      {Kind::Item, "Of a map, to its of: " + mapTypeNames(), "key"}});
  add("Annotations", annotations());
  add("Password types", {{Kind::Paragraph, passwordNames()}});
  add("Warnings", rules());
  add("See also", {{Kind::Paragraph, "kwxml-catalogue(1)"}});
  return page;
}

}  // namespace kwxml::catalogue
