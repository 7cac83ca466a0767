/**
 * @file
 * The place where the driver writes a reply whose caller may have less room than it copies.
 */
#pragma once

#include "library/core/payload.h"

#include <cstddef>
#include <optional>

namespace ovk {

/**
 * The caller's own memory when it holds a whole `Record`, else a zeroed work buffer. False when
 * the work buffer got no memory.
 */
template <typename Record>
class ReplyBuffer {
 public:
  /** @param room  bytes that `caller` holds */
  ReplyBuffer(void* caller, std::size_t room) : caller_{caller} {
    if (room < sizeof(Record)) {
      work_.emplace();
    }
  }

  explicit operator bool() const { return !work_ || *work_; }
  Record* get() const { return work_ ? work_->get() : static_cast<Record*>(caller_); }

  /** Copies up to `count` bytes, as many as the work buffer holds, to a caller that has less room.
   */
  void deliver(std::size_t count) const {
    if (work_) {
      work_->copy_out(caller_, count);
    }
  }

 private:
  void* caller_;
  std::optional<HeapBuffer<Record>> work_;
};

}  // namespace ovk
