// Events on their way to or from the event system.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <kwxml/platform/ArgumentInfo.h>

/// An event: which event it is, how it is classed, and its arguments. A value: copies are independent.
/// Threads that share a container need a lock.
class EvMessageContainer
{
public:
  /// The number of the event's text; 0 for none.
  int getMessageId() const { return messageId_; }
  /// Sets the number of the event's text; any number is kept as given.
  void setMessageId(int messageId) { messageId_ = messageId; }

  /// How grave the event is, in the event system's numbers; 0 where nobody said. The severity does not travel
  /// with event messages: a container that is filled from a message has 0 here.
  int getSeverity() const { return severity_; }
  /// Sets the severity; any number is kept as given.
  void setSeverity(int severity) { severity_ = severity; }
  /// What the event is about, in the event system's numbers; 0 where nobody said. The category does not
  /// travel with event messages either.
  int getCategory() const { return category_; }
  /// Sets the category; any number is kept as given.
  void setCategory(int category) { category_ = category; }

  /// The event's arguments, owned by the container; to be changed through the reference.
  const ArgumentInfo& arguments() const { return arguments_; }
  ArgumentInfo& arguments() { return arguments_; }

  friend bool operator==(const EvMessageContainer&, const EvMessageContainer&) = default;

private:
  int messageId_ = 0;
  int severity_ = 0;
  int category_ = 0;
  ArgumentInfo arguments_;
};
