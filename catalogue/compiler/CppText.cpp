#include "CppText.h"

#include "GlobalNames.h"
#include "SchemaTypes.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace kwxml::catalogue {
namespace {

constexpr std::string_view keywords[] = {
    "alignas",     "alignof",  "and",        "and_eq",    "asm",       "auto",         "bitand",
    "bitor",       "bool",     "break",      "case",      "catch",     "char",         "char16_t",
    "char32_t",    "char8_t",  "class",      "co_await",  "co_return", "co_yield",     "compl",
    "concept",     "const",    "const_cast", "consteval", "constexpr", "constinit",    "continue",
    "decltype",    "default",  "delete",     "do",        "double",    "dynamic_cast", "else",
    "enum",        "explicit", "export",     "extern",    "false",     "float",        "for",
    "friend",      "goto",     "if",         "inline",    "int",       "long",         "mutable",
    "namespace",   "new",      "noexcept",   "not",       "not_eq",    "nullptr",      "operator",
    "or",          "or_eq",    "private",    "protected", "public",    "register",     "reinterpret_cast",
    "requires",    "return",   "short",      "signed",    "sizeof",    "static",       "static_assert",
    "static_cast", "struct",   "switch",     "template",  "this",      "thread_local", "throw",
    "true",        "try",      "typedef",    "typeid",    "typename",  "union",        "unsigned",
    "using",       "virtual",  "void",       "volatile",  "wchar_t",   "while",        "xor",
    "xor_eq",
};

// Names that generated code itself uses where a class's name stands.
constexpr std::string_view ownNames[] = {
    "RegisterSubsystem", "YMMessageBase", "classIndex", "nameOf", "systemIndex", "tag", "valueOf",
};

template <std::size_t N>
bool contains(const std::string_view (&names)[N], std::string_view name)
{
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// Whether `name` is one of `words`, which have a blank behind each.
bool containsWord(std::string_view words, std::string_view name)
{
  while (!words.empty()) {
    const std::size_t end = words.find(' ');
    if (words.substr(0, end) == name) {
      return true;
    }
    words.remove_prefix(end + 1);
  }
  return false;
}

/// Whether the name has a form in which the C library's headers define macros (EIO, INT_MAX, SIGINT, PRId64
/// ...). The whole form, as C and POSIX reserve it, because which of its names are taken differs between
/// systems.
bool isMacroFamily(std::string_view name)
{
  constexpr std::string_view beginnings[] = {
      "ATOMIC_", "BUS_",  "CLD_",     "CLOCK_", "CLONE_",   "CLOSE_RANGE_", "DBL_",    "EXIT_", "FD_",
      "FE_",     "FLT_",  "FP_",      "FPE_",   "HUGE_VAL", "ILL_",         "ITIMER_", "LC_",   "LDBL_",
      "M_",      "POLL_", "PTHREAD_", "REG_",   "RENAME_",  "SA_",          "SCHED_",  "SEEK_", "SEGV_",
      "SI_",     "SIG_",  "SNAN",     "SS_",    "TRAP_",    "sa_",          "si_",     "sigev_"};
  constexpr std::string_view ends[] = {"_BIT", "_ENDIAN", "_MAX", "_MIN", "_WIDTH"};
  const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto isUpperOrDigit = [&](char c) { return isUpper(c) || (c >= '0' && c <= '9'); };
  const bool errorNumber =
      name.size() > 1 && name[0] == 'E' && std::all_of(name.begin(), name.end(), isUpperOrDigit);
  // System calls; SYS_ERROR is none.
  const bool call = name.size() > 4 && name.starts_with("SYS_") && !isUpperOrDigit(name[4]);
  const bool integerConstant = (name.starts_with("INT") || name.starts_with("UINT")) && name.ends_with("_C");
  const bool signal = name.size() > 3 && name.starts_with("SIG") && isUpper(name[3]);
  const bool floating = name.size() > 3 && name.starts_with("FLT") && name[3] >= '0' && name[3] <= '9';
  const bool format = name.size() > 3 && (name.starts_with("PRI") || name.starts_with("SCN")) &&
                      (name[3] == 'X' || (name[3] >= 'a' && name[3] <= 'z'));
  return errorNumber || integerConstant || call || signal || floating || format ||
         std::any_of(std::begin(beginnings), std::end(beginnings),
                     [&](std::string_view beginning) { return name.starts_with(beginning); }) ||
         std::any_of(std::begin(ends), std::end(ends),
                     [&](std::string_view end) { return name.ends_with(end); });
}

bool isTaken(std::string_view name)
{
  return contains(keywords, name) || contains(ownNames, name) || containsWord(macroNames, name) ||
         isMacroFamily(name);
}

}  // namespace

std::string literal(std::string_view bytes)
{
  std::string out = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\' || c == '?') {
      out += {'\\', c};
    } else if (byte < 0x20 || byte >= 0x7F) {
      out += {'\\', static_cast<char>('0' + (byte >> 6)), static_cast<char>('0' + (byte >> 3 & 7)),
              static_cast<char>('0' + (byte & 7))};
    } else {
      out.push_back(c);
    }
  }
  return out + "\"";
}

std::string cppName(const std::string& name)
{
  std::string out = name;
  for (char& c : out) {
    const bool letter =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    c = letter ? c : '_';
  }
  if (!out.empty() && out[0] >= '0' && out[0] <= '9') {
    out.insert(0, 1, '_');
  }
  if (isTaken(out)) {
    out.push_back('_');
  }
  return out;
}

bool isMessageMember(const std::string& name)
{
  return containsWord(messageMembers, name);
}

bool isUsableNamespace(const std::string& name)
{
  return !isTaken(name) && !containsWord(libraryNames, name) && !containsWord(cLibraryNames, name);
}

bool isDeclaredByLibrary(const std::string& system, const std::string& name, bool isEnum)
{
  return (system == "Annotation" &&
          (name == "DateType" || name == "PasswordEncryptType" || findAnnotationKind(name) != nullptr)) ||
         (system == "KwEntities" && name == "ProcessingInstructionInfo" && isEnum) ||
         (system == "Common" && (name == "EventMessage" || name == "EventArgument") && isEnum);
}

std::string hexadecimal(unsigned long value, int digits)
{
  char text[32];
  std::snprintf(text, sizeof text, "0x%0*lX", digits, value);
  return text;
}

}  // namespace kwxml::catalogue
