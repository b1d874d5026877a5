// Whole numbers as JSON may write them. Not installed.
#pragma once

#include <cstdint>
#include <string_view>

namespace kwxml {

struct WholeNumber
{
  bool negative = false;
  std::uint64_t size = 0;
};

/// Reads a decimal number that is whole, as "12", "-12.0" and "1.2e1" are, and of 64 bits without its sign.
/// False, with `number` unchanged, for any other text.
[[nodiscard]] bool readWholeNumber(std::string_view text, WholeNumber& number);

}  // namespace kwxml
