// The forms for people: a message as text or HTML. They are only written, and show no password.
#pragma once

#include "Forms.h"

namespace kwxml::tool {

/// One line of plain text for each message.
std::unique_ptr<MessageSink> textSink(Output& output, const WriteOptions& options, LibraryLog& log);
/// A page that a browser shows as it is: each message a block that opens at a click.
std::unique_ptr<MessageSink> htmlSink(Output& output, const WriteOptions& options, LibraryLog& log);
/// A piece of HTML for each message, for a page of the caller's.
std::unique_ptr<MessageSink> guiSink(Output& output, const WriteOptions& options, LibraryLog& log);

}  // namespace kwxml::tool
