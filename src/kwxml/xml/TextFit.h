// Whether a text says just what a reader makes of it. Readers take a number as far as it goes ("12x" is 12),
// as their users rely on; who asks here learns what that loses. Not installed.
#pragma once

#include <kwxml/model/FieldTypes.h>

#include <string_view>

namespace kwxml {

enum class TextFit
{
  Whole,  ///< also for types whose texts can say anything, or are checked where they are read
  NotOfType,
  OutOfRange,
  PrecisionLost,
};

/// Numbers are those of the C library, hexadecimal fractions and "inf" among them; blanks around them and a
/// sign are allowed, and negative values of the smaller unsigned types stand as they are.
TextFit fitOf(FieldDataType type, std::string_view text);

/// Without the blanks of XML at both ends.
std::string_view withoutBlanks(std::string_view text);

}  // namespace kwxml
