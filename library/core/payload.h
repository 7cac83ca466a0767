/**
 * @file
 * Payload buffers: what the driver finds in them where the caller has no bytes is zero.
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

/** Copies up to `count` bytes to a payload of `size`, and zeroes those behind them. */
inline void fill_bytes(void* payload, std::size_t size, const void* source, std::size_t count) {
  const std::size_t copied = std::min(count, size);
  if (copied != 0) {
    std::memcpy(payload, source, copied);
  }
  std::memset(static_cast<std::uint8_t*>(payload) + copied, 0, size - copied);
}

/** Copies up to `count` bytes out of a payload of `size`. */
inline void copy_bytes_out(const void* payload, std::size_t size, void* destination,
                           std::size_t count) {
  if (count != 0) {
    std::memcpy(destination, payload, std::min(count, size));
  }
}

/** Zeroed memory, to be given to free(); null when there is none. */
void* zeroed_memory(std::size_t size);

/** Copies up to `count` bytes into a payload, as many as it holds, and zeroes those behind them. */
template <typename Payload>
void fill(Payload& payload, const void* source, std::size_t count) {
  static_assert(std::is_trivially_copyable_v<Payload>);
  fill_bytes(&payload, sizeof payload, source, count);
}

/**
 * An input as the driver copies it: where it stands when the caller has all of it, else in the
 * buffer, which is filled with it.
 */
template <typename Payload>
const Payload* whole_input(Payload& buffer, const void* source, std::size_t count) {
  if (count >= sizeof buffer) {
    return static_cast<const Payload*>(source);
  }
  fill(buffer, source, count);
  return &buffer;
}

/** Zeroes a payload where it stands. */
template <typename Payload>
void clear(Payload& payload) {
  static_assert(std::is_trivially_copyable_v<Payload>);
  std::memset(&payload, 0, sizeof payload);
}

/** Copies up to `count` bytes out of a payload, as many as it holds. */
template <typename Payload>
void copy_out(const Payload& payload, void* destination, std::size_t count) {
  static_assert(std::is_trivially_copyable_v<Payload>);
  copy_bytes_out(&payload, sizeof payload, destination, count);
}

/** Says that a buffer is filled before the driver gets it, so that it need not be zeroed first. */
struct Unfilled {};
inline constexpr Unfilled unfilled;

/**
 * A heap buffer for one `Record`, freed at the end of its scope. False when there was no memory;
 * the caller then returns the result that its call gives for that, mostly OVK_NO_MEMORY.
 */
template <typename Record>
class HeapBuffer {
  static_assert(std::is_trivially_copyable_v<Record>);

 public:
  /** A zeroed one; `size` is larger than the record where a list's last entries stand behind it. */
  explicit HeapBuffer(std::size_t size = sizeof(Record))
      : size_{std::max(size, sizeof(Record))},
        record_{static_cast<Record*>(zeroed_memory(size_))} {}
  explicit HeapBuffer(Unfilled /*tag*/, std::size_t size = sizeof(Record))
      : size_{std::max(size, sizeof(Record))}, record_{static_cast<Record*>(std::malloc(size_))} {}
  ~HeapBuffer() { std::free(record_); }
  HeapBuffer(const HeapBuffer&) = delete;
  HeapBuffer& operator=(const HeapBuffer&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  Record* get() const { return record_; }
  /** Hands the buffer over to someone who gives it to free(). */
  Record* release() { return std::exchange(record_, nullptr); }
  Record* operator->() const { return record_; }
  Record& operator*() const { return *record_; }

  /** Copies up to `count` bytes in, as many as the buffer holds, and zeroes those behind them. */
  void fill(const void* source, std::size_t count) { fill_bytes(record_, size_, source, count); }

  /** Copies up to `count` bytes out, as many as the buffer holds. */
  void copy_out(void* destination, std::size_t count) const {
    copy_bytes_out(record_, size_, destination, count);
  }

 private:
  std::size_t size_;
  Record* record_;
};

}  // namespace ovk
