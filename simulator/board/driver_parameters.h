/**
 * @file
 * The driver's configuration parameters.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace ravnsim {

/** When a new value comes into force. */
enum class TakesEffect : std::uint32_t {
  at_once = 0,
  at_link_up = 1,      ///< when the link comes up again
  at_driver_load = 2,  ///< when the driver is loaded again
  never_set = 3,       ///< the value cannot be changed
};

/** One parameter that every board has. */
struct ParameterDefinition {
  std::string_view name;
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t initial;
  TakesEffect takes_effect;
  std::string_view description;
};

/** The parameters in the order of their numbers. */
std::span<const ParameterDefinition> parameter_definitions();

/** The values that a board has them at. They are kept without power. */
class ParameterValues {
 public:
  explicit ParameterValues(Adapter& adapter);

  [[nodiscard]] std::uint32_t value(std::size_t index) const { return values_.at(index); }

  void set(std::size_t index, std::uint32_t value);

 private:
  Adapter& adapter_;
  std::vector<std::uint32_t> values_;
};

}  // namespace ravnsim
