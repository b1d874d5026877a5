// Texts of the XML parser as UTF-8.
#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include <string>

namespace kwxml::catalogue {

/// Empty for null.
std::string toUtf8(const XMLCh* text);

}  // namespace kwxml::catalogue
