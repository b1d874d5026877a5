// What a message is about, for headings and lists of messages. Not installed.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <string>

namespace kwxml {

/// The first texts of a message, to tell it from others: one line as markup, empty when it has none.
std::string firstTexts(const YMMessageBase& message);

}  // namespace kwxml
