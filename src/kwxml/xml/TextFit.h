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

/// Whether a text has just a form, in which "dd" is a number of at most two digits and a blank any number of
/// them, and the date that it begins with, if any, is one of the calendar. Readers take what follows a date
/// for nothing, and the 31st of February for a day in March.
bool isTimeOfForm(std::string_view text, std::string_view form);

/// Without the blanks of XML at both ends.
std::string_view withoutBlanks(std::string_view text);

}  // namespace kwxml
