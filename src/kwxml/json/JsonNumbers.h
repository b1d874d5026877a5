// Whole numbers as JSON may write them. Not installed.
#pragma once

#include <string>
#include <string_view>

namespace kwxml {

/// Writes a number with a fraction or an exponent without them, where it is whole: "-12.0" and "1.2e1" are.
/// One of very many digits is cut, beyond what any type holds. False, with `out` unchanged, for what is no
/// number, or not whole.
[[nodiscard]] bool writeWhole(std::string_view text, std::string& out);

}  // namespace kwxml
