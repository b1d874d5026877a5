// What the writers of texts work out of a class record once: names, the order of attributes, what can be
// written as XML without asking an XML library. Not installed.
#pragma once

#include <kwxml/model/ClassPlan.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kwxml {

/// The name of an element or an attribute, or of a member; a zero byte stands behind it.
struct XmlName
{
  const char* text;
  std::size_t size;
};

struct WritePlan : KeptWithPlan
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
    bool cdata;       ///< goes out as a section
    XmlName jsonKey;  ///< the name as a member begins with it: in quotes, with a colon
  };

  WritePlan(int system, const _ClassDef& cls);
  WritePlan(const WritePlan&) = delete;
  WritePlan& operator=(const WritePlan&) = delete;

  std::vector<Field> fields;           ///< one for each record
  std::vector<std::uint16_t> byRank;   ///< positions of the attributes
  std::vector<std::uint16_t> nested;   ///< positions of what holds messages
  std::vector<std::uint16_t> secrets;  ///< positions of the passwords
  std::string root;                    ///< name of the root element
  XmlName rootKey;                     ///< of the member that is the root
  /// All names are of ASCII letters, digits, "_", "-" and ".", none begins with "xml", no two attributes have
  /// the same.
  bool plainNames;
  bool plainRoot;

private:
  std::string keys_;  ///< all that jsonKey and rootKey point into
};

/// Made when the first message of the class is written, kept to the end of the process.
const WritePlan& writePlan(const ClassPlan& plan, int system, const _ClassDef& cls);

}  // namespace kwxml
