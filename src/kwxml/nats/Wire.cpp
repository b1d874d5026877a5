#include <kwxml/nats/Wire.h>

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/WireFormat.h>
#include <kwxml/codec/Decode.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/nats/Connection.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <cstdio>

namespace kwxml::nats {

namespace {

constexpr const char* formNames[] = {nullptr, "xml", "json"};
constexpr int binaryVersion = 2;

/// Whether a text can be one token of a subject or a name: what servers and their files take anywhere.
bool isToken(std::string_view text)
{
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

std::string hexadecimal(std::uint32_t number)
{
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08x", number);
  return digits;
}

std::uint32_t fingerprint(const YMMessageBase& message)
{
  return Registry::of(message)
      .plan(static_cast<unsigned>(message.getSubsysID()), static_cast<unsigned>(message.getClassIndex()))
      .fingerprint;
}

std::string subjectOf(std::string_view prefix, const char* system, const char* cls)
{
  return std::string(prefix) + "." + system + "." + cls;
}

const char* systemOf(const YMMessageBase& message)
{
  const char* const name = Registry::of(message).row(static_cast<unsigned>(message.getSubsysID())).name;
  return name != nullptr ? name : "";
}

std::string encode(const YMMessageBase& message, Form form)
{
  int lost = 0;
  std::string body;
  if (form == Form::Binary) {
    BinaryBuffer buffer;
    BinarySerializerParameters parameters;
    parameters.lost = &lost;
    if (BinarySerializer::serialize(message, buffer, binaryVersion, &parameters) != 0) {
      body.assign(buffer.data(), buffer.length());
    }
  } else {
    EncodingFlags flags;
    flags.exactNumbers = true;
    const int failed = form == Form::Xml ? XMLEncoder(flags).serialize(message, body, false, &lost)
                                         : JSONEncoder(flags).serialize(message, body, &lost);
    if (failed != 0) {
      body.clear();
    }
  }
  if (body.empty()) {
    throw Error("pack", message.getTagName() + " cannot be encoded; the log says why");
  }
  if (lost > 0) {
    throw Error("pack", message.getTagName() + " would lose " + std::to_string(lost) +
                            (lost == 1 ? " value" : " values") + "; the log says which");
  }
  return body;
}

/// The first error in words, with the number of the others.
std::string firstError(const Problems& problems)
{
  for (const Problems::Entry& problem : problems.entries()) {
    if (severityOf(problem.kind) == Severity::Error) {
      const std::size_t others = problems.count(Severity::Error) - 1;
      return problem.text + (others == 0 ? "" : " (and " + std::to_string(others) + " more)");
    }
  }
  return "it cannot be read";
}

}  // namespace

void checkPrefix(std::string_view prefix)
{
  for (std::string_view left = prefix;;) {
    const std::size_t dot = left.find('.');
    if (!isToken(left.substr(0, dot))) {
      throw Error("checkPrefix", "the prefix \"" + shown(prefix) + "\" cannot begin a subject");
    }
    if (dot == std::string_view::npos) {
      return;
    }
    left.remove_prefix(dot + 1);
  }
}

void checkName(const char* what, std::string_view name)
{
  if (!isToken(name)) {
    throw Error("checkName", std::string("\"") + shown(name) + "\" cannot be the name of " + what);
  }
}

std::string subjectFilter(std::string_view prefix, std::string_view system, std::string_view cls)
{
  const auto token = [](std::string_view name) {
    return name.empty() ? std::string("*") : std::string(name);
  };
  return subjectOf(prefix, token(system).c_str(), token(cls).c_str());
}

std::string deadSubject(std::string_view prefix)
{
  return std::string(prefix) + ".dead";
}

std::size_t Packed::size(std::string_view id) const
{
  // "NATS/1.0", then "NAME: VALUE", each with a line end, and an empty line.
  const auto line = [](std::string_view name, std::string_view value) {
    return name.size() + value.size() + 4;
  };
  std::size_t bytes = 12 + line(idHeader, id) + body.size();
  for (const auto& [name, value] : headers) {
    bytes += line(name, value);
  }
  return bytes;
}

Packed pack(const YMMessageBase& message, std::string_view prefix, Form form)
{
  const _ClassDef* const cls = message.getClass();
  if (cls == nullptr) {
    throw Error("pack", "the message has no class");
  }
  const char* const system = systemOf(message);
  if (!isToken(system) || !isToken(cls->name)) {
    throw Error("pack", message.getTagName() + " has a name that cannot stand in a subject");
  }
  Packed packed;
  packed.subject = subjectOf(prefix, system, cls->name);
  packed.headers = {{tagHeader, std::to_string(message.getTagID())},
                    {classHeader, cls->name},
                    {fingerprintHeader, hexadecimal(fingerprint(message))},
                    {versionHeader, std::to_string(binaryVersion)}};
  if (form != Form::Binary) {
    packed.headers.emplace_back(formHeader, formNames[static_cast<std::size_t>(form)]);
  }
  packed.body = encode(message, form);
  return packed;
}

Unpacked unpack(std::string_view subject, std::string_view prefix, std::span<const std::byte> body,
                const std::function<const char*(const char*)>& header, const Registry& catalogue,
                KwXMLContextInfo* context)
{
  const UsingCatalogue use(catalogue);
  Unpacked result;
  const std::string_view text(reinterpret_cast<const char*>(body.data()), body.size());
  // No text begins like the binary form, which most bodies have: to read the headers takes longer than a
  // look.
  const char* const form = wire::isVersionWord(text) ? nullptr : header(formHeader);
  ReadResult read;
  if (form == nullptr) {
    read = decode(body, context);
  } else if (std::find(formNames + 1, std::end(formNames), std::string_view(form)) != std::end(formNames)) {
    read = decode(text, context);
  } else {
    result.why = "the form of its body is unknown: " + shown(form);
    return result;
  }
  result.problems = std::move(read.problems);
  if (read.message == nullptr) {
    result.why = firstError(result.problems);
    return result;
  }
  const YMMessageBase& message = *read.message;
  if (message.getClass()->isEnum()) {
    result.why = message.getTagName() + " is an enumeration, not a message";
    return result;
  }
  if (subject != subjectOf(prefix, systemOf(message), message.getClass()->name)) {
    result.why =
        "its subject " + shown(subject) + " does not name the class of its body, " + message.getTagName();
    return result;
  }
  const auto hasOwnFingerprint = [&] {
    const char* const written = header(fingerprintHeader);
    return written != nullptr && hexadecimal(fingerprint(message)) == written;
  };
  if (result.problems.has(ProblemKind::WireCodeUnclear) && !hasOwnFingerprint()) {
    const auto& entries = result.problems.entries();
    const auto unclear = std::find_if(entries.begin(), entries.end(), [](const Problems::Entry& problem) {
      return problem.kind == ProblemKind::WireCodeUnclear;
    });
    result.why = "a field may have another wire type in the catalogue that wrote it" +
                 (unclear != entries.end() ? ": " + unclear->text : std::string());
    return result;
  }
  result.message = std::move(read.message);
  return result;
}

}  // namespace kwxml::nats
