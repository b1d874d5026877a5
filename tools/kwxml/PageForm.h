// The form for people that holds all of a message: a page of its own, which shows no password.
#pragma once

#include "Forms.h"

#include <string>

namespace kwxml::tool {

std::unique_ptr<MessageSink> pageSink(Output& output, const WriteOptions& options, LibraryLog& log);

/// What a page says about when it was made: now, or the time that SOURCE_DATE_EPOCH names in seconds, so that
/// equal messages have equal pages. Throws Failure (usage) when that is no time.
std::string pageTime();

}  // namespace kwxml::tool
