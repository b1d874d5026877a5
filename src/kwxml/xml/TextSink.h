// The writer's sink that makes text without a DOM, byte for byte what the XML library's writer makes of the
// DOM. Not installed.
//
// In the readable form that writer puts a line end before each element, two before those on the first level
// and before the end of the root, and indents; it leaves a line end out behind a text of blanks that holds
// one, and the indentation that such a text brought. Only elements in element form have such texts.
#pragma once

#include <kwxml/model/Limits.h>
#include <kwxml/xml/TextOutput.h>
#include <kwxml/xml/WritePlan.h>
#include <kwxml/xml/XmlSink.h>

namespace kwxml {

class TextSink : public XmlSinkBase
{
public:
  static constexpr FieldOrder order = FieldOrder::AttributesFirst;

  TextSink(TextOutput& out, bool readable) : out_(out), readable_(readable) {}

  void declaration();
  /// Behind the root.
  void endDocument()
  {
    if (readable_) {
      newLine();
    }
  }

  // As of DomSink; an element can always be made.
  bool open(XmlName name);
  bool openItem(XmlName name) { return open(name); }
  void close();
  bool openMapEntry(XmlName name);
  void mapValue();
  void closeMapEntry();
  void attribute(XmlName name, const XmlValue& value);
  void textElement(XmlName name, const XmlValue& value);
  void sectionElement(XmlName name, const XmlValue& value);
  void itemValue(ItemForm form, const XmlValue& value);
  bool item(XmlName name, ItemForm form, const XmlValue& value);

private:
  struct Element
  {
    XmlName name;
    unsigned long line;  ///< of its start tag
  };

  /// What follows is content of the current element.
  void content()
  {
    if (inTag_) {
      out_.put('>');
      inTag_ = false;
    }
  }
  void text(const XmlValue& value);
  void section(std::string_view text);
  template <bool isAttribute>
  void escaped(std::string_view text);

  void beforeElement();
  void beforeEnd(const Element& element);
  void noteText(std::string_view text);
  void newLine()
  {
    ++line_;
    out_.put('\n');
  }
  void indent(std::size_t level);

  TextOutput& out_;
  const bool readable_;
  bool inTag_ = false;            ///< the current element's start tag is open
  bool lineEndInText_ = false;    ///< the last text has brought the line end
  std::size_t blanksInText_ = 0;  ///< and so many blanks behind it, itself included
  unsigned long line_ = 0;
  std::size_t depth_ = 0;
  Element open_[maxElementNesting + 2];  ///< of the open elements; a map's entry is two
};

}  // namespace kwxml
