// The form json: documents, one behind the other; written one a line, unless that is to be readable.
#pragma once

#include "Forms.h"

namespace kwxml::tool {

bool looksLikeJson(std::string_view head, unsigned long long size);
std::unique_ptr<MessageSource> jsonSource(const Input& input, const ReadOptions& options);
std::unique_ptr<MessageSink> jsonSink(Output& output, const WriteOptions& options, LibraryLog& log);

}  // namespace kwxml::tool
