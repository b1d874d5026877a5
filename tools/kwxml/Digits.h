// Which floating values of a message lose digits in a text of six.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <string>

namespace kwxml::tool {

/// The paths of such fields, the first few by name: "price, items[3].price and 7 more"; empty when there are
/// none. Of a list the first item is named.
std::string fieldsThatLoseDigits(const YMMessageBase& message);

}  // namespace kwxml::tool
