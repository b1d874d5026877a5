// Messages as a page for people: one HTML file that needs nothing beside it, for any browser.
//
// The page has a heading, the values of each message as a tree that opens and closes, with names, types and
// what the values mean, and the documentation of the classes that are met. The page can be read without
// scripts; with scripts values can be filtered, all be opened and closed at once, and paths and values be
// copied.
//
// Nothing that a message holds is markup, runs, or passes for another value. All values in password fields
// and in fields with the annotation Password are "****".
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>
#include <kwxml/xml/TakeText.h>

#include <string_view>

namespace kwxml {

/// The page of any number of messages. Make the page, add messages, finish. A page keeps a line of each
/// message that was added, for the index, and belongs to one thread at a time.
class KWXML_API MessagePage
{
public:
  /// `take` gets the page in parts while it is made. `made` says when the page was made. What `take` throws
  /// leaves the call of the page.
  MessagePage(TakeText take, std::string_view made);
  ~MessagePage();
  MessagePage(const MessagePage&) = delete;
  MessagePage& operator=(const MessagePage&) = delete;

  /// Adds a message, which stays unchanged; `source` names what the message was read from. False when `take`
  /// has refused a part.
  [[nodiscard]] bool add(const YMMessageBase& message, std::string_view source);
  /// Writes the end of the page; to be called last. A page without messages says so. False when `take` has
  /// refused a part.
  [[nodiscard]] bool finish();

private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace kwxml
