// Sample messages: every field that can hold one gets a placeholder value, so that the XML form of a message
// shows the shape of its class.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

/// Fills a message field by field.
///
///     string, bstring                        the text 1
///     list of int, list of float             five zeros
///     list of messages                       five messages, filled in turn
///     message                                an empty message: what is filled is another one, which is then
///                                            dropped
///     everything else                        nothing
///
/// The message stays the caller's. Returns 0. Returns 1 for null, for a message without a class, and when a
/// nested message cannot be filled; the message then has what was filled before. A class that holds itself
/// ends with 1 at the deepest nesting that encodings accept (kwxml::maxMessageNesting), and so does a class
/// that holds more than kwxml::maxCreatedMessages messages; both are logged.
[[nodiscard]] KWXML_API int recurseAndFillDummyValues(YMMessageBase* message);

/// The same as recurseAndFillDummyValues(), and on failure an error in the log. The message stays the
/// caller's and is not replaced.
[[nodiscard]] KWXML_API int createXMLObjectWithDummyValues(YMMessageBase*& message);
