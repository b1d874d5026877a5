// Where XML text is put that is written without a DOM: memory that grows by pieces, none of which is ever
// moved, or the caller's. Not installed.
#pragma once

#include <kwxml/xml/TakeText.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

class TextOutput
{
public:
  /// Keeps the text until moveTo().
  TextOutput() : at_(first_), end_(first_ + sizeof first_) {}
  /// Hands it out in parts.
  explicit TextOutput(const TakeText& take) : TextOutput() { take_ = &take; }
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;
  ~TextOutput();

  /// Room for that many bytes, at most `mostRoom`, in one piece; advance() says how many were used.
  char* room(std::size_t size)
  {
    if (static_cast<std::size_t>(end_ - at_) < size) [[unlikely]] {
      next();
    }
    return at_;
  }
  void advance(char* to) { at_ = to; }
  static constexpr std::size_t mostRoom = 4096;

  void put(char c)
  {
    char* const to = room(1);
    *to = c;
    at_ = to + 1;
  }
  /// Any number of bytes.
  void put(std::string_view text)
  {
    if (static_cast<std::size_t>(end_ - at_) >= text.size()) [[likely]] {
      std::memcpy(at_, text.data(), text.size());
      at_ += text.size();
    } else {
      putLong(text);
    }
  }

  /// Whether parts have been handed out: the text cannot be taken back.
  bool isUnderWay() const { return underWay_; }
  /// Nothing is handed out any more: what has been written is of no use.
  void abandon() { refused_ = true; }
  /// Whether the taker wants no more, or the text is abandoned.
  bool isRefused() const { return refused_; }
  /// Hands out the rest; false when the taker refused a part.
  [[nodiscard]] bool finish();
  /// The whole text. Memory is given back as it is copied, so that it is needed once.
  void moveTo(std::string& out);

private:
  struct Piece
  {
    char* data;
    std::size_t size;      ///< used
    std::size_t capacity;  ///< in whole pages; 0 once they are given back
  };
  void next();
  void putLong(std::string_view text);
  void handOut();
  static void release(const Piece& piece) noexcept;
  char* begin() { return pieces_.empty() ? first_ : pieces_.back().data; }

  char* at_;
  char* end_;
  const TakeText* take_ = nullptr;
  bool underWay_ = false;
  bool refused_ = false;
  std::size_t total_ = 0;      ///< bytes in full pieces
  std::size_t firstSize_ = 0;  ///< used of the first piece, when others follow
  std::vector<Piece> pieces_;
  char first_[2 * mostRoom];
};

}  // namespace kwxml
