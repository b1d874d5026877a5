// The memory that one call of a decoder takes for messages. Not installed.
#pragma once

#include <kwxml/model/Limits.h>

#include <cstdint>
#include <string>

class YMMessageBase;

namespace kwxml {

class MemoryBudget
{
public:
  /// For an input of `inputBytes` bytes; `limit` is the caller's, 0 for the usual one.
  MemoryBudget(std::uint64_t inputBytes, std::uint64_t limit)
      : limit_(limit != 0 ? limit : usualDecodeMemory(inputBytes))
  {
  }

  /// Counts a message that has just been made, with all that it made. False when that is too much.
  [[nodiscard]] bool take(const YMMessageBase& made);
  /// What to say then: the limit, what was asked for, and how to raise the limit.
  std::string explain() const;

private:
  std::uint64_t limit_;
  std::uint64_t taken_ = 0;
};

}  // namespace kwxml
