/**
 * @file
 * A driver that answers anything: whatever the fuzzer's input says.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <fuzzer/FuzzedDataProvider.h>
#include <type_traits>
#include <vector>

namespace ovk::fuzz {

/** Where the channel takes its answers from; null between inputs. */
extern FuzzedDataProvider* driver_answers;

/** What a board tells of itself. */
struct BoardIdentity {
  std::uint32_t sli_mode;  ///< 0: it answers that, too, with anything
  std::uint32_t adapter_type;
  std::uint8_t text;  ///< all bytes of its names and texts
};

extern BoardIdentity board_identity;

/**
 * A caller of the library whose arguments come from the fuzzer's input. Calls keep to the
 * interface: each buffer is as large as it requires and not a byte larger, so that the sanitizer
 * sees the first byte that the library reads or writes too far.
 */
class Caller {
 public:
  explicit Caller(FuzzedDataProvider& data) : data_{data} {}

  std::uint32_t number(std::uint32_t least, std::uint32_t most) {
    return data_.ConsumeIntegralInRange(least, most);
  }
  template <typename Number = std::uint32_t>
  Number any() {
    return data_.ConsumeIntegral<Number>();
  }

  /** Memory of exactly `size` bytes, the first of them from the input. */
  void* memory(std::size_t size) {
    constexpr std::size_t most_from_input = 64;
    auto& bytes = kept_.emplace_back(size);
    if (size != 0) {
      data_.ConsumeData(bytes.data(), std::min(size, most_from_input));
    }
    return bytes.data();
  }

  /** A record, or a list of which only the first bytes are there. */
  template <typename Record>
  Record* record(std::size_t size = sizeof(Record)) {
    return static_cast<Record*>(memory(size));
  }

 private:
  FuzzedDataProvider& data_;
  std::deque<std::vector<std::uint8_t>> kept_;
};

/** One way to call the library. */
using Call = void (*)(Caller&, std::uint32_t board);

}  // namespace ovk::fuzz
