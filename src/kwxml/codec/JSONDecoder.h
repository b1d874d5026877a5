// Messages from JSON; JSONEncoder.h says what that looks like. A cheap value.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <cstddef>
#include <string_view>

class KwXMLContextInfo;

namespace kwxml {
class ReadObserver;
}

/// Reads messages from JSON, each call by itself.
class KWXML_API JSONDecoder
{
public:
  /// No context.
  JSONDecoder() = default;
  /// The context concerns passwords and the limit of memory. It stays the caller's and must outlive the
  /// decoder.
  explicit JSONDecoder(KwXMLContextInfo* context) : context_(context) {}

  /// Makes `message` what the text says, which holds one document and blanks around it. 0 on success;
  /// otherwise the message is as before (4: no JSON, or text behind the document; 5: any other reason, a
  /// message of another class among them), and the reason is logged. `observer` is told of what reading drops
  /// or bends, and of why it failed, with line and column; null: nobody is. Where no memory is left
  /// std::bad_alloc may be thrown.
  [[nodiscard]] int unSerialize(YMMessageBase& message, std::string_view json,
                                kwxml::ReadObserver* observer = nullptr) const;
  /// The message in the text; null on failure.
  [[nodiscard]] std::unique_ptr<YMMessageBase> unSerialize(std::string_view json,
                                                           kwxml::ReadObserver* observer = nullptr) const;

  /// The message in the document that begins at `at`, of several that stand one behind another (JSON lines);
  /// `at` becomes the begin of the next one, or the size of the text. Null on failure, and then `at` is the
  /// size of the text. Places are those in the whole text.
  [[nodiscard]] std::unique_ptr<YMMessageBase> next(std::string_view json, std::size_t& at,
                                                    kwxml::ReadObserver* observer = nullptr) const;

private:
  KwXMLContextInfo* context_ = nullptr;
};
