// Reading a message from JSON: a feed of the rules that read XML (MessageReader). Not installed.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

class KwXMLContextInfo;
class YMMessageBase;

namespace kwxml {

class ReadObserver;

struct JsonRead
{
  /// 0, as XMLDecoder: 4: not well-formed; 5: any other reason. Logged, and told to the observer.
  int result;
  /// Null when the result is not 0.
  std::unique_ptr<YMMessageBase> message;
  /// Behind the document and the blanks that follow it.
  std::size_t end = 0;
};

/// Reads the document that a text holds from `begin` on; unless `isLast`, another one may follow. Places are
/// those in the whole text. The context (null: none) concerns passwords.
JsonRead readJson(std::string_view text, std::size_t begin, bool isLast, KwXMLContextInfo* context,
                  ReadObserver* observer);

}  // namespace kwxml
