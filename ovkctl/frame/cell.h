/**
 * @file
 * A typed value of a report: it knows its text for people and its form in JSON.
 */
#pragma once

#include "ovkctl/frame/values.h"

#include <ovk/types.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
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

  /** A number, a text, the text of a fixed-size field that may lack its terminator, bytes as their
      hex digits or a type of this file; of an optional what it holds, or a value not known. */
  template <typename T>
  requires(!std::same_as<T, Cell>) Cell(const T& given) : value_{value_of(given)} {}

  [[nodiscard]] const Value& value() const { return value_; }

  /** Whether a column of these is aligned to the right; what is not known does not say no. */
  [[nodiscard]] bool is_quantity() const;

  /** The text for people; "-" for what is empty or not known. */
  [[nodiscard]] std::string text() const;

 private:
  template <typename T>
  static Value value_of(const T& given) {
    if constexpr (requires { given.has_value(); }) {
      return given ? value_of(*given) : Value{};
    } else if constexpr (std::integral<T> && sizeof(T) > sizeof(std::uint32_t)) {
      return WideNumber{std::to_string(given)};
    } else if constexpr (std::integral<T> && !std::same_as<T, bool>) {
      return static_cast<std::int64_t>(given);
    } else if constexpr (std::convertible_to<const T&, std::span<const std::uint8_t>>) {
      return bytes_text(given);
    } else if constexpr (std::convertible_to<T, const char*> && !std::is_array_v<T>) {
      return std::string{given};
    } else if constexpr (std::convertible_to<const T&, std::span<const char>> &&
                         !std::same_as<T, std::string>) {
      return fixed_text(given);
    } else {
      return given;
    }
  }

  Value value_;
};

}  // namespace ovkctl
