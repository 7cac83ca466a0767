/**
 * @file
 * The driver's configuration parameters.
 */
#pragma once

#include "driver_abi/records/parameters.h"
#include "simulator/board/saved.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace ravnsim {

/** One parameter that every board has. */
struct ParameterDefinition {
  std::string_view name;
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t initial;
  ovk::TakesEffect takes_effect;
  std::string_view description;
};

inline constexpr std::size_t parameter_count = 16;

/** The parameters in the order of their numbers. */
std::span<const ParameterDefinition> parameter_definitions();

/** The values that a board has them at. They are kept without power. */
class ParameterValues {
 public:
  explicit ParameterValues(Adapter& adapter) : values_{adapter, "parameters", initial()} {}

  [[nodiscard]] std::uint32_t value(std::size_t index) const { return values_.get().at(index); }

  void set(std::size_t index, std::uint32_t value) {
    values_.change([&](Values& values) { values.at(index) = value; });
  }

 private:
  using Values = std::array<std::uint32_t, parameter_count>;

  static Values initial();

  Saved<Values> values_;
};

}  // namespace ravnsim
