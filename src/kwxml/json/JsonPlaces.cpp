#include <kwxml/json/JsonPlaces.h>

#include <algorithm>

namespace kwxml {

void JsonPlaces::passToken()
{
  constexpr std::string_view between = " \t\r\n,:";
  constexpr std::string_view brackets = "{}[]";
  at_ = std::min(text_.find_first_not_of(between, at_), text_.size());
  start_ = at_;
  if (at_ == text_.size()) {
    return;
  }
  ++tokens_;
  const char first = text_[at_++];
  if (first == '"') {
    while (at_ < text_.size() && text_[at_] != '"') {
      at_ += text_[at_] == '\\' ? 2 : 1;
    }
    at_ = std::min(at_ + 1, text_.size());
  } else if (brackets.find(first) == std::string_view::npos) {
    at_ = std::min(text_.find_first_of(" \t\r\n,:{}[]\"", at_), text_.size());
  }
}

ReadPlace JsonPlaces::ofToken(std::uint64_t number)
{
  while (tokens_ < number && at_ < text_.size()) {
    passToken();
  }
  return ofOffset(start_);
}

ReadPlace JsonPlaces::ofOffset(std::size_t offset)
{
  offset = std::min(offset, text_.size());
  if (offset < counted_) {
    counted_ = 0;
    place_ = {};
  }
  place_.pass(text_, counted_, offset);
  counted_ = offset;
  return {.line = place_.line, .column = place_.column, .offset = offset};
}

}  // namespace kwxml
