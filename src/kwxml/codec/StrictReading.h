// A message that is just what its text or bytes say, or the reasons why there is none.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/xml/TextToRead.h>

#include <string>
#include <string_view>

class BinaryBuffer;
class KwXMLContextInfo;

namespace kwxml {

/// What reading gave: a message or none, and what was wrong with the text or bytes.
struct ReadResult
{
  std::unique_ptr<YMMessageBase> message;  ///< null when a problem was met that leaves none
  Problems problems;  ///< in the order in which reading met them; empty where nothing was wrong
  /// Whether there is a message.
  explicit operator bool() const { return message != nullptr; }
  /// The message, which there must be.
  YMMessageBase& operator*() const { return *message; }
  /// A member of the message, which there must be.
  YMMessageBase* operator->() const { return message.get(); }
};

/// Reads XML. Any problem, also a name that the catalogue does not know, leaves no message; a caller who
/// wants to tell errors from warnings uses decode() or gives XMLDecoder an observer. The context (null: none)
/// concerns passwords. Errors are logged as by XMLDecoder.
[[nodiscard]] KWXML_API ReadResult readStrict(TextToRead xml, KwXMLContextInfo* context = nullptr);
/// Reads JSON, with the same result.
[[nodiscard]] KWXML_API ReadResult readStrictJson(std::string_view json, KwXMLContextInfo* context = nullptr);
/// Reads the binary form, with the same result. The buffer's length counts.
[[nodiscard]] KWXML_API ReadResult readStrict(BinaryBuffer& bytes, KwXMLContextInfo* context = nullptr);

}  // namespace kwxml
