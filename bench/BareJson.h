// The floor of reading JSON: what the parser that the library uses takes by itself.
#pragma once

#include <string_view>

namespace kwxml::bench {

/// Parses a document and keeps nothing; false when it is none.
bool parseBareJson(std::string_view json);

}  // namespace kwxml::bench
