#include <kwxml/xml/TextOutput.h>

#include <sys/mman.h>

#include <algorithm>
#include <new>

namespace kwxml {

namespace {

constexpr std::size_t page = 4096;

}  // namespace

TextOutput::~TextOutput()
{
  for (const Piece& piece : pieces_) {
    if (piece.capacity != 0) {
      release(piece);
    }
  }
}

/// Pages of their own go back to the system at once; an allocator would keep them.
void TextOutput::release(const Piece& piece) noexcept
{
  ::munmap(piece.data, piece.capacity);
}

void TextOutput::handOut()
{
  if (!refused_ && at_ != begin()) {
    underWay_ = true;
    refused_ = !(*take_)({begin(), static_cast<std::size_t>(at_ - begin())});
  }
  at_ = begin();
}

/// Each piece is an eighth of what is there, so that no more than that is ever unused.
void TextOutput::next()
{
  if (take_ != nullptr) {
    handOut();
    return;
  }
  const auto used = static_cast<std::size_t>(at_ - begin());
  (pieces_.empty() ? firstSize_ : pieces_.back().size) = used;
  total_ += used;
  const std::size_t wanted = std::max(sizeof first_, total_ / 8);
  const std::size_t capacity = (wanted + page - 1) / page * page;
  pieces_.reserve(pieces_.size() + 1);
  void* const memory = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  pieces_.push_back({static_cast<char*>(memory), 0, capacity});
  at_ = begin();
  end_ = at_ + capacity;
}

void TextOutput::putLong(std::string_view text)
{
  while (!text.empty()) {
    if (at_ == end_) {
      next();
    }
    const std::size_t part = std::min(text.size(), static_cast<std::size_t>(end_ - at_));
    std::memcpy(at_, text.data(), part);
    at_ += part;
    text.remove_prefix(part);
  }
}

bool TextOutput::finish()
{
  if (take_ != nullptr) {
    handOut();
  }
  return !refused_;
}

void TextOutput::moveTo(std::string& out)
{
  const auto used = static_cast<std::size_t>(at_ - begin());
  out.clear();
  if (pieces_.empty()) {
    out.assign(first_, used);
    return;
  }
  pieces_.back().size = used;
  out.reserve(total_ + used);
  out.append(first_, firstSize_);
  for (Piece& piece : pieces_) {
    out.append(piece.data, piece.size);
    release(piece);
    piece.capacity = 0;
  }
  pieces_.clear();
  at_ = first_;
  end_ = first_ + sizeof first_;
}

}  // namespace kwxml
