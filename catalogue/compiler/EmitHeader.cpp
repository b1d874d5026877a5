// The wrapper header of one message system:
//
//   namespace Demo {
//
//   class Status : public ::YMMessageBase
//   {
//   public:
//     static constexpr unsigned long tag = 0x010003F0;
//     static constexpr int systemIndex = 1;
//     static constexpr int classIndex = 0;
//     Status() : ::YMMessageBase(systemIndex, classIndex) {}
//   };
//
//   enum class Color : int {
//     RED = 1,
//   };
//
//   void RegisterSubsystem();
//
//   }  // namespace Demo
#include "CppText.h"
#include "Stages.h"

#include <set>

namespace kwxml::catalogue {
namespace {

/// `wanted`, with as many "_" behind it as make it new among `names`.
std::string uniqueName(std::string wanted, std::set<std::string>& names)
{
  while (!names.insert(wanted).second) {
    wanted.push_back('_');
  }
  return wanted;
}

std::string wrapper(const Class& cls)
{
  const std::string name = cppName(cls.name);
  return "\nclass " + name +
         " : public ::YMMessageBase\n{\npublic:\n  static constexpr unsigned long tag = " +
         hexadecimal(tagId(cls), 8) +
         ";\n  static constexpr int systemIndex = " + std::to_string(cls.system->index) +
         ";\n  static constexpr int classIndex = " + std::to_string(cls.index) + ";\n  " + name +
         "() : ::YMMessageBase(systemIndex, classIndex) {}\n};\n";
}

std::string enumeration(const Class& cls)
{
  std::string out = "\nenum class " + cppName(cls.name) + " : int {\n";
  std::set<std::string> names;
  for (const Field& field : cls.fields) {
    // Messages hold enumeration values as 32 bits; the upper half of the unsigned range is the negative half
    // here.
    out += "  " + uniqueName(cppName(field.name), names) + " = " +
           (static_cast<std::int32_t>(field.value) == INT32_MIN
                ? "-2147483647 - 1"
                : std::to_string(static_cast<std::int32_t>(field.value))) +
           ",\n";
  }
  return out + "};\n";
}

}  // namespace

OutputFile emitHeader(const System& system, const std::string& headLine)
{
  std::string out = headLine + "#pragma once\n\n#include <kwxml/model/YMMessageBase.h>\n\nnamespace " +
                    system.name + " {\n";
  for (const Class& cls : system.classes) {
    out += cls.isEnum ? enumeration(cls) : wrapper(cls);
  }
  out +=
      "\n/// Does nothing; a call forces the system's tables to be linked.\nvoid RegisterSubsystem();\n\n"
      "}  // namespace " +
      system.name + "\n";
  return {system.name + ".h", out};
}

}  // namespace kwxml::catalogue
