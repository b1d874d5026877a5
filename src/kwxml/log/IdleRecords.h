// Records that wait for lines, with the memory of earlier ones. Not installed.
#pragma once

#include <kwxml/binary/BinaryBuffer.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/model/YMMessageBase.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

namespace kwxml {

/// The records that wait for lines. Whoever finds it in use does without: nobody waits here, not even for a
/// thread that a fork has left behind.
class IdleRecords
{
public:
  /// A record of no line; null when there is none.
  std::unique_ptr<messageContainer> take()
  {
    if (!enter()) {
      return nullptr;
    }
    std::unique_ptr<messageContainer> record(count_ > 0 ? records_[--count_] : nullptr);
    leave();
    return record;
  }

  void give(std::unique_ptr<messageContainer> record)
  {
    const std::size_t bytes = record->buffer != nullptr ? record->buffer->capacity() : 0;
    const std::size_t size = bytes + record->function.capacity() + record->text.capacity();
    if (size > largest || !enter()) {
      return;
    }
    if (count_ < records_.size()) {
      records_[count_++] = record.release();
    }
    leave();
  }

private:
  static constexpr std::size_t largest = std::size_t{64} << 10;

  bool enter() { return !busy_.test_and_set(std::memory_order_acquire); }
  void leave() { busy_.clear(std::memory_order_release); }

  std::atomic_flag busy_;
  std::size_t count_ = 0;
  std::array<messageContainer*, 40> records_{};  // as many as the pool's threads and places
};

}  // namespace kwxml
