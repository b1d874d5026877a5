// Sample messages: every field that can hold one gets a placeholder value, so that the XML form of a message
// shows the shape of its class.
#pragma once

#include <kwxml/model/YMMessageBase.h>

/// Fills a message field by field.
///
///   string, bstring                        the text 1
///   list of int, list of float             five zeros
///   list of messages                       five messages, filled in turn
///   message                                an empty message: what is filled is a message that is thrown away
///                                          afterwards, deliberately
///   everything else                        nothing
///
/// 0; 1 for null, for a message without a class, and when a message below cannot be filled, with what had
/// been filled until then. A class that holds itself ends that way at the deepest nesting that encodings
/// accept, and so does one that holds too many messages (Limits.h); both are logged.
[[nodiscard]] int recurseAndFillDummyValues(YMMessageBase* message);

/// The same, 0 or 1, with an error line on failure. The message stays the caller's.
[[nodiscard]] int createXMLObjectWithDummyValues(YMMessageBase*& message);
