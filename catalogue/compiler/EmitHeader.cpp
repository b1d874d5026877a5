// The wrapper header of one message system:
//
//   namespace Demo {
//
//   class Status;
//   enum class Color : int;
//
//   enum class Color : int {
//     RED = 1,
//   };
//   inline const char* nameOf(Color value) ...
//   inline bool valueOf(const std::string& name, Color& value) ...
//
//   class Status : public ::YMMessageBase
//   {
//   public:
//     static constexpr unsigned long tag = 0x010003F0;
//     static constexpr int systemIndex = 1;
//     static constexpr int classIndex = 0;
//     static constexpr ::kwxml::WrapperClass kwxmlClass = {..., "10268693,0,0,1;..."};
//     Status() : ::YMMessageBase(kwxmlClass) {}
//
//     int errorCode() const ...
//     void set_errorCode(int value) ...
//     bool has_errorCode() const ...
//     void clear_errorCode() ...
//   };
//
//   void RegisterSubsystem();
//
//   }  // namespace Demo
//
// Classes refer to each other across systems, in circles too. So each header declares what it refers to, and
// includes no other system's: the headers of a large catalogue would be megabytes in every file that needs
// one class. Accessors need no complete class.
#include "CppText.h"
#include "EmitAccessors.h"
#include "SchemaTypes.h"
#include "Stages.h"
#include "Tables.h"

#include <kwxml/model/YMMessageBase.h>

#include <algorithm>
#include <map>
#include <set>

namespace kwxml::catalogue {
namespace {

constexpr const char* explanation = R"(
// Each field `x` of a message has
//
//   x()          its value: a number, an enumerator, a const reference to a text, list or map (empty when unset),
//                a pointer to a nested message (null when unset), or a view of a collection of messages or enumerators
//                (<kwxml/model/TypedCollections.h>)
//   set_x(v)     stores a value, or a copy of it, and marks the field set; texts, lists and maps that are given away
//                (std::move) are taken over
//   mutable_x()  what has parts, to change in place: made when it is missing, and marked set
//   has_x()      whether the field is set
//   clear_x()    drops the value and the mark
//   x_time()     of a field with a date: the number as seconds since the Unix epoch (0 when unset); set_x() takes such a
//                time, too, and throws std::out_of_range where the field's type does not hold it
//
// Fields without a value in memory have no accessors. Lists of bools are lists of unsigned int; maps whose keys are
// messages are maps of YMMessageBase (kwxml::as<Wrapper>(m) takes one for its wrapper).
//
// Names: a character that no C++ name has becomes "_", a digit at the front gets a "_" before it. A field, class or
// enumerator whose name is a word of C++ or of its standard headers, is that of a member of every message or of its
// own class, is List, or is taken by an earlier one gets "_" at its end, as often as it takes: class_(), set_class_(...).
//
// A class of another system that a field refers to is declared here; a program that uses its members includes that
// system's header.
//
// A message of another class, or of a class of the same name and another ID, can be read and written through a
// wrapper: fields are found by their names. Failures are those of the accessors of YMMessageBase; mutable_x() of a
// nested message throws KwException where the message has no such field, or no message in it. A program that runs with
// tables that have other fields for a class than these wrappers gets a KwException where it makes or takes a message
// of that class.
)";

/// `wanted`, with as many "_" behind it as make it new among `names`.
std::string uniqueName(std::string wanted, std::set<std::string>& names)
{
  while (!names.insert(wanted).second) {
    wanted.push_back('_');
  }
  return wanted;
}

std::string enumeration(const Class& cls, const std::string& catalogue)
{
  const std::string name = cppName(cls.name);
  std::string out = "\n" + comment(cls.doc, "") + "enum class " + name + " : int {\n";
  std::set<std::string> names;
  for (const Field& field : cls.fields) {
    // Messages hold enumeration values as 32 bits; the upper half of the unsigned range is the negative half
    // here.
    out += comment(field.doc, "  ") + "  " + uniqueName(cppName(field.name), names) + " = " +
           (static_cast<std::int32_t>(field.value) == INT32_MIN
                ? "-2147483647 - 1"
                : std::to_string(static_cast<std::int32_t>(field.value))) +
           ",\n";
  }
  const std::string self = "  static constexpr ::kwxml::WrapperEnum self{&::kwxml::catalogues::" + catalogue +
                           ", " + literal(catalogue) + ", " + literal(cls.system->name) + ", " +
                           literal(cls.name) + ", " + std::to_string(cls.system->index) + ", " +
                           std::to_string(cls.index) + ", " + std::to_string(cls.fields.size()) + ", " +
                           hexadecimal(fingerprint(cls), 8) + "};\n";
  return out +
         "};\n/// The enumerator's name; an empty text for another number.\ninline const char* nameOf(" +
         name + " value)\n{\n" + self +
         "  return ::kwxml::enumeratorName(self, static_cast<int>(value));\n}\n"
         "/// False, with `value` unchanged, for another name.\n[[nodiscard]] inline bool valueOf(const "
         "::std::string& "
         "name, " +
         name + "& value)\n{\n" + self +
         "  int number = 0;\n  if (!::kwxml::enumeratorValue(self, name, number)) {\n    return false;\n  "
         "}\n  value = static_cast<" +
         name +
         ">(number);\n  return true;\n}\n"
         "/// Writes the enumerator's name, or the number where there is none.\ninline ::std::ostream& "
         "operator<<(::std::ostream& out, " +
         name +
         " value)\n{\n  return ::kwxml::writeEnumerator(out, nameOf(value), static_cast<int>(value));\n}\n";
}

bool isTime(const Field& field)
{
  return field.dateForm.has_value();
}

/// What the wrapper was compiled for. The records are one text, which takes compilers less than an array.
std::string wrapperClass(const Class& cls, const std::string& catalogue)
{
  std::string fields;
  for (std::size_t i = 0; i < cls.fields.size(); ++i) {
    const FieldRow row = fieldRow(cls.fields[i], i);
    fields += std::to_string(row.hash) + "," + std::to_string(row.number) + "," + std::to_string(row.slot) +
              "," + std::to_string(row.type) + ";";
  }
  return "  static constexpr ::kwxml::WrapperClass kwxmlClass = {\n      &::kwxml::catalogues::" + catalogue +
         ", " + literal(catalogue) + ", " + literal(cls.system->name) + ", " + literal(cls.name) +
         ", tag, classIndex, " + hexadecimal(fingerprint(cls), 8) + ", " + std::to_string(cls.fields.size()) +
         ",\n      " + literal(fields) + "};\n";
}

std::string wrapper(const Class& cls, const std::string& catalogue)
{
  const std::string name = cppName(cls.name);
  // As a number in each accessor: to look up a name thousands of times takes compilers long.
  const std::string tag = hexadecimal(tagId(cls), 8) + "UL";
  std::string out = "\n" + comment(cls.doc, "") + "class " + name +
                    " : public ::YMMessageBase\n{\npublic:\n  static constexpr unsigned long tag = " + tag +
                    ";\n  static constexpr int systemIndex = " + std::to_string(cls.system->index) +
                    ";\n  static constexpr int classIndex = " + std::to_string(cls.index) + ";\n" +
                    wrapperClass(cls, catalogue) + "  " + name + "() : ::YMMessageBase(kwxmlClass) {}\n";
  // And the accessors' template parameter.
  std::set<std::string> names = {name, "List", "kwxmlClass"};
  // What a field is called does not depend on which other fields have a date.
  std::set<std::string> fieldNames = names;
  for (const Field& field : cls.fields) {
    fieldNames.insert(cppName(field.name));
  }
  for (std::size_t i = 0; i < cls.fields.size(); ++i) {
    std::string base = cppName(cls.fields[i].name);
    const auto taken = [&names](const std::string& candidate) {
      for (const char* prefix : {"", "set_", "mutable_", "has_", "clear_"}) {
        if (names.contains(prefix + candidate) || isMessageMember(prefix + candidate)) {
          return true;
        }
      }
      return false;
    };
    while (taken(base)) {
      base.push_back('_');
    }
    for (const char* prefix : {"", "set_", "mutable_", "has_", "clear_"}) {
      names.insert(prefix + base);
    }
    std::string timeName;
    if (isTime(cls.fields[i])) {
      timeName = base + "_time";
      while (fieldNames.contains(timeName) || taken(timeName)) {
        timeName.push_back('_');
      }
      names.insert(timeName);
    }
    out += accessors(cls.fields[i], i, base, timeName, tag);
  }
  return out + "};\n";
}

std::string declaration(const Class& cls)
{
  return cls.isEnum ? "enum class " + cppName(cls.name) + " : int;\n" : "class " + cppName(cls.name) + ";\n";
}

bool hasTimes(const System& system)
{
  return std::any_of(system.classes.begin(), system.classes.end(), [](const Class& cls) {
    return std::any_of(cls.fields.begin(), cls.fields.end(), isTime);
  });
}

/// What the classes of the system refer to, by system.
std::map<const System*, std::set<const Class*>> references(const System& system)
{
  std::map<const System*, std::set<const Class*>> result;
  for (const Class& cls : system.classes) {
    for (const Field& field : cls.fields) {
      const bool named = field.type == FIELD_ENUM || field.type == FIELD_OBJECT ||
                         field.type == FIELD_LIST_ENUM || field.type == FIELD_LIST_OBJECT ||
                         isTypedMap(field.type);
      if (named && field.reference != nullptr && field.reference->system != &system) {
        result[field.reference->system].insert(field.reference);
      }
    }
  }
  return result;
}

}  // namespace

OutputFile emitHeader(const System& system, const Emission& emission)
{
  std::string out =
      emission.headLine + "//" + explanation + "#pragma once\n\n#include <kwxml/model/TypedCollections.h>\n" +
      (hasTimes(system) ? "\n#include <chrono>\n" : "") + "\nnamespace " + std::string(objectNamespace) +
      " {\n"
      "extern const ::kwxml::Registry* const " +
      emission.name + ";\n}  // namespace " + objectNamespace + "\n\n";
  std::map<std::string, std::set<std::string>> others;  // sorted by name: equal schemas give equal bytes
  for (const auto& [other, classes] : references(system)) {
    for (const Class* cls : classes) {
      others[other->name].insert(declaration(*cls));
    }
  }
  for (const auto& [name, declarations] : others) {
    out += "namespace " + name + " {\n";
    for (const std::string& declared : declarations) {
      out += declared;
    }
    out += "}  // namespace " + name + "\n\n";
  }
  out += comment(system.doc, "") + "namespace " + system.name + " {\n\n";
  for (const Class& cls : system.classes) {
    out += declaration(cls);
  }
  for (const Class& cls : system.classes) {
    if (cls.isEnum) {
      out += enumeration(cls, emission.name);
    }
  }
  for (const Class& cls : system.classes) {
    if (!cls.isEnum) {
      out += wrapper(cls, emission.name);
    }
  }
  out +=
      "\n/// Does nothing; a call forces the system's tables to be linked.\nvoid RegisterSubsystem();\n\n"
      "}  // namespace " +
      system.name + "\n";
  return {system.name + ".h", out};
}

}  // namespace kwxml::catalogue
