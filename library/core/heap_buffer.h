/**
 * @file
 * Zeroed payload buffers that are too large for the stack.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

namespace ovk {

/**
 * A zeroed heap buffer for one `Record`, freed at the end of its scope. False when there was no
 * memory; the caller then returns the result that its call gives for that, mostly OVK_NO_MEMORY.
 */
template <typename Record>
class HeapBuffer {
  static_assert(std::is_trivially_copyable_v<Record>);

 public:
  /** `size` is larger than the record where a list's last entries stand behind it. */
  explicit HeapBuffer(std::size_t size = sizeof(Record))
      : size_{std::max(size, sizeof(Record))},
        record_{static_cast<Record*>(std::calloc(1, size_))} {}
  ~HeapBuffer() { std::free(record_); }
  HeapBuffer(const HeapBuffer&) = delete;
  HeapBuffer& operator=(const HeapBuffer&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  Record* get() const { return record_; }
  /** Hands the buffer over to someone who gives it to free(). */
  Record* release() { return std::exchange(record_, nullptr); }
  Record* operator->() const { return record_; }
  Record& operator*() const { return *record_; }

  /** Copies up to `count` bytes in, as many as the buffer holds. */
  void copy_in(const void* source, std::size_t count) {
    if (count != 0) {
      std::memcpy(record_, source, std::min(count, size_));
    }
  }

  /** Copies up to `count` bytes out, as many as the buffer holds. */
  void copy_out(void* destination, std::size_t count) const {
    if (count != 0) {
      std::memcpy(destination, record_, std::min(count, size_));
    }
  }

 private:
  std::size_t size_;
  Record* record_;
};

}  // namespace ovk
