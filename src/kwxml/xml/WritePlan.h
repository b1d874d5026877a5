// What the writer of XML works out of a class record once: names, the order of attributes, what can be
// written as text without asking an XML library. Not installed.
#pragma once

#include <kwxml/model/ClassPlan.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kwxml {

/// The name of an element or an attribute; a zero byte stands behind it.
struct XmlName
{
  const char* text;
  std::size_t size;
};

struct WritePlan
{
  enum class Place : std::uint8_t
  {
    None,       ///< has no XML form
    Attribute,  ///< of the message's element, unless values go out as elements
    Child,
  };
  struct Field
  {
    XmlName name;
    std::uint16_t rank;  ///< among the attributes, which are sorted by name
    Place place;
    bool cdata;  ///< goes out as a section
  };

  WritePlan(int system, const _ClassDef& cls);

  std::vector<Field> fields;           ///< one for each record
  std::vector<std::uint16_t> byRank;   ///< positions of the attributes
  std::vector<std::uint16_t> nested;   ///< positions of what holds messages
  std::vector<std::uint16_t> secrets;  ///< positions of the passwords
  std::string root;                    ///< name of the root element
  /// All names are of ASCII letters, digits, "_", "-" and ".", none begins with "xml", no two attributes have
  /// the same.
  bool plainNames;
  bool plainRoot;
};

/// Made when the first message of the class is written, kept to the end of the process.
const WritePlan& writePlan(const ClassPlan& plan, int system, const _ClassDef& cls);

}  // namespace kwxml
