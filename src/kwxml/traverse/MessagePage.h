// Messages as a page for people: one HTML file that needs nothing beside it, for any browser.
//
// The page has a heading, the values of each message as a tree that opens and closes, with names, types and
// what the values mean, and the documentation of the classes that are met. It can be read without scripts;
// with them it can be filtered, opened and closed as a whole, and paths and values can be copied.
//
// Nothing that a message holds is markup, runs, or passes for another value. All in password fields and in
// fields with the annotation Password is "****".
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/xml/TakeText.h>

#include <memory>
#include <string_view>

namespace kwxml {

/// The page of any number of messages. Of those that have been added it keeps a line each, for the index.
class MessagePage
{
public:
  /// `made` says when the page was made. What `take` throws passes through.
  MessagePage(TakeText take, std::string_view made);
  ~MessagePage();
  MessagePage(const MessagePage&) = delete;
  MessagePage& operator=(const MessagePage&) = delete;

  /// Adds a message, which is not changed, with the name of what it was read from. False when the text was
  /// not taken.
  [[nodiscard]] bool add(const YMMessageBase& message, std::string_view source);
  /// Call last; without a message the page says so.
  [[nodiscard]] bool finish();

private:
  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace kwxml
