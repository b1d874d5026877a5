// Messages beside each other as a page for people; what MessagePage.h says of pages holds for it too.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/TakeText.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace kwxml {

/// A page with messages beside each other: what differs is marked, what is equal is folded. Values are those
/// of differences (MessageDiff.h), so that bytes are "****" too.
class DifferencePage
{
public:
  /// The names of both sides, and when the page was made. What `take` throws passes through.
  DifferencePage(TakeText take, std::string_view left, std::string_view right, std::string_view made);
  ~DifferencePage();
  DifferencePage(const DifferencePage&) = delete;
  DifferencePage& operator=(const DifferencePage&) = delete;

  /// Adds two messages; one of them may be null, where that side has no more. `record` says which they are,
  /// where there are several. False when the text was not taken.
  [[nodiscard]] bool add(const YMMessageBase* left, const YMMessageBase* right, std::string_view record = {});
  [[nodiscard]] bool finish();
  /// The number of values that differ, a message that only one side has being one.
  std::size_t count() const;

private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace kwxml
