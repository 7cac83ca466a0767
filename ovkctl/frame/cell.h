/**
 * @file
 * A typed value of a report: it knows its text for people and its form in JSON.
 */
#pragma once

#include <ovk/types.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ovkctl {

/** Shown in hex after "0x" with at least that many digits. */
struct Hex {
  std::uint64_t value = 0;
  int digits = 0;
};

/** A 24-bit Fibre Channel address; the driver gives 0xffffffff where it has none. */
struct FcAddress {
  std::uint32_t value = 0;
};

/** Bytes, shown with the largest unit that divides them; a number in JSON. */
struct Size {
  std::uint32_t bytes = 0;
};

/** As Size, where 32 bits may not do; a string of digits in JSON. */
struct LargeSize {
  std::uint64_t bytes = 0;
};

/** A port speed as an FC-HBA code. */
struct Speed {
  std::uint32_t code = 0;

  /** Nothing when the speed is not negotiated or not known. */
  [[nodiscard]] std::optional<std::uint32_t> gbit() const;
};

/** Several port speeds as a mask of FC-HBA codes. */
struct Speeds {
  std::uint32_t mask = 0;

  /** Their Gbit/s, slowest first. */
  [[nodiscard]] std::vector<std::uint32_t> gbits() const;
};

/** Texts, shown with commas between them. */
using List = std::vector<std::string>;

/**
 * One value. In JSON a number of up to 32 bits is a number and a wider one a string of its digits,
 * so that no reader loses any; hex and world-wide names are strings, a speed is its Gbit/s, and
 * what is not known is null.
 */
class Cell {
 public:
  /** A number that may need 64 bits, as its digits. */
  struct WideNumber {
    std::string digits;
  };
  using Value = std::variant<std::monostate, bool, std::int64_t, double, WideNumber, std::string,
                             Hex, FcAddress, Size, LargeSize, Speed, Speeds, Wwn, List>;

  /** A value that is not known. */
  Cell() = default;

  template <std::integral T>
  Cell(T number) : value_{number_value(number)} {}

  template <typename T>
  requires std::constructible_from<Value, T> &&(!std::integral<T>)Cell(T value)
      : value_{std::move(value)} {}

  Cell(const char* text) : value_{std::string{text}} {}

  /** The value, or a value that is not known. */
  template <typename T>
  Cell(std::optional<T> value) : Cell(value ? Cell(std::move(*value)) : Cell()) {}

  [[nodiscard]] const Value& value() const { return value_; }

  /** Whether a column of these is aligned to the right. */
  [[nodiscard]] bool is_quantity() const;

  /** The text for people; "-" for what is empty or not known. */
  [[nodiscard]] std::string text() const;

 private:
  template <typename T>
  static Value number_value(T number) {
    if constexpr (std::same_as<T, bool>) {
      return number;
    } else if constexpr (sizeof(T) <= sizeof(std::uint32_t)) {
      return static_cast<std::int64_t>(number);
    } else {
      return WideNumber{std::to_string(number)};
    }
  }

  Value value_;
};

}  // namespace ovkctl
