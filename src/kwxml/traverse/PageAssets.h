// The style and the script of a page. Not installed.
#pragma once

#include <string_view>

namespace kwxml {

std::string_view pageStyle();
std::string_view pageScript();

/// Their digests, by which a page says that nothing else may colour it or run: "sha256-" and base64.
std::string_view pageStyleDigest();
std::string_view pageScriptDigest();

}  // namespace kwxml
