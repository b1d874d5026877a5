// An event on its way to or from the event system: which event it is, how it is classed, and its arguments.
// A value: copies are independent. Not to be shared by threads without a lock.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <kwxml/platform/ArgumentInfo.h>

class EvMessageContainer
{
public:
  /// Which text the event has. 0: none.
  int getMessageId() const { return messageId_; }
  void setMessageId(int messageId) { messageId_ = messageId; }

  /// How the event is classed, in the event system's numbers; 0 where nobody said. These two do not travel
  /// with event messages: a container that is filled from one has zeros here.
  int getSeverity() const { return severity_; }
  void setSeverity(int severity) { severity_ = severity; }
  int getCategory() const { return category_; }
  void setCategory(int category) { category_ = category; }

  const ArgumentInfo& arguments() const { return arguments_; }
  ArgumentInfo& arguments() { return arguments_; }

  friend bool operator==(const EvMessageContainer&, const EvMessageContainer&) = default;

private:
  int messageId_ = 0;
  int severity_ = 0;
  int category_ = 0;
  ArgumentInfo arguments_;
};
