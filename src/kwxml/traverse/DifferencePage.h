// Messages beside each other as a page for people; what MessagePage.h says of pages holds for these, too.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>
#include <kwxml/xml/TakeText.h>

#include <cstddef>
#include <string_view>

namespace kwxml {

/// A page with messages beside each other: values that differ are marked, equal values are folded. Values are
/// texts as MessageDifference has them, so that bytes are "****" too. Make the page, add messages, finish. A
/// page belongs to one thread at a time.
class KWXML_API DifferencePage
{
public:
  /// `take` gets the page in parts while it is made. `left` and `right` name the sides, `made` says when the
  /// page was made; the texts are copied. What `take` throws leaves the call of the page.
  DifferencePage(TakeText take, std::string_view left, std::string_view right, std::string_view made);
  ~DifferencePage();
  DifferencePage(const DifferencePage&) = delete;
  DifferencePage& operator=(const DifferencePage&) = delete;

  /// Adds two messages, which stay the caller's; one of them may be null, where that side has no more.
  /// `record` says which messages they are, where there are several. False when `take` has refused a part.
  [[nodiscard]] bool add(const YMMessageBase* left, const YMMessageBase* right, std::string_view record = {});
  /// Writes the end of the page; to be called last. False when `take` has refused a part.
  [[nodiscard]] bool finish();
  /// The number of values that differ so far; a message that only one side has counts as one.
  std::size_t count() const;

private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace kwxml
