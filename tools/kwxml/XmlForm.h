// The form xml: documents, one behind the other.
#pragma once

#include "Forms.h"

namespace kwxml::tool {

std::unique_ptr<MessageSource> xmlSource(const Input& input, const ReadOptions& options);
std::unique_ptr<MessageSink> xmlSink(Output& output, const WriteOptions& options, LibraryLog& log);

}  // namespace kwxml::tool
