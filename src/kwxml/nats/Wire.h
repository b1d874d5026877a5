// How a message travels: its subject, its headers and its body.
//
//     subject           PREFIX.System.Class        a server filters by system or class
//     Kw-Tag            tag identifier, decimal
//     Kw-Class          name of the class
//     Kw-Fingerprint    of the class's records, eight hexadecimal digits: fingerprintOf()
//     Kw-Version        version of the binary form
//     Kw-Form           form of the body: xml, json; without it the binary form with its header words
//     Nats-Msg-Id       what the stream tells repeats by
//
// A message that could not be used goes to PREFIX.dead, as it came, with more headers:
//
//     Kw-Reason         why, in words
//     Kw-Stream, Kw-Sequence, Kw-Durable, Kw-Subject    where it was, and who had it
#pragma once

#include <kwxml/model/Registry.h>
#include <kwxml/platform/Export.h>
#include <kwxml/reading/Problems.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KwXMLContextInfo;

namespace kwxml::nats {

/// The tag identifier, decimal.
inline constexpr const char* tagHeader = "Kw-Tag";
/// The name of the class.
inline constexpr const char* classHeader = "Kw-Class";
/// The fingerprint of the class's records.
inline constexpr const char* fingerprintHeader = "Kw-Fingerprint";
/// The version of the binary form.
inline constexpr const char* versionHeader = "Kw-Version";
/// The form of the body, where that is not the binary one.
inline constexpr const char* formHeader = "Kw-Form";
/// What the stream tells repeats by.
inline constexpr const char* idHeader = "Nats-Msg-Id";
/// Of a dead letter: why.
inline constexpr const char* reasonHeader = "Kw-Reason";
/// Of a dead letter: the stream that had the message.
inline constexpr const char* streamHeader = "Kw-Stream";
/// Of a dead letter: the place there.
inline constexpr const char* sequenceHeader = "Kw-Sequence";
/// Of a dead letter: the consumer that could not use the message.
inline constexpr const char* durableHeader = "Kw-Durable";
/// Of a dead letter: the subject that the message had.
inline constexpr const char* subjectHeader = "Kw-Subject";

/// The form of a body.
enum class Form : std::uint8_t
{
  Binary,  ///< with its header words, version 2
  Xml,     ///< UTF-8, with the XML declaration
  Json,    ///< UTF-8
};

/// Throws Error unless `prefix` is one or more tokens of a subject, of letters, digits, "-" and "_", with "."
/// between.
KWXML_API void checkPrefix(std::string_view prefix);
/// Throws Error unless `name` can be that of a stream or a durable consumer: letters, digits, "-" and "_".
KWXML_API void checkName(const char* what, std::string_view name);
/// The subjects of a system's class, with wildcards for what is empty: "PREFIX.*.*", "PREFIX.Pets.Cat". A
/// class alone, without its system, is looked for in all systems.
KWXML_API std::string subjectFilter(std::string_view prefix, std::string_view system, std::string_view cls);
/// Where messages go that could not be used.
KWXML_API std::string deadSubject(std::string_view prefix);

/// A message as it travels.
struct KWXML_API Packed
{
  std::string subject{};  ///< PREFIX.System.Class
  /// Names and values, without the identifier.
  std::vector<std::pair<const char*, std::string>> headers;
  std::string body{};  ///< the bytes
  /// What the server counts: the body and the headers, with the identifier.
  std::size_t size(std::string_view id) const;
};

/// Packs a message. Throws Error when the message has no class, cannot be encoded, or would lose a value: a
/// stream holds no message that is not whole.
KWXML_API Packed pack(const YMMessageBase& message, std::string_view prefix, Form form);

/// What came out of a body.
struct Unpacked
{
  std::unique_ptr<YMMessageBase> message;  ///< null when the body cannot be used
  std::string why{};                       ///< then
  Problems problems;                       ///< what was met while the body was read, warnings too
};

/// Reads a body. There is no message where reading meets an error, where a field has another wire type, and
/// where subject and body name different classes. `header` gives the value of a header, or null. A
/// fingerprint that is not the one of the reader's class forbids what else would be a warning: a number whose
/// wire type leaves open which of two it is. The context (null: none) concerns passwords and the limit of
/// memory.
KWXML_API Unpacked unpack(std::string_view subject, std::string_view prefix, std::span<const std::byte> body,
                          const std::function<const char*(const char*)>& header, const Registry& catalogue,
                          KwXMLContextInfo* context);

}  // namespace kwxml::nats
