#include "CppText.h"

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

// Macros that the headers of generated code bring, as far as a schema is likely to name them; and the names
// that generated code itself uses where a class's name stands.
constexpr std::string_view takenNames[] = {
    "BUFSIZ",
    "EOF",
    "NULL",
    "RAND_MAX",
    "assert",
    "classIndex",
    "errno",
    "linux",
    "major",
    "minor",
    "stderr",
    "stdin",
    "stdout",
    "systemIndex",
    "tag",
    "unix",
    "RegisterSubsystem",
    "YMMessageBase",
};

// Global names that are no namespaces, or namespaces that are not a catalogue's.
constexpr std::string_view globalNames[] = {
    "FieldDef",       "FieldDataType", "MessageSystemRow", "XPathDataRow", "XPathIDHelper",
    "XPathIDToXPath", "YMMessageBase", "YMMessageBuffer",  "bstring",      "cdata",
    "kwxml",          "main",          "pstring",          "std",          "xercesc",
};

template <std::size_t N>
bool contains(const std::string_view (&names)[N], std::string_view name)
{
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
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
  if (contains(keywords, out) || contains(takenNames, out)) {
    out.push_back('_');
  }
  return out;
}

bool isUsableNamespace(const std::string& name)
{
  return !contains(keywords, name) && !contains(takenNames, name) && !contains(globalNames, name);
}

std::string hexadecimal(unsigned long value, int digits)
{
  char text[32];
  std::snprintf(text, sizeof text, "0x%0*lX", digits, value);
  return text;
}

}  // namespace kwxml::catalogue
